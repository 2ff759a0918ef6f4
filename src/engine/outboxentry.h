#pragma once

#include "store/messageref.h"

#include <QByteArray>
#include <QList>
#include <QString>

/// Where one waiting message stands.
enum class OutboxState {
    Held,        ///< its countdown runs, or it waits for its date
    Waiting,     ///< it goes as soon as its account sends
    Sending,     ///< a sender has it
    PerhapsSent, ///< nobody knows; it goes again only by hand
    Retrying,    ///< refused for now, goes again by itself
    Refused,     ///< waits for the user
};

/// Mail and post of one message are settled each by itself: they are two entries with one place.
enum class OutboxTransport { Mail, News };

struct OutboxEntry
{
    quint64 ticket = 0;
    OutboxTransport transport = OutboxTransport::Mail;
    MessageRef place; ///< in the group of the outbox
    int account = 0;  ///< the outgoing account that it names; 0: there is none yet
    int identity = 0; ///< that it was written as
    OutboxState state = OutboxState::Waiting;
    qint64 due = 0;              ///< Held, Retrying: seconds since 1970 UTC
    bool countsDown = false;     ///< Held: not for a date, but to be taken back
    int attempts = 0;            ///< refused so far
    QString reason;              ///< what the server said, for people; a line for each recipient
    QList<QByteArray> remaining; ///< recipients still to be served, when some were; empty: all
    int draft = 0;               ///< the draft that goes with it; 0: none
    bool isOwn = false;          ///< written here, not received and sent on, nor put into the group
};

/// What is to become of a message that is handed over.
struct SendWish
{
    int draft = 0;            ///< goes when the message was accepted and its copy stored
    MessageRef original = {}; ///< gets the mark Replied or Forwarded
    MessageRefs others = {};  ///< forwarded with it: they get the mark, too
    bool isReply = false;
    bool isForward = false;
    bool isBounce = false;  ///< a received message sent on (`KeepBouncedMail`)
    qint64 notBefore = 0;   ///< "send later": seconds since 1970 UTC
    bool countsDown = true; ///< it can be taken back for Outbox::undoDelay() seconds
    int sentGroup = 0;      ///< where the copy goes; 0: as identity and settings say
    bool keepsCopy = true;  ///< false: none is stored, whatever the settings say
};
