#pragma once

#include "compose/composition.h"

#include <QList>

#include <functional>

/// What is looked at before a message goes; in the order in which it is asked.
enum class SendProblem {
    NoRecipients,   ///< refused
    NoNewsgroups,   ///< refused
    ControlSubject, ///< refused: "cmsg "
    InvalidAddress, ///< refused, says which
    CannotEncrypt,  ///< refused
    NoSubject,
    NoContent,
    Unmodified,
    OnlyQuoted,
    NotSubscribed,
    BinariesToTextGroup,
    AttachmentForgotten,
    ManyRecipients,
    NewAddress, ///< new among known ones, or one letter away from a known one
    CharsetTooSmall,
};

struct SendFinding
{
    SendProblem problem;
    QString text;   ///< the question or refusal, complete
    QString detail; ///< an address, the name of a suitable character set, ...
};

struct SendProblemRow
{
    SendProblem problem;
    bool refuses; ///< the message cannot go like this
    bool isQuiet; ///< a bar in the window, not a question of the product's own
    int bit;      ///< in `DisabledWarnings`; 0: cannot be turned off
};
const SendProblemRow &rowOf(SendProblem problem);

/// "Don't ask me this again": in `DisabledWarnings`. The checks leave out what is turned off.
bool isTurnedOff(SendProblem problem);
void turnOff(SendProblem problem, bool off = true);

/// What the checks ask about the world.
struct SendContext
{
    QString textAtFirst;    ///< what the window began with, to see whether anything was written
    bool isArticle = false; ///< a post is wanted, also without groups yet
    bool isReply = false;
    std::function<bool(const QString &group)> isSubscribed; ///< null: unknown
    std::function<bool(const QString &address)> isKnown;    ///< null: unknown
    QStringList knownAddresses;                             ///< to compare new ones with
};

QList<SendFinding> checkBeforeSending(const Composition &composition, const SendContext &context);
