#pragma once

#include "servers/dovecot.h"

/// The doors of a Postfix for tests.
enum class Door {
    Plain,      ///< no login, no encryption, and few extensions: mail for its own domain only
    Login,      ///< a login in the clear, or after STARTTLS
    Submission, ///< nothing before STARTTLS and a login
    Tls,        ///< TLS from the start, and a login
};

/// A Postfix of the test's own on free ports of 127.0.0.1, for the domain "test.example". It delivers into
/// the mailboxes of a Dovecot, which checks its logins, too, and shows that one's good certificate. Mail to
/// "later@", "full@", "no@" and "gone@test.example" is answered 450, 452, 550 and 421. Everything lies in a
/// temporary directory; the server ends with the object, or with the test's process whatever ends that. Runs
/// as root only, as its parts change into several users.
class Postfix
{
public:
    /// @p users are those of @p mailboxes who get mail; that one has to outlive this.
    Postfix(Dovecot &mailboxes, const QStringList &users);
    ~Postfix();
    Postfix(const Postfix &) = delete;
    Postfix &operator=(const Postfix &) = delete;

    /// Whether this is root, and no other mail server keeps Postfix from being installed.
    static bool canRun();

    /// Whether a test that cannot run has failed: so it is where the environment names VELMAR_ALL_TESTS.
    static bool mustRun();

    /// Empty when the server runs; else why not, with its own words.
    QString problem() const { return m_problem; }

    static QString host() { return QStringLiteral("127.0.0.1"); }
    int port(Door door) const { return m_ports[std::size_t(door)]; }

    /// The largest message that it takes, in bytes.
    static constexpr int kMostBytes = 60'000'000;

    /// What the server wrote into its log so far.
    QByteArray log() const;

private:
    QString path(const QString &name) const { return m_directory.path() + u'/' + name; }
    void write(const QString &name, const QByteArray &bytes) const;
    void makeQueue() const;
    void makeConfiguration(const QStringList &users);
    QByteArray mainFile() const;
    QByteArray masterFile() const;
    bool start();

    Dovecot &m_mailboxes;
    ServerDirectory m_directory;
    ServerProcess m_process;
    QString m_problem;
    std::array<int, 4> m_ports = {};
};
