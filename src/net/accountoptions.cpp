#include "net/accountoptions.h"

#include "config/listfile.h"
#include "config/listtext.h"
#include "config/reporter.h"
#include "net/accountfiles.h"

#include <QFileInfo>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

constexpr ListFileTexts kTexts = {"Unable to read account options file",
                                  "Unable to write account options file",
                                  "Unable to backup account options file"};

constexpr QLatin1StringView kCaFile("ca-file ");
constexpr QLatin1StringView kLogin("login ");
constexpr QLatin1StringView kCertificate("certificate ");
constexpr QLatin1StringView kLargestMail("largest-mail ");
constexpr QLatin1StringView kIdentity("identity ");
constexpr qsizetype kFingerprintLength = 64;
constexpr qint64 kMostBytes = 4 * 1024 * 1024; ///< of the file: some thousand certificates

ListFile optionsFile(int number)
{
    return ListFile(accountFileName(number, u"Options"_s), kTexts);
}

/// The fields of a certificate's line behind its key, separated by tabs.
QString certificateText(const CertificateInfo &certificate)
{
    return QStringList{QString::fromLatin1(certificate.sha256), QString::number(certificate.validFrom),
                       QString::number(certificate.validUntil), escapedText(certificate.commonName),
                       escapedText(certificate.subject),        escapedText(certificate.issuer),
                       escapedTextList(certificate.names)}
        .join(u'\t');
}

std::optional<CertificateInfo> certificateOf(const QString &text)
{
    const QStringList fields = text.split(u'\t');
    CertificateInfo certificate;
    certificate.sha256 = fingerprintOf(fields.first());
    if (certificate.sha256.isEmpty())
        return {};
    certificate.validFrom = fields.value(1).toLongLong();
    certificate.validUntil = fields.value(2).toLongLong();
    certificate.commonName = unescapedText(fields.value(3));
    certificate.subject = unescapedText(fields.value(4));
    certificate.issuer = unescapedText(fields.value(5));
    if (const QString names = fields.value(6); !names.isEmpty())
        certificate.names = unescapedTextList(names);
    return certificate;
}

bool takeLogin(AccountOptions &options, const QString &word)
{
    const auto found = std::find_if(kLoginMethodWords.begin(), kLoginMethodWords.end(),
                                    [&word](const char *known) { return word == QLatin1StringView(known); });
    if (found == kLoginMethodWords.end())
        return false;
    options.login = LoginMethod(found - kLoginMethodWords.begin());
    return true;
}

bool takeLargestMail(AccountOptions &options, const QString &number)
{
    bool isNumber = false;
    const qint64 bytes = number.toLongLong(&isNumber);
    if (isNumber && bytes > 0)
        options.largestMail = bytes;
    return isNumber;
}

bool takeIdentity(AccountOptions &options, const QString &number)
{
    const int identity = number.toInt();
    if (identity > 0)
        options.serve(identity);
    return identity > 0;
}

/// False: the line is not one of ours.
bool takeLine(AccountOptions &options, const QString &line)
{
    if (line.startsWith(kCaFile)) {
        options.caFile = unescapedText(QStringView(line).sliced(kCaFile.size()));
        return true;
    }
    if (line.startsWith(kLogin))
        return takeLogin(options, line.sliced(kLogin.size()));
    if (line.startsWith(kLargestMail))
        return takeLargestMail(options, line.sliced(kLargestMail.size()));
    if (line.startsWith(kIdentity))
        return takeIdentity(options, line.sliced(kIdentity.size()));
    if (!line.startsWith(kCertificate))
        return false;
    const auto certificate = certificateOf(line.sliced(kCertificate.size()));
    if (certificate)
        options.accepted.push_back(*certificate);
    return certificate.has_value();
}

} // namespace

bool AccountOptions::serves(int identity) const
{
    return std::find(identities.begin(), identities.end(), identity) != identities.end();
}

void AccountOptions::serve(int identity)
{
    if (!serves(identity))
        identities.push_back(identity);
}

bool AccountOptions::accepts(const QByteArray &sha256) const
{
    return !sha256.isEmpty() && std::any_of(accepted.begin(), accepted.end(),
                                            [&](const auto &known) { return known.sha256 == sha256; });
}

void AccountOptions::accept(const CertificateInfo &certificate)
{
    std::erase_if(accepted, [&](const auto &known) { return known.sha256 == certificate.sha256; });
    accepted.push_back(certificate);
}

QByteArray fingerprintOf(const QString &text)
{
    QByteArray digits;
    for (const QChar c : text) {
        if (c == u':' || c == u' ')
            continue;
        const char digit = c.toLower().toLatin1();
        if ((digit < '0' || digit > '9') && (digit < 'a' || digit > 'f'))
            return {};
        digits += digit;
    }
    return digits.size() == kFingerprintLength ? digits : QByteArray();
}

AccountOptions readAccountOptions(int number)
{
    AccountOptions options;
    const ListFile file = optionsFile(number);
    if (QFileInfo(file.path()).size() > kMostBytes) {
        report(ReportLevel::Warning, "%s", kTexts.unableToRead);
        note(u"%1 is too long to be one of ours"_s.arg(file.path()));
        options.isReadable = false;
        return options;
    }
    const ListFile::Contents contents = optionsFile(number).read();
    options.isReadable = contents.outcome != ListFile::Outcome::Unreadable;
    for (const QString &line : contents.lines) {
        // Of a damaged file the last line may be cut: a shortened path or fingerprint is worse than none.
        const bool mayBeCut =
            contents.outcome == ListFile::Outcome::Damaged && &line == &contents.lines.constLast();
        if (!mayBeCut && !takeLine(options, line))
            options.others += line;
    }
    return options;
}

bool writeAccountOptions(int number, const AccountOptions &options)
{
    QStringList lines;
    if (!options.caFile.isEmpty())
        lines += kCaFile + escapedText(options.caFile);
    if (options.login != LoginMethod::Automatic)
        lines += kLogin + QLatin1StringView(kLoginMethodWords[std::size_t(options.login)]);
    if (options.largestMail > 0)
        lines += kLargestMail + QString::number(options.largestMail);
    for (const int identity : options.identities)
        lines += kIdentity + QString::number(identity);
    for (const CertificateInfo &certificate : options.accepted)
        lines += kCertificate + certificateText(certificate);
    return optionsFile(number).write(lines + options.others);
}
