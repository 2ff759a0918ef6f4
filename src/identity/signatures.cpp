#include "identity/signatures.h"

#include "config/directory.h"
#include "config/files.h"
#include "config/reporter.h"
#include "identity/namefolder.h"
#include "identity/oneline.h"

#include <array>

using namespace Qt::StringLiterals;

namespace {

/// A file begins with this and the word of its kind; a plain text does without, unless it begins so itself.
constexpr QLatin1StringView kKindMark = "Signature: "_L1;

constexpr std::array kKindWords = {"plain"_L1, "html"_L1, "command"_L1}; // by Signature::Kind
static_assert(kKindWords.size() == std::size_t(Signature::Kind::Command) + 1);

NameFolder folderOf(int identity)
{
    return NameFolder(u"Identities/%1/Signatures"_s.arg(identity));
}

QString withoutEndOfLines(QString text)
{
    text.replace("\r\n"_L1, "\n"_L1);
    while (text.endsWith(u'\n'))
        text.chop(1);
    return text;
}

QByteArray bytesOf(const Signature &signature)
{
    const QString text = withoutEndOfLines(signature.text);
    const bool isBare = signature.kind == Signature::Kind::Plain && !text.startsWith(kKindMark);
    const QString mark = isBare ? QString() : kKindMark + kKindWords[std::size_t(signature.kind)] + u'\n';
    return (mark + text + u'\n').toUtf8();
}

Signature signatureOf(const QString &name, const QByteArray &bytes)
{
    Signature signature{oneLineOf(name), Signature::Kind::Plain, withoutEndOfLines(decodeTextFile(bytes))};
    const QString first = signature.text.section(u'\n', 0, 0);
    for (std::size_t i = 0; i < kKindWords.size(); ++i) {
        if (first != QString(kKindMark + kKindWords[i]))
            continue;
        signature.kind = Signature::Kind(i);
        signature.text = signature.text.section(u'\n', 1);
    }
    return signature;
}

bool isWritten(bool good)
{
    if (!good)
        report(ReportLevel::Warning, "Unable to write signature file");
    return good;
}

} // namespace

QStringList signatureNames(int identity)
{
    const NameFolder folder = folderOf(identity);
    if (!folder.isReadable())
        report(ReportLevel::Warning, "Unable to open signature file");
    return folder.names();
}

std::optional<Signature> readSignature(int identity, const QString &name)
{
    const std::optional<QByteArray> bytes = folderOf(identity).read(name);
    if (bytes)
        return signatureOf(name, *bytes);
    report(ReportLevel::Warning, "Unable to open signature file");
    return {};
}

bool writeSignature(int identity, const Signature &signature)
{
    return isWritten(folderOf(identity).write(signature.name, bytesOf(signature)));
}

bool renameSignature(int identity, const QString &from, const QString &to)
{
    return isWritten(folderOf(identity).rename(from, to));
}

bool removeSignature(int identity, const QString &name)
{
    return isWritten(folderOf(identity).remove(name));
}
