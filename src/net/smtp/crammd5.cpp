#include "net/smtp/crammd5.h"

#include <QMessageAuthenticationCode>

QByteArray cramMd5Response(const QByteArray &challenge, const QByteArray &user, const QByteArray &password)
{
    const QByteArray digest = QMessageAuthenticationCode::hash(QByteArray::fromBase64(challenge), password,
                                                               QCryptographicHash::Md5);
    return (user + ' ' + digest.toHex()).toBase64();
}
