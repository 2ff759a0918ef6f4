#pragma once

#include "identity/identity.h"
#include "message/message.h"

#include <QByteArray>
#include <QList>
#include <QString>

/// One file that goes with a message. The bytes are those at the time of attaching, shared by all copies.
struct Attachment
{
    QString name;           ///< as the receiver is shown it; no path
    QByteArray contentType; ///< "image/png"; with a charset parameter where one is known
    QByteArray data;
    QByteArray contentId; ///< of a picture inside the rich text, without brackets; empty: an attachment

    bool isInline() const { return !contentId.isEmpty(); }
};

enum class AttachmentForm { Mime, Uuencode, Yenc };

struct ExtraHeader
{
    QString name;
    QString value;
};

/// A message as a person writes it: what the compose window holds, what a draft keeps, what becomes the text
/// that is sent. Address fields are texts as typed (parseAddresses reads them).
struct Composition
{
    Identity identity;
    QString to;
    QString cc;
    QString bcc;
    QString replyTo; ///< empty: the identity's
    QString newsgroups;
    QString followupTo;
    QString mailFollowupTo;
    QString distribution;
    QString subject;
    QByteArray inReplyTo;  ///< identifiers with their brackets
    QByteArray references; ///< the same, blanks between
    QByteArray supersedes;
    QList<ExtraHeader> extra; ///< the user's own lines (`EditHeaders`)

    QString text; ///< "\n" line ends, signature included; of a rich message its plain form
    QString html; ///< of a rich message; empty: plain
    QList<Attachment> attachments;
    AttachmentForm attachmentForm = AttachmentForm::Mime;

    QByteArray charset = "UTF-8"; ///< wanted for what is not ASCII
    bool charsetForced = false; ///< the user goes on with it, though not everything fits; else UTF-8 is taken
    Importance importance = Importance::Normal;
    bool receipt = false;        ///< a read receipt is asked for
    bool archiveRefused = false; ///< "Archive: no"
    bool sign = false;
    bool encrypt = false;
    bool wrap = true; ///< the text is wrapped at `SendWrapWidth`

    bool isNews() const { return !newsgroups.trimmed().isEmpty(); }
    bool isMail() const { return !(to + cc + bcc).trimmed().isEmpty(); }
};
