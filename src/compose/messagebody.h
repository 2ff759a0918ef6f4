#pragma once

#include "compose/composition.h"
#include "message/mimecontext.h"

#include <QList>
#include <QString>
#include <QStringList>

/// What a message is made of for somebody who answers it, passes it on or edits it again.
struct MessageBody
{
    QString text; ///< the plain texts in their order, "\n" line ends; of parts that are only HTML, as text
    bool isFlowing = false; ///< its lines are whole paragraphs: flowed (RFC 3676), or made from HTML
    bool isFromHtml = false;
    bool isCut = false; ///< there was more HTML than is read
    QStringList html;   ///< of each text its HTML, or the plain one as HTML; empty: there is none at all
    QList<int> others;  ///< the parts that are no text of it: files, pictures, messages, each once
    QByteArray charset; ///< that the first plain text names; empty: none
};

MessageBody bodyOf(const MIMEContext &mime);

/// A part as a file to go with another message; enclosed messages lose what nobody else may see.
Attachment attachmentFrom(const MIMEContext &mime, int part);

/// A message without its control headers and hidden recipients, for other eyes; "\n" line ends.
QByteArray withoutPrivateHeaders(const QByteArray &original);
