#pragma once

#include "net/socket/certificate.h"

#include <QString>
#include <QStringList>

#include <array>
#include <optional>
#include <vector>

/// How a client logs in where the server leaves a choice.
enum class LoginMethod { Automatic, Password, Digest };

/// Their words in the file; a word once written is never used for another method.
constexpr std::array kLoginMethodWords = {"automatic", "password", "digest"};
static_assert(kLoginMethodWords.size() == std::size_t(LoginMethod::Digest) + 1);

/// What an account needs to know and the accounts file has no letter for: the list file
/// "Accounts/<number>/Options", which only its owner may read.
struct AccountOptions
{
    QString caFile; ///< certificates trusted besides those of the system (PEM); empty: none
    LoginMethod login = LoginMethod::Automatic;

    /// Certificates that the user accepted for good whatever their problems, the newest last. One that was
    /// given by its fingerprint alone has nothing but that.
    std::vector<CertificateInfo> accepted;

    /// Bytes of the largest message that an outgoing server takes (RFC 1870), as it said last; 0: it named
    /// none.
    qint64 largestMail = 0;

    /// Numbers of further identities whose mail an outgoing account sends, besides the one that it names.
    std::vector<int> identities;

    /// Lines of later days, kept as they are.
    QStringList others;

    bool isReadable = true; ///< false: the file is there and could not be read; only the user writes over it

    bool serves(int identity) const;
    void serve(int identity);

    bool operator==(const AccountOptions &) const = default;

    bool accepts(const QByteArray &sha256) const;

    /// Enters @p certificate as the newest one.
    void accept(const CertificateInfo &certificate);
};

/// The fingerprint in 64 lower-case digits from what a person typed: colons, blanks and case are of no
/// account. Empty when it is none.
QByteArray fingerprintOf(const QString &text);

/// Reads the options of account @p number; those that every account has when there is no file.
AccountOptions readAccountOptions(int number);

/// False after a report.
[[nodiscard]] bool writeAccountOptions(int number, const AccountOptions &options);
