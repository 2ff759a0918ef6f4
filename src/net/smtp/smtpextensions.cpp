#include "net/smtp/smtpextensions.h"

#include <QByteArray>

namespace {

struct Keyword
{
    const char *word;
    bool SmtpExtensions::*offered;
};
constexpr Keyword kKeywords[] = {
    {"starttls", &SmtpExtensions::startTls},
    {"pipelining", &SmtpExtensions::pipelining},
    {"8bitmime", &SmtpExtensions::eightBitMime},
    {"smtputf8", &SmtpExtensions::smtpUtf8},
    {"size", &SmtpExtensions::size},
};

} // namespace

/// Servers of old write "AUTH=", newer ones "AUTH ", and some write both, each with a part of the methods.
void SmtpExtensions::read(QByteArrayView line)
{
    const QByteArray text = line.trimmed().toByteArray().toLower();
    if (text.startsWith("auth ") || text.startsWith("auth=")) {
        plain |= text.contains("plain");
        cramMd5 |= text.contains("cram-md5");
        login |= text.contains("login");
        return;
    }
    for (const Keyword &keyword : kKeywords)
        this->*keyword.offered |= text == keyword.word;
    if (text.startsWith("size ")) {
        size = true;
        sizeLimit = qMax(qint64(0), text.mid(5).trimmed().toLongLong());
    }
}
