#pragma once

#include <QByteArray>
#include <QByteArrayView>

#include <optional>

/// Where the rest of a message lies of which only the header is here. It travels with the message, as the
/// first line of its text:
///
///     X-Velmar-On-Server: <account> <bytes of the whole> <the server's name for it>
///
/// A long name is folded into pieces. The line counts only where the overview has the mark HeaderOnly:
/// anybody can send mail with such a line. It goes when the body comes.
struct ServerPlace
{
    int account = 0;
    qint64 size = 0;
    QByteArray identifier; ///< no blanks and no controls, as clients give it

    bool operator==(const ServerPlace &) const = default;
};

/// @p header with the line in front; null when the identifier is empty or holds a blank or a control.
QByteArray withServerPlace(const ServerPlace &place, QByteArrayView header);

/// What the first line of @p text says; empty when it is not that line.
std::optional<ServerPlace> serverPlaceOf(QByteArrayView text);
