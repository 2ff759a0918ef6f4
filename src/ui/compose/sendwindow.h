#pragma once

#include "compose/sendchecks.h"
#include "engine/composer.h"
#include "ui/actions/actionregistry.h"
#include "ui/compose/composeactions.h"
#include "ui/look/askingbar.h"

#include <QHash>
#include <QMainWindow>
#include <QPointer>
#include <QSet>
#include <QTimer>

class CommandPalette;
class ComposeAttachments;
class ComposeEditor;
class ComposeHeader;
class ElidedLabel;
class FindBar;
class LinedBar;
class MessageBoxes;
class QComboBox;
class QLabel;
class QToolBar;
class ReplaceBar;
class SignatureCommand;

/// What a compose window works with; all of it outlives the window.
struct ComposeServices
{
    Composer &composer;
    Drafts &drafts;
    Outbox &outbox;
    IdentityManager &identities;
    MessageBoxes &boxes;
    std::function<bool(const QString &group)> isSubscribed; ///< to a newsgroup; null: nobody knows

    /// The bytes of a message that the server of an identity takes; 0 or null: nobody knows.
    std::function<qint64(int identity)> sizeLimit = {};
};

/// The window in which a message is written. It keeps versions of it as a draft while one types, and closes
/// itself when the message has gone to the outbox. Deletes itself when closed.
class SendWindow : public QMainWindow
{
    Q_OBJECT

public:
    /// @p draft: the one that it goes on with; 0 begins a new one.
    SendWindow(const ComposeServices &services, const Composer::Started &started, int draft = 0);
    ~SendWindow() override;

    int draft() const { return m_draft; }
    AskingBar &bar() const { return *m_bar; }
    void comeForward();

    /// The message as it stands now.
    Composition composition() const;

    /// Keeps what there is without a question, as at the end of the program: files that are still being
    /// attached are read to their end first. False after a report.
    bool keepNow();
    bool isChanged() const { return m_isChanged; }

    /// What it holds lies nowhere else, as after it was taken back: closing asks, and a version is kept now.
    void markUnsaved();

    /// Reads the files bit by bit, as if they were dropped on it; Send waits for them.
    void attachFiles(const QStringList &paths);

    /// Deletes the draft with its versions and closes, after a question.
    void askBeforeDiscarding();

    const ActionRegistry &actions() const { return m_registry; }

signals:
    /// It is in the outbox; the window closes.
    void sent(quint64 ticket);
    void attachmentOpened(const Attachment &attachment);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;
    void closeEvent(QCloseEvent *event) override;
    void changeEvent(QEvent *event) override;
    void dragEnterEvent(QDragEnterEvent *event) override;
    void dropEvent(QDropEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;

private:
    /// @name Made of (sendwindow.cpp)
    /// @{
    void createBars();
    void createStatus();
    void connectParts();
    void show(const Composition &composition);
    void showIdentity();
    void limitSize(int identity);
    void updateHave();
    void updateFormat();
    void updateStatus();
    /// @}

    /// @name Menus and panes (sendwindowmenus.cpp)
    /// @{
    void createMenus();
    void connectActions();
    void connectFormat();
    void fillCharsets(QMenu *menu);
    void fillFileForms(QMenu *menu);
    void fillSignatures(QMenu *menu);
    void fillTemplates(QMenu *menu);
    void fillUndoDelays(QMenu *menu);
    void fillWarnings(QMenu *menu);
    void showMoreFields(bool shown);
    void focusNextPane(int direction);
    void focusPane(QWidget *pane);
    /// @}

    /// @name Writing (sendwindowedit.cpp)
    /// @{
    void changed();
    void identityChosen(int number);
    void takeSignature(const QString &name);
    void runSignature(const QString &name, const QString &command);
    void putSignature(const QString &text, bool isHtml);
    void takeTemplate(const QString &name);
    void attachPicture(const QImage &image);
    void chooseColour();
    void askForFiles();
    void insertFile();
    void insertTextOf(const QString &path);
    void attachPasted(const QString &text, const QString &html);
    void insertPicture();
    void setRich(bool rich);
    void find(bool backwards, bool open);
    /// @}

    /// @name To whom (sendwindowpeople.cpp)
    /// @{
    QString doubtAbout(const Address &address) const;
    void lookAtNewPeople();
    QStringList newPeople();
    QString similarTo(const QString &address) const;
    QString nameOf(const QString &address) const;
    void replacePerson(const QString &address, const QString &better);
    void moveToBcc();
    void warnOfEncryption();
    void warnOfSize();
    /// @}

    /// @name The draft (sendwindowdraft.cpp)
    /// @{
    void keepSoon();
    bool keepVersion();
    void keptSoon(int draft, bool good);
    void keptVersion(bool good, const QString &why);
    void saveDraft();
    void tellUnsaved(const QString &why);
    void saveElsewhere();
    void showHistory();
    void restore(int serial);
    void askBeforeClosing();
    void discard();
    /// @}

    /// @name Sending (sendwindowsend.cpp)
    /// @{
    void send(qint64 notBefore);
    void check();
    void sendLater();
    void goThrough(QList<SendFinding> findings);
    void refuse(const SendFinding &finding);
    void ask(const SendFinding &finding, QList<SendFinding> rest);
    void askCharset(const SendFinding &finding, QList<SendFinding> rest);
    bool canBeSent();
    void warn(const SendFinding &finding);
    AskingBar::Answer remedyFor(const SendFinding &finding);
    void handOver();
    /// @}

    ComposeServices m_services;
    ActionRegistry m_registry;
    ComposeActions m_actions;
    Composition m_rest; ///< what no part of the window shows
    DraftContext m_context;
    int m_draft = 0;
    QString m_textAtFirst;
    QString m_tagline;      ///< that is in the text
    QString m_signature;    ///< its name; empty: none
    QString m_signatureEnd; ///< with which the text ends, as setSignature() gave it
    QString m_attribution;  ///< of the quotation that is answered
    bool m_isArticle = false;
    bool m_isChanged = false;   ///< since the draft was stored, or since the window opened
    bool m_isKept = true;       ///< the newest version holds everything
    int m_changes = 0;          ///< how often anything was changed
    int m_keptChanges = 0;      ///< how often that was, in the version that is being kept
    bool m_isTold = false;      ///< that it could not be kept
    bool m_isOver = false;      ///< sent or discarded: nothing is kept any more
    bool m_isComposing = false; ///< an input method has characters that are not settled
    bool m_isSending = false;   ///< questions are open
    qint64 m_notBefore = 0;
    QList<std::pair<SendProblem, QString>> m_confirmed; ///< findings that the user has answered with "Send"
    QSet<QString> m_seenPeople;                         ///< addresses that were looked at, in lower case
    QHash<QString, QString> m_doubts;                   ///< of those: what is meant instead
    QSet<QString> m_kept;                               ///< new addresses that are right, in lower case
    QString m_savedText;
    QPointer<SignatureCommand> m_signing; ///< whose signature is not in the text yet
    QTimer m_typed;
    QTimer m_interval;
    QTimer m_counting;

    QToolBar *m_mainBar = nullptr;
    LinedBar *m_formatBar = nullptr;
    QComboBox *m_style = nullptr;
    QComboBox *m_form = nullptr;
    ComposeHeader *m_header;
    AskingBar *m_bar;
    ComposeEditor *m_editor;
    FindBar *m_findPlain = nullptr;
    FindBar *m_findRich = nullptr;
    ReplaceBar *m_replace = nullptr;
    ComposeAttachments *m_attachments;
    ElidedLabel *m_saved = nullptr;
    QLabel *m_delay = nullptr;
    QLabel *m_words = nullptr;
    CommandPalette *m_palette = nullptr;
};
