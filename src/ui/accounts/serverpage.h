#pragma once

#include "engine/logintest.h"
#include "ui/accounts/accountdraft.h"
#include "ui/accounts/discoverywords.h"

#include <QPointer>
#include <QSet>
#include <QWidget>

#include <memory>

class CertificateDialog;
class DiscoveryView;
class KeepOnServer;
class Notice;
class QCheckBox;
class QLabel;
class ServerCard;

/// Where the mail is: the search for the server as it goes, what it found on a card that can be changed by
/// hand, and the first sign-in there, once the user has seen it.
class ServerPage : public QWidget
{
    Q_OBJECT

public:
    /// Pop3 or Smtp. Both must outlive this.
    ServerPage(MailProtocol protocol, DiscoveryNetwork &network, LoginTester &tester,
               QWidget *parent = nullptr);
    ~ServerPage() override;

    /// Shows the page for @p draft: searches, unless @p known says where the server is, or the address is the
    /// one that was searched for already.
    void begin(const AccountDraft &draft, const std::optional<MailSettings> &known = std::nullopt);

    /// Whether it stands beside the server that receives: then the user can do without, and may sign in there
    /// with another password.
    void setBeside(bool isBeside);

    /// Whether there is to be an account for it.
    bool isWanted() const;

    /// What the search has found about @p protocol besides; nothing when it found no such server.
    std::optional<MailSettings> foundFor(MailProtocol protocol) const;

    void putInto(AccountDraft &draft) const;
    void focusFirst();

    /// @name The footer
    /// @{
    QString verb() const;      ///< of the default button
    bool canGoOn() const;      ///< whether it works
    QString secondary() const; ///< of the text button; empty: none
    void goOn();               ///< done(), or the sign-in and then done() by the next press
    void useSecondary();
    /// @}

    bool isBusy() const;
    void stop(); ///< search or sign-in

    /// Whether the server as it stands has been signed in to.
    bool works() const { return m_state == State::Works; }

signals:
    void changed(); ///< of the footer
    void done();
    void passwordWanted(); ///< the user wants to enter another one

private:
    enum class State { Searching, Shown, Trying, Works, Failed };

    void search();
    void reset();
    void found();
    std::optional<MailSettings> best() const;
    void showFound(const MailSettings &settings);
    void enterByHand();
    bool hasFound() const;
    void useFound();
    void edited();
    void say(Notice *notice, const DiscoveryWords &words, const QString &button = {});
    void arrange();
    void setState(State state);
    bool canTry() const;
    QString password() const;
    void changePassword();
    void tryLogin();
    void judge(const CertificateReport &report, const std::function<void(bool)> &answer);
    void tried(const LoginResult &result);
    void explain(const LoginResult &result);
    void endTrying();
    void closeQuestion();

    const MailProtocol m_protocol;
    LoginTester &m_tester;
    ServerDiscovery m_discovery;
    std::optional<MailSettings> m_known; ///< without a search of its own
    AccountDraft m_draft;                ///< of the earlier pages
    State m_state = State::Shown;
    QString m_searched;       ///< the address
    bool m_isBlocked = false; ///< the provider cannot be used
    bool m_hasTried = false;  ///< to sign in, since the search
    QString m_page;           ///< where its demands can be met
    std::unique_ptr<QObject> m_trying;
    QPointer<CertificateDialog> m_question;
    QSet<QByteArray> m_acceptedOnce;
    std::optional<CertificateInfo> m_accepted;
    bool m_isOpen = false;        ///< it asks nobody to sign in
    bool m_passwordHelps = false; ///< another one may mend what went wrong

    QCheckBox *m_wanted;
    Notice *m_source;
    Notice *m_stranger;
    Notice *m_needs;
    QLabel *m_searching;
    DiscoveryView *m_view;
    ServerCard *m_card;
    Notice *m_outcome;
    KeepOnServer *m_keep;
};
