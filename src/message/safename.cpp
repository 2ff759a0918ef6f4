#include "message/safename.h"

#include "config/settings.h"

#include <QSet>

using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype kLongestSuffix = 16; ///< what is longer behind the last dot is no extension

/// Characters that mean something to some file system or shell window, or that turn the reading direction so
/// that "exe.gpj" looks like "jpg.exe".
bool isForbidden(QChar c)
{
    const QChar::Category category = c.category();
    return category == QChar::Other_Control || category == QChar::Other_Format ||
           category == QChar::Separator_Line || category == QChar::Separator_Paragraph ||
           QStringView(u"<>:\"|?*").contains(c);
}

QString lastElement(const QString &path)
{
    const qsizetype separator = std::max(path.lastIndexOf(u'/'), path.lastIndexOf(u'\\'));
    return path.sliced(separator + 1);
}

/// Windows takes "con.txt" for the console, whatever stands behind the dot.
bool isDeviceName(const QString &name)
{
    static const QSet<QString> devices = {u"con"_s,    u"prn"_s,     u"aux"_s,   u"nul"_s,
                                          u"conin$"_s, u"conout$"_s, u"clock$"_s};
    const QString stem = name.section(u'.', 0, 0).trimmed().toLower();
    if (devices.contains(stem))
        return true;
    return stem.size() == 4 && (stem.startsWith("com"_L1) || stem.startsWith("lpt"_L1)) &&
           (stem[3].isDigit() || QStringView(u"\u00b9\u00b2\u00b3").contains(stem[3]));
}

/// The longest beginning of @p text that fits into @p bytes of UTF-8, cut between characters.
QString fitting(const QString &text, qsizetype bytes)
{
    QString cut = text.first(std::min(text.size(), std::max<qsizetype>(bytes, 0)));
    while (cut.toUtf8().size() > bytes)
        cut.chop(cut.size() > 1 && cut.back().isLowSurrogate() ? 2 : 1);
    if (!cut.isEmpty() && cut.back().isHighSurrogate())
        cut.chop(1);
    return cut;
}

QString shortened(const QString &name, qsizetype mostBytes)
{
    if (name.toUtf8().size() <= mostBytes)
        return name;
    const qsizetype dot = name.lastIndexOf(u'.');
    const bool hasSuffix = dot > 0 && name.size() - dot <= kLongestSuffix;
    const QString suffix = hasSuffix ? name.sliced(dot) : QString();
    return fitting(hasSuffix ? name.first(dot) : name, mostBytes - suffix.toUtf8().size()).trimmed() + suffix;
}

} // namespace

QString safeFileName(const QString &name, int mostBytes)
{
    QString safe = lastElement(name);
    for (QChar &c : safe) {
        if (isForbidden(c) && c.category() != QChar::Other_Format)
            c = u'_';
    }
    safe.removeIf([](QChar c) { return c.category() == QChar::Other_Format; });
    safe = safe.simplified();
    while (safe.startsWith(u'.') || safe.startsWith(u' '))
        safe.remove(0, 1);
    while (safe.endsWith(u'.') || safe.endsWith(u' ')) // Windows drops them silently
        safe.chop(1);
    if (safe.isEmpty())
        return u"Untitled"_s;
    if (isDeviceName(safe))
        safe.prepend(u'_');
    return shortened(safe, mostBytes);
}

bool isSafeToOpen(const QString &name)
{
    const QString safe = safeFileName(name);
    const qsizetype dot = safe.lastIndexOf(u'.');
    if (dot < 0)
        return false;
    const QStringView extension = QStringView(safe).sliced(dot + 1);
    const QStringList listed = stringSetting(Setting::SafeExtensions).split(u',', Qt::SkipEmptyParts);
    return std::any_of(listed.begin(), listed.end(), [extension](const QString &entry) {
        QStringView one = QStringView(entry).trimmed();
        if (one.startsWith(u'.'))
            one = one.sliced(1);
        return !one.isEmpty() && one.compare(extension, Qt::CaseInsensitive) == 0;
    });
}
