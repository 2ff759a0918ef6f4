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

    /// The picture for "cid:", "data:" (base64) and "reader:part/N"; null for anything else and for what
    /// cannot be shown.
    QImage image(const QUrl &url) { return decoded(bytesFor(url)); }
    /// The picture in @p file; null when it is none that is shown.
    QImage image(const QByteArray &file) { return decoded(file); }

    struct Extent
    {
        QSize size;           ///< in pixels, as it is shown; empty when it cannot be
        bool isWhole = false; ///< its end is there
    };

    /// What is known of the picture in a part without decoding it.
    Extent extentOf(int part) const;

    /// A transparent pixel.
    static QImage nothing();

private:
    QByteArray bytesFor(const QUrl &url) const;
    QImage decoded(QByteArray bytes);

    Message m_message;
    qint64 m_budget; ///< pixels that may still be decoded
};
