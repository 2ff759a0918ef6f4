#include "servers/dovecot.h"

#include "servers/certificates.h"

#include <QCryptographicHash>
#include <QDir>
#include <QStandardPaths>

#include <fcntl.h>
#include <grp.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

constexpr int kLongestStart = 10'000; // milliseconds
constexpr int kTries = 20;

/// Mail belongs to somebody who is not root, whom the server would refuse to serve.
struct MailUser
{
    MailUser()
    {
        const passwd *entry = getuid() == 0 ? getpwnam("mail") : getpwuid(getuid());
        const group *itsGroup = entry ? getgrgid(entry->pw_gid) : nullptr;
        if (!itsGroup)
            qFatal("there is no user for the mailboxes");
        uid = entry->pw_uid;
        gid = entry->pw_gid;
        name = entry->pw_name;
        groupName = itsGroup->gr_name;
    }

    uid_t uid;
    gid_t gid;
    QByteArray name;
    QByteArray groupName;
};

QString program()
{
    return QStandardPaths::findExecutable(u"dovecot"_s, {u"/usr/sbin"_s, u"/usr/local/sbin"_s});
}

CertificateText textFor(Shown shown)
{
    constexpr qint64 kDay = 24 * 3600;
    CertificateText text = {.commonName = "localhost", .addresses = {Dovecot::host(shown).toLatin1()}};
    switch (shown) {
    case Shown::Good:
        text.hosts = {"localhost"};
        text.addresses += Dovecot::strictHost().toLatin1();
        break;
    case Shown::Expired:
        text.from = -30 * kDay;
        text.until = -kDay;
        break;
    case Shown::NotYetValid: text.from = kDay; break;
    case Shown::WrongHost: text = {.commonName = "elsewhere.example", .hosts = {"elsewhere.example"}}; break;
    default: break;
    }
    return text;
}

QByteArray sha256(const TestCertificate &certificate)
{
    std::array<unsigned char, EVP_MAX_MD_SIZE> digest;
    unsigned size = 0;
    X509_digest(certificate.certificate(), EVP_sha256(), digest.data(), &size);
    return QByteArrayView(digest.data(), size).toByteArray().toHex();
}

QByteArray nameOf(Shown shown)
{
    return QByteArray(kShownNames[std::size_t(shown)]).replace(' ', '-');
}

} // namespace

Dovecot::Dovecot()
    : m_directory(u"dovecot"_s)
    , m_process(path(u"output"_s))
{
    makeCertificates();
    const QByteArray hash = QCryptographicHash::hash("secret", QCryptographicHash::Sha256).toBase64();
    write(u"hashed"_s, "hashed:{SHA256}" + hash + "::::::\n");
    for (int tries = 0; tries < kTries && !start(); ++tries) {
        if (!log().contains("in use"))
            return;
        m_port = 0;
    }
}

Dovecot::~Dovecot()
{
    m_process.kill();
}

void Dovecot::write(const QString &name, const QByteArray &bytes) const
{
    QFile file(path(name));
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
        qFatal("the test cannot write %s", qPrintable(file.fileName()));
}

QByteArray Dovecot::read(const QString &name) const
{
    QFile file(path(name));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QString Dovecot::host(Shown shown)
{
    return shown == Shown::Good ? u"127.0.0.1"_s : u"127.0.0.%1"_s.arg(10 + int(shown));
}

QByteArray Dovecot::fingerprint(Shown shown) const
{
    return m_fingerprints[std::size_t(shown)];
}

void Dovecot::makeCertificates()
{
    const TestCertificate root({.commonName = "Test CA", .signsOthers = true});
    const TestCertificate stranger({.commonName = "Unknown CA", .signsOthers = true});
    write(u"ca.pem"_s, root.pem());
    for (std::size_t i = 0; i < kShownNames.size(); ++i) {
        const Shown shown = Shown(i);
        const TestCertificate *issuer = shown == Shown::SelfSigned  ? nullptr
                                        : shown == Shown::Untrusted ? &stranger
                                                                    : &root;
        const TestCertificate certificate(textFor(shown), issuer);
        certificate.write(m_directory.path(), QString::fromLatin1(nameOf(shown)));
        m_fingerprints[i] = sha256(certificate);
    }
}

QByteArray Dovecot::configuration() const
{
    const MailUser user;
    const auto show = [this](Shown shown) {
        const QByteArray stem = path(QString::fromLatin1(nameOf(shown))).toUtf8();
        return "  ssl_cert = <" + stem + ".pem\n  ssl_key = <" + stem + ".key\n";
    };
    QByteArray listen = "listen = " + strictHost().toLatin1();
    QByteArray others;
    for (std::size_t i = 0; i < kShownNames.size(); ++i) {
        const QByteArray address = host(Shown(i)).toLatin1();
        listen += ", " + address;
        if (i > 0)
            others += "local " + address + " {\n" + show(Shown(i)) + "}\n";
    }
    QByteArray text = listen + '\n' + show(Shown::Good) + others + R"(
ssl = yes
base_dir = DIR/run
state_dir = DIR/run
log_path = DIR/log
protocols = pop3
disable_plaintext_auth = yes
auth_mechanisms = plain login apop cram-md5
auth_failure_delay = 0
auth_cache_size = 0
mail_location = maildir:~/Maildir
maildir_very_dirty_syncs = yes
mail_uid = UID
mail_gid = GID
first_valid_uid = UID
first_valid_gid = GID
passdb {
  driver = passwd-file
  args = DIR/hashed
  username_filter = hashed*
}
passdb {
  driver = static
  args = password=secret
  username_filter = !hashed*
}
userdb {
  driver = static
  args = uid=UID gid=GID home=DIR/mail/%u
}
service auth {
  unix_listener sasl {
    mode = 0666
  }
}
service anvil {
  client_limit = 200
  unix_listener anvil-auth-penalty {
    mode = 0
  }
}
service pop3-login {
  inet_listener pop3 {
    port = PLAIN
  }
  inet_listener pop3s {
    port = ENCRYPTED
    ssl = yes
  }
}
)";
    if (getuid() != 0) // there is nobody to change into and no way to lock itself up
        text += "default_internal_user = NAME\ndefault_login_user = NAME\ndefault_internal_group = GROUP\n"
                "service anvil {\n  chroot =\n}\nservice pop3-login {\n  chroot =\n}\n";
    return text.replace("UID", QByteArray::number(user.uid))
        .replace("GID", QByteArray::number(user.gid))
        .replace("NAME", user.name)
        .replace("GROUP", user.groupName)
        .replace("PLAIN", QByteArray::number(m_port))
        .replace("ENCRYPTED", QByteArray::number(m_tlsPort))
        .replace("DIR", m_directory.path().toUtf8()); // last: it may contain the others
}

bool Dovecot::start()
{
    m_problem.clear();
    if (program().isEmpty()) {
        m_problem = u"The tests need Dovecot: install dovecot-pop3d"_s;
        return false;
    }
    if (m_port == 0) {
        m_port = freeServerPort();
        m_tlsPort = freeServerPort();
        write(u"configuration"_s, configuration());
    }
    QFile::remove(path(u"log"_s));
    m_problem = m_process.start(program(), {u"-F"_s, u"-c"_s, path(u"configuration"_s)});
    if (m_problem.isEmpty() && !m_process.awaitGreeting(host(), m_port, kLongestStart))
        m_problem = u"Dovecot does not start:\n"_s + QString::fromUtf8(read(u"output"_s) + log());
    return m_problem.isEmpty();
}

QByteArray Dovecot::log() const
{
    return read(u"log"_s);
}

QString Dovecot::folder(const QString &user) const
{
    return path(u"mail/"_s + user + u"/Maildir"_s);
}

void Dovecot::makeFolder(const QString &user) const
{
    const MailUser owner;
    QString each = path(u"mail"_s);
    const auto make = [&owner](const QString &name) {
        const QByteArray local = QFile::encodeName(name);
        if (QDir().exists(name))
            return;
        if (::mkdir(local.constData(), 0700) != 0 || ::chown(local.constData(), owner.uid, owner.gid) != 0)
            qFatal("the test cannot make %s", local.constData());
    };
    make(each);
    for (const QString &name : {user, u"Maildir"_s})
        make(each += u'/' + name);
    for (const QString &name : {u"/cur"_s, u"/new"_s, u"/tmp"_s})
        make(each + name);
}

void Dovecot::deliver(const QString &user, const std::vector<QByteArray> &texts)
{
    makeFolder(user);
    const QString folder = this->folder(user) + u"/cur/"_s;
    int &last = m_delivered[user];
    for (const QByteArray &text : texts) {
        // the server takes the order of the names, and both sizes from them instead of reading
        const qsizetype size = text.size() + text.count('\n');
        const QString name =
            u"1700%1.M1P1.test,S=%2,W=%3:2,"_s.arg(++last, 6, 10, QChar(u'0')).arg(text.size()).arg(size);
        QFile file(folder + name);
        if (!file.open(QIODevice::WriteOnly | QIODevice::NewOnly) || file.write(text) != text.size())
            qFatal("the test cannot deliver %s", qPrintable(name));
        file.setPermissions(QFile::Permissions::fromInt(0x6644));
    }
}

QStringList Dovecot::files(const QString &user) const
{
    QStringList names;
    for (const QString &part : {u"/cur"_s, u"/new"_s}) {
        for (const QString &name : QDir(folder(user) + part).entryList(QDir::Files, QDir::Unsorted))
            names += part.sliced(1) + u'/' + name;
    }
    names.sort();
    return names;
}

QByteArray Dovecot::text(const QString &user, const QString &file) const
{
    QFile open(folder(user) + u'/' + file);
    return open.open(QIODevice::ReadOnly) ? open.readAll() : QByteArray();
}

void Dovecot::remove(const QString &user, const QString &file) const
{
    if (!QFile::remove(folder(user) + u'/' + file))
        qFatal("the test cannot remove %s", qPrintable(file));
}
