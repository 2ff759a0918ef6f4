#include "message/messageid.h"

#include "config/clock.h"

#include <QRandomGenerator>
#include <QSysInfo>
#include <QUrl>

#include <chrono>

namespace {

constexpr qsizetype kTickDigits = 7;
constexpr qsizetype kRandomDigits = 4;
constexpr quint32 kRandomValues = 36 * 36 * 36 * 36;

QByteArray base36(quint64 number)
{
    return QByteArray::number(qulonglong(number), 36);
}

/// The last @p digits digits, with zeros in front.
QByteArray base36(quint64 number, qsizetype digits)
{
    return base36(number).rightJustified(digits, '0').right(digits);
}

bool isWhite(char c)
{
    return c == ' ' || (c >= '\t' && c <= '\r');
}

/// Whether the bytes can be the right side of an identifier (RFC 5322, dot-atom or literal, in ASCII).
bool isIdDomain(const QByteArray &domain)
{
    return !domain.isEmpty() && std::all_of(domain.begin(), domain.end(), [](char c) {
        return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') ||
               QByteArrayView("-._[]:").contains(c);
    });
}

QByteArray localMachine()
{
    const QByteArray name = QUrl::toAce(QSysInfo::machineHostName());
    return isIdDomain(name) ? name : QByteArray("localhost");
}

QByteArray domainOf(const QString &sender)
{
    const qsizetype at = sender.indexOf(u'@');
    if (at <= 0)
        return localMachine();
    const QString domain = sender.sliced(at + 1);
    const QByteArray ace = domain.startsWith(u'[') ? domain.toLatin1() : QUrl::toAce(domain);
    return isIdDomain(ace) ? ace : localMachine();
}

} // namespace

QByteArray newMessageId(const QString &sender, const MessageIdParts &parts)
{
    const quint64 ticks =
        parts.ticks.value_or(quint64(std::chrono::steady_clock::now().time_since_epoch().count()));
    QByteArray local = "velmar." + base36(quint64(parts.seconds.value_or(clockSeconds()))) +
                       base36(ticks, kTickDigits) +
                       base36(QRandomGenerator::global()->bounded(kRandomValues), kRandomDigits);
    if (parts.number)
        local += '.' + QByteArray::number(qulonglong(*parts.number));
    return '<' + local + '@' + domainOf(sender) + '>';
}

QByteArray cutMessageId(QByteArrayView value)
{
    const qsizetype begin = value.indexOf('<');
    const qsizetype end = value.lastIndexOf('>');
    return begin >= 0 && end > begin + 1 ? value.sliced(begin, end + 1 - begin).toByteArray() : QByteArray();
}

QList<QByteArray> messageIds(QByteArrayView value)
{
    QList<QByteArray> ids;
    QByteArray id;
    for (const char c : value) {
        if (c == '<')
            id = "<";
        else if (!id.isEmpty() && !isWhite(c) && c != '\0')
            id += c;
        if (c != '>')
            continue;
        if (id.size() > 2)
            ids.append(id);
        id.clear();
    }
    return ids;
}
