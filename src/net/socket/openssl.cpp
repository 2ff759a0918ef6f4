#include "net/socket/openssl.h"

#include <openssl/err.h>

using namespace Qt::StringLiterals;

QString takeOpenSslError()
{
    const unsigned long code = ERR_get_error();
    ERR_clear_error();
    const char *reason = ERR_reason_error_string(code);
    return reason ? QString::fromLatin1(reason) : u"error %1"_s.arg(code, 0, 16);
}
