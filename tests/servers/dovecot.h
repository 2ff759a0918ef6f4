#pragma once

#include "servers/serverprocess.h"

#include <QByteArray>
#include <QHash>
#include <QStringList>

#include <array>
#include <vector>

/// What a server shows when TLS begins; each kind has an address of its own.
enum class Shown { Good, SelfSigned, Expired, NotYetValid, WrongHost, Untrusted };
constexpr std::array kShownNames = {"good",          "self-signed", "expired",
                                    "not yet valid", "wrong host",  "untrusted"};
static_assert(kShownNames.size() == std::size_t(Shown::Untrusted) + 1);

/// A Dovecot of the test's own on free ports of the loopback addresses, with POP3 that can be promoted by
/// STLS on one port and POP3 over TLS on the other. Any user has the password "secret" and a mailbox of its
/// own; the password of those whose name begins with "hashed" is known to the server as a hash only, which
/// makes it refuse APOP to them. Everything lies in a temporary directory; the server ends with the object,
/// or with the test's process whatever ends that. Runs as root or as anybody else.
class Dovecot
{
public:
    Dovecot();
    ~Dovecot();
    Dovecot(const Dovecot &) = delete;
    Dovecot &operator=(const Dovecot &) = delete;

    /// Empty when the server runs; else why not, with its own words.
    QString problem() const { return m_problem; }

    /// Again after kill(), on the same ports. False: see problem().
    bool start();

    /// At once and without a word to anybody, sessions included.
    void kill() { m_process.kill(); }

    int port() const { return m_port; }       ///< plain, promoted by STLS
    int tlsPort() const { return m_tlsPort; } ///< TLS from the start

    static QString host(Shown shown = Shown::Good);

    /// Where a password in the clear is refused without TLS: the server takes two different loopback
    /// addresses for two machines. Shows the good certificate.
    static QString strictHost() { return QStringLiteral("127.0.0.77"); }

    /// The certificate of the authority that signed all but the self-signed and the untrusted one.
    QString caFile() const { return path(QStringLiteral("ca.pem")); }

    /// The good certificate and its key, for other servers.
    QString certificateFile() const { return path(QStringLiteral("good.pem")); }
    QString keyFile() const { return path(QStringLiteral("good.key")); }

    /// Where other servers ask whether a login is right.
    QString saslSocket() const { return path(QStringLiteral("run/sasl")); }

    /// Where the mailboxes lie, each in "USER/Maildir"; not before one has been made.
    QString mailDirectory() const { return path(QStringLiteral("mail")); }

    /// SHA-256 of the certificate's DER form: 64 hexadecimal digits.
    QByteArray fingerprint(Shown shown) const;

    /// Puts @p texts ("\n" line ends) into the mailbox of @p user, behind what is there. Makes it, if need
    /// be.
    void deliver(const QString &user, const std::vector<QByteArray> &texts);

    /// What is in the mailbox of @p user, in the order of arrival.
    QStringList files(const QString &user) const;
    QByteArray text(const QString &user, const QString &file) const;
    void remove(const QString &user, const QString &file) const;

    /// What the server wrote into its log so far.
    QByteArray log() const;

private:
    QString path(const QString &name) const { return m_directory.path() + u'/' + name; }
    QString folder(const QString &user) const;
    void write(const QString &name, const QByteArray &bytes) const;
    QByteArray read(const QString &name) const;
    void makeCertificates();
    QByteArray configuration() const;
    void makeFolder(const QString &user) const;

    ServerDirectory m_directory;
    ServerProcess m_process;
    QString m_problem;
    std::array<QByteArray, kShownNames.size()> m_fingerprints;
    QHash<QString, int> m_delivered; ///< messages by user
    int m_port = 0;
    int m_tlsPort = 0;
};
