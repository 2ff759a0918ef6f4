#include "ui/reader/linktexts.h"

#include "html/urls.h"
#include "ui/texts/harmless.h"

#include <QCoreApplication>
#include <QUrl>

using namespace Qt::StringLiterals;

namespace {

constexpr int kLongestTarget = 400;
constexpr int kLongestHost = 80;

/// Both whatever the domain at the end: lists of those that are to be trusted are for browsers.
QString inLetters(const QString &host)
{
    const QString letters = QUrl::fromAce(host.toUtf8(), QUrl::IgnoreIDNWhitelist);
    return letters.isEmpty() ? host : letters;
}

QString asSent(const QString &host)
{
    const QByteArray sent = QUrl::toAce(host, QUrl::IgnoreIDNWhitelist);
    return sent.isEmpty() ? host : QString::fromLatin1(sent);
}

} // namespace

QString linkInWords(const QString &target)
{
    QStringList removed;
    const QString opened = withoutTracking(target, &removed);
    const QUrl url(opened);
    QString words = harmlessLine(url.isValid() ? url.toString(QUrl::FullyEncoded) : opened, kLongestTarget);
    const QString letters = inLetters(url.host());
    if (!letters.isEmpty() && letters != asSent(url.host()))
        words += u" (%1)"_s.arg(harmlessLine(letters, kLongestHost));
    if (!removed.isEmpty())
        words += u", "_s + QCoreApplication::translate("LinkTexts", "without %1")
                               .arg(harmlessLine(removed.join(u", "_s), kLongestHost));
    return words;
}

QString hostInWords(const QString &host)
{
    const QString letters = inLetters(host);
    return harmlessLine(isConfusable(letters) ? asSent(host) : letters, kLongestHost);
}

bool isConfusableLink(const QString &target)
{
    return isConfusable(inLetters(hostOf(target)));
}
