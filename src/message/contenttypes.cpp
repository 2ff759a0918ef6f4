#include "message/contenttypes.h"

#include <QMimeDatabase>

using namespace Qt::StringLiterals;

namespace {

struct TypeRow
{
    std::array<const char *, 2> types;
    std::array<const char *, 2> extensions;
};

// The first row that has a type or an extension decides, and in it the first entry is the answer.
constexpr TypeRow kTypes[] = {
    {{"text/rtf", "application/rtf"}, {".rtf"}},
    {{"text/html"}, {".html", ".htm"}},
    {{"text/css"}, {".css"}},
    {{"text/plain"}, {".txt"}},
    {{"application/pdf"}, {".pdf"}},
    {{"application/postscript"}, {".ps", ".eps"}},
    {{"application/zip"}, {".zip"}},
    {{"application/msword"}, {".doc"}},
    {{"application/vnd.ms-excel"}, {".xls"}},
    {{"application/vnd.ms-powerpoint"}, {".ppt"}},
    {{"audio/basic"}, {".au", ".snd"}},
    {{"audio/mpeg", "audio/x-mpeg"}, {".mpa"}},
    {{"image/gif"}, {".gif"}},
    {{"image/jpeg"}, {".jpg", ".jpeg"}},
    {{"image/tiff"}, {".tif", ".tiff"}},
    {{"image/png"}, {".png"}},
    {{"image/x-ms-bmp", "image/bmp"}, {".bmp"}},
    {{"message/rfc822"}, {".eml"}},
    {{"message/news"}, {".nws"}},
    {{"video/mpeg"}, {".mpg", ".mpeg"}},
    {{"video/quicktime"}, {".mov"}},
    {{"video/x-msvideo"}, {".avi"}},
};

bool holds(const std::array<const char *, 2> &list, QByteArrayView entry)
{
    return std::any_of(list.begin(), list.end(), [entry](const char *one) {
        return one && entry.compare(QByteArrayView(one), Qt::CaseInsensitive) == 0;
    });
}

QByteArray extensionIn(const QString &fileName)
{
    const qsizetype separator = std::max(fileName.lastIndexOf(u'/'), fileName.lastIndexOf(u'\\'));
    const qsizetype dot = fileName.lastIndexOf(u'.');
    return dot > separator ? fileName.sliced(dot).toUtf8().toLower() : QByteArray();
}

QByteArray desktopContentTypeOf(const QByteArray &extension)
{
    // Of names the database knows patterns such as "makefile" as well; only the extension counts here.
    const QMimeType type =
        QMimeDatabase().mimeTypeForFile("x"_L1 + QString::fromUtf8(extension), QMimeDatabase::MatchExtension);
    return type.isValid() && !type.isDefault() ? type.name().toLatin1() : QByteArray();
}

} // namespace

QByteArray tabledContentTypeOf(const QString &fileName)
{
    const QByteArray extension = extensionIn(fileName);
    const auto *row = std::find_if(std::begin(kTypes), std::end(kTypes),
                                   [&](const TypeRow &one) { return holds(one.extensions, extension); });
    return row == std::end(kTypes) ? "application/octet-stream" : row->types[0];
}

QString tabledExtensionOf(QByteArrayView contentType)
{
    const auto *row = std::find_if(std::begin(kTypes), std::end(kTypes),
                                   [&](const TypeRow &one) { return holds(one.types, contentType); });
    if (row != std::end(kTypes))
        return QString::fromLatin1(row->extensions[0]);
    const QByteArray type = contentType.toByteArray().toLower();
    if (type.startsWith("text/"))
        return u".txt"_s;
    return type.startsWith("message/") ? u".eml"_s : QString();
}

QByteArray contentTypeOf(const QString &fileName)
{
    const QByteArray extension = extensionIn(fileName);
    const QByteArray type = extension.size() > 1 ? desktopContentTypeOf(extension) : QByteArray();
    return type.isEmpty() ? tabledContentTypeOf(fileName) : type;
}

QString extensionOf(QByteArrayView contentType)
{
    const QMimeType type = QMimeDatabase().mimeTypeForName(QString::fromLatin1(contentType).toLower());
    const QString suffix = type.isValid() && !type.isDefault() ? type.preferredSuffix() : QString();
    return suffix.isEmpty() ? tabledExtensionOf(contentType) : u'.' + suffix;
}
