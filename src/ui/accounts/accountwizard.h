#pragma once

#include "ui/accounts/accountdraft.h"

#include <QDialog>

class DialogFooter;
class DiscoveryNetwork;
class Engine;
class FilePage;
class IdentityPage;
class LoginTester;
class PersonPage;
class QPushButton;
class ReadyPage;
class ServerPage;
class WizardSteps;

/// Sets an account up: what kind, whose, where the mail is and where it is sent from, as whom one writes,
/// ready. One window that is opened with show() or open() and deletes itself; nothing is saved before its
/// last button.
class AccountWizard : public QDialog
{
    Q_OBJECT

public:
    /// Begins with the question for the kind. All three must outlive this.
    AccountWizard(Engine &engine, DiscoveryNetwork &network, LoginTester &tester, QWidget *parent = nullptr);
    ~AccountWizard() override;

    /// Passes the question by: Pop3, Smtp or BatchFile. @p identity is the one that needs it; 0: none.
    void beginWith(AccountKind kind, int identity = 0);

    void reject() override;

signals:
    /// The one that was asked for is saved, and fetches by now if that was wanted; with it the one that sends
    /// and the identity.
    void accountMade(int number);

private:
    enum class Page { Kind, Person, Server, Sending, Identity, File, Ready };

    QWidget *newKindPage();
    void wirePages();
    void arrange();
    void arrangeFooter();
    void choose(AccountKind kind);
    void show(Page page);
    void goOn();
    void goBack();
    void goOnFrom(Page page);
    void beginSending();
    void beginReady();
    bool isSendingSetUp() const;
    void make();
    int makeAll();
    std::optional<int> makeIdentity();
    bool signWith(int identity, const QString &text);
    void refreshFooter();
    bool canGoOn() const;
    QList<Page> path() const;
    using QDialog::show;

    Engine &m_engine;
    AccountDraft m_draft;
    std::optional<AccountDraft> m_outgoing; ///< besides m_draft
    bool m_asksForKind = true;
    Page m_page = Page::Kind;
    WizardSteps *m_steps;
    QList<QWidget *> m_pages; ///< by Page
    PersonPage *m_person;
    ServerPage *m_server;
    ServerPage *m_sending;
    IdentityPage *m_identity;
    FilePage *m_file;
    ReadyPage *m_ready;
    DialogFooter *m_footer;
    QPushButton *m_back;
    QPushButton *m_secondary;
};
