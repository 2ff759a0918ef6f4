#pragma once

#include "message/message.h"

#include <QImage>
#include <QSize>

class QUrl;

/// The pictures of one message, from its own parts and from nowhere else: no file, no network, no format that
/// could refer to one. A picture that is too large for its place is made smaller while it is read, and what
/// all of them may cost is bounded.
class MessageImages
{
public:
    explicit MessageImages(const Message &message);

    /// The picture for "cid:", "data:" (base64) and "reader:part/N"; a transparent pixel for anything else
    /// and for what cannot be shown. Never null: a text document would try to find a null one by itself.
    QImage image(const QUrl &url);

    /// How large the picture in a part is; empty when it cannot be shown.
    QSize sizeOf(int part) const;

    static QImage nothing();

private:
    QByteArray bytesFor(const QUrl &url) const;
    QImage decoded(QByteArray bytes);

    Message m_message;
    qint64 m_budget; ///< pixels that may still be decoded
};
