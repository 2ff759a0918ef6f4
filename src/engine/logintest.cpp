#include "engine/logintest.h"

#include "net/accountmanager.h"
#include "net/pop3/popfetcher.h"
#include "net/smtp/smtpsender.h"

using namespace Qt::StringLiterals;

namespace {

/// One test: an account of its own, in no list, that only the judge knows of.
class Trial : public QObject, private UserQuestions
{
    Q_OBJECT

public:
    Trial(const AccountData &data, const AccountOptions &options, CertificateJudge judge,
          std::function<void(const LoginResult &)> done, QObject *parent)
        : QObject(parent)
        , m_judge(std::move(judge))
        , m_done(std::move(done))
        , m_account(m_manager, withoutNumber(data))
    {
        if (data.kind == AccountKind::Smtp)
            m_fetcher = m_sender = new SMTPSender(m_account, SmtpTask::LoginTest, nullptr, this);
        else
            m_fetcher = m_pop = new POPFetcher(m_account, PopTask::LoginTest, nullptr, this);
        m_manager.setQuestions(this);
        m_account.setOptions(options); // they stay in memory
        connect(m_fetcher, &Fetcher::fetchComplete, this, [this] { end(AccountFetchReason::None, {}); });
        connect(m_fetcher, &Fetcher::fetchError, this,
                [this](Fetcher *, AccountFetchReason reason, const QString &detail) { end(reason, detail); });
    }

    ~Trial() override
    {
        m_manager.setQuestions(nullptr);
        if (m_fetcher) {
            m_fetcher->disconnect(this);
            m_fetcher->abandon();
        }
    }

    void start()
    {
        m_fetcher->setAttended(true);
        if (!m_fetcher->start())
            end(AccountFetchReason::Unreachable, m_fetcher->lastError());
    }

private:
    /// What one account has remembered is no other one's business: this one has no files, and no log.
    static AccountData withoutNumber(AccountData data)
    {
        data.number = 0;
        return data;
    }

    void askCertificate(const CertificateQuestion &question,
                        std::function<void(CertificateAnswer)> answer) override
    {
        const QPointer<Trial> guard(this);
        const auto judged = [guard, answer](bool accept) {
            if (guard)
                answer(accept ? CertificateAnswer::AcceptOnce : CertificateAnswer::Refuse);
        };
        QMetaObject::invokeMethod(
            this,
            [this, report = question.found, judged] {
                if (m_judge)
                    m_judge(report, judged);
                else
                    judged(false);
            },
            Qt::QueuedConnection);
    }

    void askPassword(const PasswordQuestion &,
                     std::function<void(const QString &, PasswordKeeping)> answer) override
    {
        QMetaObject::invokeMethod(
            this, [answer] { answer({}, PasswordKeeping::ThisRun); }, Qt::QueuedConnection);
    }

    void withdraw(int) override {}

    void end(AccountFetchReason reason, const QString &detail)
    {
        LoginResult result{reason, detail};
        result.isRefused = m_pop ? m_pop->isLoginRefused() : m_sender && m_sender->isLoginRefused();
        result.isSignedIn = !m_sender || m_sender->isLoggedIn();
        result.messages = m_pop ? m_pop->messageCount() : -1;
        m_fetcher->disconnect(this);
        QMetaObject::invokeMethod(
            this,
            [this, result] {
                deleteLater();
                const auto done = std::move(m_done);
                done(result);
            },
            Qt::QueuedConnection);
    }

    CertificateJudge m_judge;
    std::function<void(const LoginResult &)> m_done;
    AccountManager m_manager;
    Account m_account;
    QPointer<Fetcher> m_fetcher; ///< one of these
    QPointer<POPFetcher> m_pop;
    QPointer<SMTPSender> m_sender;
};

} // namespace

void SystemLoginTester::test(const AccountData &account, const AccountOptions &options,
                             CertificateJudge judge, QObject *context,
                             std::function<void(const LoginResult &)> done)
{
    auto *trial = new Trial(account, options, std::move(judge), std::move(done), context);
    QMetaObject::invokeMethod(
        trial, [trial] { trial->start(); }, Qt::QueuedConnection);
}

#include "logintest.moc"
