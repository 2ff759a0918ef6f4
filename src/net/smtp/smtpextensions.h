#pragma once

#include <QByteArrayView>
#include <QtGlobal>

/// What a server offers in its reply to EHLO.
struct SmtpExtensions
{
    bool startTls = false; ///< RFC 3207
    bool plain = false;    ///< the methods of AUTH (RFC 4954)
    bool cramMd5 = false;  ///< RFC 2195
    bool login = false;
    bool pipelining = false;   ///< RFC 2920
    bool eightBitMime = false; ///< RFC 6152
    bool smtpUtf8 = false;     ///< RFC 6531
    bool size = false;         ///< RFC 1870
    qint64 sizeLimit = 0;      ///< bytes of a message; 0: none is known

    bool offersLogin() const { return plain || cramMd5 || login; }

    /// Reads one line of the reply, the code and the character behind it cut off.
    void read(QByteArrayView line);
};
