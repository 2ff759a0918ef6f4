#pragma once

#include "compose/composition.h"

/// What becomes of a message that is answered or passed on.

enum class ReplyKind {
    Sender,   ///< to the author; where "Reply-To" stands, there
    All,      ///< to everybody that got it, never to oneself
    List,     ///< to the mailing list ("List-Post", "Mail-Followup-To")
    Followup, ///< to the newsgroups; "Followup-To: poster" makes it a mail
};

enum class ForwardKind { Inline, Attached };
enum class ForwardMark { Front, Behind }; ///< "Fw: " in front, or "(fwd)" behind

struct ReplyOptions
{
    QString selectedText;     ///< quoted alone where it is not empty
    QStringList ownAddresses; ///< bare, of all identities
    bool rich = false;        ///< the original's HTML is quoted as HTML (through the sanitiser)
    bool ownMessage = false;  ///< written by the user: it goes again to whom it went
};

/// A composition with recipients, subject, references and quoted text; identity is @p identity, its signature
/// not yet in the text.
Composition replyTo(const Message &original, ReplyKind kind, const Identity &identity,
                    const ReplyOptions &options);

/// Whether nobody but the author reads such an answer, so that the quotation says "You wrote:"; never of
/// one's own message. What a caller hands to quotation() when a template takes the place of the text.
bool isPersonalReply(const Message &original, ReplyKind kind, const Identity &identity,
                     const ReplyOptions &options);

/// @p subject with that mark and without the other one: what a window shows when the user chooses another.
QString forwardSubject(const QString &subject, ForwardMark mark);

/// Several originals are attached each, without "Bcc" and control headers; inline forwards only the first,
/// and its files with it.
Composition forward(const QList<Message> &originals, ForwardKind kind, ForwardMark mark,
                    const Identity &identity, const ReplyOptions &options);

/// Whether there is a list, or several recipients, to answer to.
bool canReplyTo(const Message &original, ReplyKind kind, const QStringList &ownAddresses);
