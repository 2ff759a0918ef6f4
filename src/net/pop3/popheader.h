#pragma once

#include <QByteArray>
#include <QByteArrayView>

/// What a message is known by again, whatever its server calls it now: a digest of its header, of 32
/// hexadecimal digits. It is the same for a header from TOP and for the whole message from RETR. Fields that
/// servers write into messages while they lie there (Status, X-UIDL and the like) are left out.
QByteArray headerDigest(QByteArrayView text);
