#include "config/directory.h"
#include "config/files.h"
#include "config/reporter.h"
#include "identity/namefolder.h"
#include "identity/templates.h"

using namespace Qt::StringLiterals;

namespace {

NameFolder folder()
{
    return NameFolder(u"Templates"_s);
}

bool isWritten(bool good, const QString &name)
{
    if (!good)
        report(ReportLevel::Warning, "Unable to write file '%s'",
               qUtf8Printable(folder().path() + u'/' + escapedFileName(name)));
    return good;
}

} // namespace

QStringList templateNames()
{
    const NameFolder templates = folder();
    if (!templates.isReadable())
        report(ReportLevel::Warning, "Unable to read file '%s'", qUtf8Printable(templates.path()));
    return templates.names();
}

bool hasTemplate(const QString &name)
{
    return folder().has(name);
}

std::optional<QString> readTemplate(const QString &name)
{
    if (const std::optional<QByteArray> bytes = folder().read(name))
        return templateText(*bytes);
    report(ReportLevel::Warning, "Unable to read file '%s'",
           qUtf8Printable(folder().path() + u'/' + escapedFileName(name)));
    return {};
}

bool writeTemplate(const QString &name, const QString &text)
{
    return isWritten(folder().write(name, (text + u'\n').toUtf8()), name);
}

bool renameTemplate(const QString &from, const QString &to)
{
    return isWritten(folder().rename(from, to), to);
}

bool removeTemplate(const QString &name)
{
    return isWritten(folder().remove(name), name);
}

QString templateText(const QByteArray &bytes)
{
    QString text = decodeTextFile(bytes);
    text.replace("\r\n"_L1, "\n"_L1);
    if (text.endsWith(u'\n'))
        text.chop(1);
    return text;
}
