#include "servers/postfix.h"

#include <QDateTime>
#include <QDir>
#include <QStandardPaths>

#include <grp.h>
#include <pwd.h>
#include <sys/stat.h>

using namespace Qt::StringLiterals;

namespace {

constexpr int kLongestStart = 20'000; // milliseconds
constexpr int kTries = 20;

QString program()
{
    return QStandardPaths::findExecutable(u"master"_s,
                                          {u"/usr/lib/postfix/sbin"_s, u"/usr/libexec/postfix"_s});
}

QByteArray answers()
{
    return "/^later@/ 450 4.2.0 Come back later\n"
           "/^full@/ 452 4.2.2 The mailbox is full\n"
           "/^no@/ 550 5.1.1 No such person\n"
           "/^gone@/ 421 4.3.2 I am going\n";
}

} // namespace

bool Postfix::canRun()
{
    const bool hasAnother = program().isEmpty() && QFile::exists(u"/usr/sbin/sendmail"_s);
    return getuid() == 0 && !hasAnother;
}

bool Postfix::mustRun()
{
    return qEnvironmentVariableIsSet("VELMAR_ALL_TESTS");
}

Postfix::Postfix(Dovecot &mailboxes, const QStringList &users)
    : m_mailboxes(mailboxes)
    , m_directory(u"postfix"_s)
    , m_process(path(u"output"_s))
{
    for (const QString &user : users)
        mailboxes.deliver(user, {});
    if (program().isEmpty())
        m_problem = u"The tests need Postfix: install postfix"_s;
    else if (!canRun() || !getpwnam("postfix") || !getgrnam("postdrop"))
        m_problem = u"Postfix needs root, its user postfix and its group postdrop"_s;
    else
        makeQueue();
    for (int tries = 0; tries < kTries && (m_problem.isEmpty() || log().contains("in use")); ++tries) {
        makeConfiguration(users);
        if (start())
            return;
    }
}

Postfix::~Postfix()
{
    m_process.kill();
}

void Postfix::write(const QString &name, const QByteArray &bytes) const
{
    QFile file(path(name));
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size() || !file.flush())
        qFatal("the test cannot write %s", qPrintable(file.fileName()));
    // each of its programs waits until what it reads is some seconds old
    file.setFileTime(QDateTime::currentDateTime().addSecs(-60), QFileDevice::FileModificationTime);
}

void Postfix::makeQueue() const
{
    const passwd *user = getpwnam("postfix");
    const uid_t owner = user->pw_uid;
    const gid_t usual = user->pw_gid;
    const gid_t drop = getgrnam("postdrop")->gr_gid;
    const auto make = [this](const QString &name, uid_t uid, gid_t gid, mode_t mode) {
        const QByteArray local = QFile::encodeName(path(name));
        if (::mkdir(local.constData(), mode) != 0 || ::chown(local.constData(), uid, gid) != 0 ||
            ::chmod(local.constData(), mode) != 0)
            qFatal("the test cannot make %s", local.constData());
    };
    make(u"data"_s, owner, usual, 0700);
    make(u"queue"_s, 0, 0, 0755);
    make(u"queue/pid"_s, 0, 0, 0755);
    make(u"queue/public"_s, owner, drop, 0710);
    make(u"queue/maildrop"_s, owner, drop, 01730);
    for (const char *name : {"active", "bounce", "corrupt", "defer", "deferred", "flush", "hold", "incoming",
                             "private", "saved", "trace"})
        make(u"queue/"_s + QLatin1StringView(name), owner, usual, 0700);
}

void Postfix::makeConfiguration(const QStringList &users)
{
    for (int &port : m_ports)
        port = freeServerPort();
    QByteArray mailboxes;
    for (const QString &user : users)
        mailboxes += user.toUtf8() + "@test.example " + user.toUtf8() + "/Maildir/\n";
    write(u"mailboxes"_s, mailboxes);
    write(u"answers"_s, answers());
    write(u"main.cf"_s, mainFile());
    write(u"master.cf"_s, masterFile());
}

QByteArray Postfix::mainFile() const
{
    const QFileInfo mailboxes(m_mailboxes.mailDirectory());
    QByteArray text = R"(compatibility_level = 3.6
queue_directory = DIR/queue
data_directory = DIR/data
maillog_file = DIR/log
maillog_file_prefixes = DIR
myhostname = mail.test.example
mydestination =
mynetworks =
alias_maps =
inet_interfaces = 127.0.0.1
inet_protocols = ipv4
disable_dns_lookups = yes
smtpd_peername_lookup = no
default_transport = error:5.1.2 Nothing leaves this machine
virtual_mailbox_domains = test.example
virtual_mailbox_base = MAIL
virtual_mailbox_maps = texthash:DIR/mailboxes
virtual_minimum_uid = 1
virtual_uid_maps = static:UID
virtual_gid_maps = static:GID
virtual_mailbox_limit = 0
mailbox_size_limit = 0
message_size_limit = SIZE
smtpd_recipient_restrictions = check_recipient_access regexp:DIR/answers
smtpd_relay_restrictions = permit_sasl_authenticated, reject_unauth_destination
smtpd_error_sleep_time = 0
smtpd_hard_error_limit = 1000
smtpd_sasl_type = dovecot
smtpd_sasl_path = SASL
broken_sasl_auth_clients = yes
smtpd_tls_cert_file = CERTIFICATE
smtpd_tls_key_file = KEY
smtpd_tls_loglevel = 1
)";
    return text.replace("UID", QByteArray::number(mailboxes.ownerId()))
        .replace("GID", QByteArray::number(mailboxes.groupId()))
        .replace("SIZE", QByteArray::number(kMostBytes))
        .replace("SASL", m_mailboxes.saslSocket().toUtf8())
        .replace("CERTIFICATE", m_mailboxes.certificateFile().toUtf8())
        .replace("KEY", m_mailboxes.keyFile().toUtf8())
        .replace("MAIL", m_mailboxes.mailDirectory().toUtf8())
        .replace("DIR", m_directory.path().toUtf8());
}

/// The last door is what an old server would be.
QByteArray Postfix::masterFile() const
{
    const QByteArray login = "  -o smtpd_sasl_auth_enable=yes\n";
    const QByteArray needsLogin = "  -o smtpd_client_restrictions=permit_sasl_authenticated,reject\n";
    const std::array<QByteArray, 4> options = {
        "  -o smtpd_discard_ehlo_keywords=8bitmime,smtputf8,pipelining,dsn,chunking\n",
        login + "  -o smtpd_tls_security_level=may\n",
        login + needsLogin + "  -o smtpd_tls_security_level=encrypt\n",
        login + needsLogin + "  -o smtpd_tls_wrappermode=yes\n",
    };
    QByteArray text;
    for (std::size_t i = 0; i < m_ports.size(); ++i)
        text += "127.0.0.1:" + QByteArray::number(m_ports[i]) + " inet n - n - - smtpd\n" + options[i];
    return text + R"(cleanup unix n - n - 0 cleanup
qmgr unix n - n 300 1 qmgr
tlsmgr unix - - n 1000? 1 tlsmgr
rewrite unix - - n - - trivial-rewrite
bounce unix - - n - 0 bounce
defer unix - - n - 0 bounce
trace unix - - n - 0 bounce
verify unix - - n - 1 verify
flush unix n - n 1000? 0 flush
proxymap unix - - n - - proxymap
error unix - - n - - error
retry unix - - n - - error
virtual unix - n n - - virtual
anvil unix - - n - 1 anvil
postlog unix-dgram n - n - 1 postlogd
)";
}

bool Postfix::start()
{
    m_problem.clear();
    QFile::remove(path(u"log"_s));
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"MAIL_CONFIG"_s, m_directory.path());
    m_process.setEnvironment(environment);
    m_problem = m_process.start(program(), {u"-s"_s, u"-c"_s, m_directory.path()});
    if (m_problem.isEmpty() && !m_process.awaitGreeting(host(), port(Door::Plain), kLongestStart))
        m_problem = u"Postfix does not start:\n"_s + QString::fromUtf8(log());
    if (!m_problem.isEmpty())
        m_process.kill();
    return m_problem.isEmpty();
}

QByteArray Postfix::log() const
{
    const auto read = [this](const QString &name) {
        QFile file(path(name));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    };
    return read(u"output"_s) + read(u"log"_s);
}
