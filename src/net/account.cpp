#include "net/account.h"

#include "config/clock.h"
#include "config/directory.h"
#include "config/logfile.h"
#include "config/reporter.h"
#include "config/settings.h"
#include "net/accountdesk.h"
#include "net/accountfiles.h"
#include "net/accountlog.h"
#include "net/accountmanager.h"
#include "net/fetcher.h"

using namespace Qt::StringLiterals;

namespace {
constexpr qsizetype kLongestReply = 1000; ///< characters
constexpr qsizetype kLongestLine = 8192;  ///< more than the file takes: what is masked may be long
} // namespace

Account::Account(AccountManager &manager, const AccountData &data)
    : m_manager(manager)
    , m_data(data)
    , m_desk(std::make_unique<AccountDesk>(*this))
{}

Account::~Account()
{
    leave();
}

const AccountOptions &Account::options() const
{
    if (!m_options)
        m_options = number() > 0 ? readAccountOptions(number()) : AccountOptions();
    return *m_options;
}

bool Account::setOptions(const AccountOptions &options)
{
    if (number() > 0 && !writeAccountOptions(number(), options))
        return false;
    m_options = options;
    m_options->isReadable = true;
    return true;
}

void Account::noteLargestMail(qint64 bytes)
{
    if (bytes == largestMail() || !options().isReadable)
        return;
    AccountOptions changed = options();
    changed.largestMail = bytes;
    setOptions(changed);
}

/// The editor's word, or an answer of the user: what was refused may be tried again.
void Account::setData(const AccountData &data)
{
    const bool isAnotherServer = data.host != m_data.host || data.port != m_data.port;
    const bool isAnotherLogin =
        data.user != m_data.user || data.host != m_data.host || data.password != m_data.password;
    m_data = data;
    if (isAnotherServer)
        noteLargestMail(0);
    if (isAnotherLogin) {
        if (data.password != m_desk->password())
            m_desk->forgetPassword();
        m_desk->forgetRefusal();
    }
    clearMark();
}

QString Account::password() const
{
    return m_desk->password().isEmpty() ? m_data.password : m_desk->password();
}

void Account::keepPassword(const QString &password, PasswordKeeping keeping)
{
    m_desk->keep(password, keeping);
}

void Account::judge(const CertificateReport &report, bool attended, QObject *context,
                    std::function<void(bool)> answer)
{
    m_desk->judge(report, attended, context, std::move(answer));
}

void Account::loginRefused(const QString &reply)
{
    const QString said = presentable(reply).simplified();
    m_desk->refused(said.isEmpty() ? tr("The server refused it") : said);
    setMark(AccountMark::LoginRefused, tr("'%1' refused the login: %2").arg(name(), said));
}

void Account::setMark(AccountMark mark, const QString &text)
{
    if (mark < m_mark) // what only a person can mend is not hidden by what may pass by itself
        return;
    m_mark = mark;
    m_markText = text;
    emit markChanged();
}

void Account::clearMark()
{
    if (m_mark == AccountMark::None)
        return;
    m_mark = AccountMark::None;
    m_markText.clear();
    emit markChanged();
}

QString Account::withoutSecrets(const QString &text) const
{
    return withoutPassword(text, password());
}

QString Account::presentable(const QString &reply) const
{
    QStringList lines = withoutSecrets(reply).left(kLongestReply).trimmed().split(u'\n');
    for (QString &line : lines)
        line = onOneLine(line.trimmed());
    return lines.join(u'\n');
}

bool Account::isLogged() const
{
    return number() > 0 &&
           (boolSetting(Setting::EnableLogging) || boolSetting(Setting::GlobalLogIncludesFetchers));
}

void Account::log(const QString &text)
{
    if (!isLogged())
        return;
    const QString line = onOneLine(withoutCredentials(withoutSecrets(text.left(kLongestLine))));
    if (boolSetting(Setting::GlobalLogIncludesFetchers))
        note(name() + u": "_s + line);
    if (!boolSetting(Setting::EnableLogging))
        return;
    if (!m_log) {
        QString path = accountFileName(number(), u"Log"_s);
        configFile(path, false);
        m_log = std::make_unique<LogFile>(accountFileName(number(), u"Log"_s), Setting::TrimLogs,
                                          [] { report(ReportLevel::Warning, "Unable to open log file"); });
    }
    m_log->write(line);
}

void Account::flushLog()
{
    if (m_log)
        m_log->flush();
}

/// Nothing of it goes on, and nothing more comes from it.
void Account::leave()
{
    m_step = Step::Gone;
    m_next.reset();
    m_session = nullptr;
    for (Fetcher *fetcher : std::exchange(m_fetchers, {})) {
        disconnect(fetcher, nullptr, this, nullptr);
        fetcher->stop(); // what has arrived whole is stored
        fetcher->abandon();
    }
    m_desk->withdraw();
    endServing(AccountFetchReason::Stopped, {});
    if (std::exchange(m_fetching, false))
        emit fetchEnded(AccountFetchReason::Stopped, {});
    m_log.reset();
}
