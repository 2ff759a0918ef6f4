#include "net/accountlog.h"

#include "net/accountfiles.h"

#include <QFile>
#include <QRegularExpression>

using namespace Qt::StringLiterals;

namespace {

constexpr QLatin1StringView kSent(">>>> ");
constexpr QLatin1StringView kReceived("<<<< ");
constexpr qsizetype kTimeLength = 23; ///< of "yyyy-MM-dd hh:mm:ss.zzz"

/// The whole lines among the last @p bytes of the file.
QByteArray lastLines(const QString &path, qint64 bytes)
{
    QFile file(path);
    if (bytes <= 0 || !file.open(QIODevice::ReadOnly))
        return {};
    const qint64 skipped = file.size() - bytes;
    if (skipped <= 0)
        return file.read(bytes);
    file.seek(skipped - 1);
    const QByteArray tail = file.read(bytes + 1);
    return tail.sliced(qMax(qsizetype(0), tail.indexOf('\n') + 1));
}

bool isTime(QStringView text)
{
    return text.size() == kTimeLength && text[4] == u'-' && text[10] == u' ' && text[13] == u':';
}

constexpr qsizetype kShortestMasked = 4;
constexpr qsizetype kPerhapsCut = 250; ///< characters; a text that was cut has at least so many
constexpr QLatin1StringView kMask("****");

/// How much of @p word's beginning stands at the end of @p text, as far as it would be masked.
qsizetype beginningAtEnd(QStringView text, QStringView word)
{
    for (qsizetype size = qMin(text.size(), word.size()); size >= kShortestMasked; --size) {
        if (text.endsWith(word.first(size)))
            return size;
    }
    return 0;
}

QString masked(QString text, const QString &word)
{
    text.replace(word, kMask);
    if (text.size() < kPerhapsCut)
        return text;
    while (text.endsWith(QChar::ReplacementCharacter)) // half a character
        text.chop(1);
    const qsizetype cut = beginningAtEnd(text, word);
    return cut > 0 ? text.chopped(cut) + kMask : text;
}

} // namespace

AccountLogLine accountLogLine(const QString &text)
{
    AccountLogLine line;
    line.text = text;
    if (text.size() > kTimeLength && text[kTimeLength] == u' ' && isTime(text.first(kTimeLength))) {
        line.time = text.first(kTimeLength);
        line.text = text.sliced(kTimeLength + 1);
    }
    if (line.text.startsWith(kSent))
        line.direction = AccountLogLine::Direction::Sent;
    else if (line.text.startsWith(kReceived))
        line.direction = AccountLogLine::Direction::Received;
    if (line.direction != AccountLogLine::Direction::None)
        line.text = line.text.sliced(kSent.size());
    return line;
}

QList<AccountLogLine> readAccountLog(int number, qint64 bytes)
{
    const QString path = accountFilePath(number, u"Log"_s);
    const QByteArray present = lastLines(path, bytes);
    const QByteArray text = lastLines(path + u".old"_s, bytes - present.size()) + present;
    QList<AccountLogLine> lines;
    for (const QByteArray &line : text.split('\n')) {
        if (!line.isEmpty())
            lines += accountLogLine(QString::fromUtf8(line));
    }
    return lines;
}

QString withoutCredentials(const QString &line)
{
    if (!line.startsWith(kSent))
        return line;
    // A command may stand behind a tag (IMAP); the name of a SASL mechanism (RFC 4422) is no secret.
    static const QRegularExpression secret(
        uR"(^(>>>> (?:\S+ )?(?:PASS|APOP|AUTHINFO PASS|LOGIN|AUTH(?:ENTICATE)?(?>(?: [A-Z0-9_-]{1,20}(?= |$))?))) .*$)"_s,
        QRegularExpression::CaseInsensitiveOption | QRegularExpression::DotMatchesEverythingOption);
    return QString(line).replace(secret, u"\\1 ****"_s);
}

QString withoutPassword(const QString &text, const QString &password)
{
    if (password.size() < kShortestMasked)
        return text;
    const QString bytes = QString::fromLatin1(password.toUtf8());
    const QString result = masked(text, password);
    return bytes == password ? result : masked(result, bytes);
}
