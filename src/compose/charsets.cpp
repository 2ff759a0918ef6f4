#include "compose/charsets.h"

#include "config/settings.h"
#include "message/charset.h"

namespace {

/// Each character of @p text once: a long text is looked through for each set no more.
QString distinctCharacters(const QString &text)
{
    std::u32string characters = text.toStdU32String();
    std::sort(characters.begin(), characters.end());
    characters.erase(std::unique(characters.begin(), characters.end()), characters.end());
    return QString::fromStdU32String(characters);
}

/// Sets that hold any text: of those UTF-8 is the one that everybody reads.
bool holdsEverything(const QByteArray &charset)
{
    return charset == "UTF-8" || charset == "GB18030";
}

} // namespace

const QList<QByteArray> &offeredCharsets()
{
    static const QList<QByteArray> offered = {
        "UTF-8",       "ISO-8859-1",   "ISO-8859-15", "windows-1252", "ISO-8859-2",   "windows-1250",
        "ISO-8859-3",  "ISO-8859-4",   "ISO-8859-13", "windows-1257", "ISO-8859-5",   "KOI8-R",
        "KOI8-U",      "windows-1251", "ISO-8859-6",  "windows-1256", "ISO-8859-7",   "windows-1253",
        "ISO-8859-8",  "windows-1255", "ISO-8859-9",  "windows-1254", "windows-1258", "TIS-620",
        "ISO-2022-JP", "Shift_JIS",    "EUC-JP",      "GB2312",       "GB18030",      "Big5",
        "EUC-KR",
    };
    return offered;
}

QByteArray defaultCharset()
{
    return offeredCharsets().value(intSetting(Setting::CharacterSet), offeredCharsets().first());
}

QByteArray suitableCharset(const QString &text)
{
    const QString characters = distinctCharacters(text);
    for (const QByteArray &charset : offeredCharsets())
        if (!holdsEverything(charset) && encodeCharset(characters, charset))
            return charset;
    return offeredCharsets().first();
}
