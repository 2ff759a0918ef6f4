#pragma once

#include "store/mailbox/mailflags.h"
#include "store/overview.h"

/// The marks for what another mailbox remembers of a message. One that it holds for deleted is imported like
/// any other: an import loses nothing.
inline Marks marksOf(const MailFlags &flags)
{
    Marks marks;
    marks.setFlag(Mark::Read, flags.read);
    marks.setFlag(Mark::Replied, flags.answered);
    marks.setFlag(Mark::Flagged, flags.flagged);
    marks.setFlag(Mark::Forwarded, flags.forwarded);
    return marks;
}

inline MailFlags flagsOf(Marks marks)
{
    MailFlags flags;
    flags.read = marks.testFlag(Mark::Read);
    flags.answered = marks.testFlag(Mark::Replied);
    flags.flagged = marks.testFlag(Mark::Flagged);
    flags.forwarded = marks.testFlag(Mark::Forwarded);
    return flags;
}
