#pragma once

#include "engine/composer.h"
#include "ui/look/messagebar.h"

#include <QList>
#include <QObject>
#include <QPointer>
#include <QTimer>

#include <functional>

class Engine;
class MessageBoxes;
class SendWindow;
class QWidget;

/// What the user does with messages of his own: begins them, goes on with drafts, takes back what waits,
/// sends it. Owns the windows in which they are written.
class ComposeCommands : public QObject
{
    Q_OBJECT

public:
    /// Everything must outlive this; dialogs belong to @p window.
    ComposeCommands(Engine &engine, MessageBoxes &boxes, QWidget *window);
    ~ComposeCommands() override;

    void write(const QString &mailto = {}, const QStringList &attachments = {});
    void reply(MessageRef original, ReplyKind kind, const QString &selectedText);
    void forward(const MessageRefs &originals, ForwardKind kind, const QString &selectedText);
    void editAsNew(MessageRef original);
    void resend(MessageRef original); ///< asks for the new recipients

    /// Goes on with a message of Drafts, or takes one of the outbox back. False: it is neither.
    bool editOwn(MessageRef place);

    /// Opens the messages that were being written when the program ended.
    void reopen();

    void sendWaiting();
    void sendNow(MessageRef place);
    bool anythingWaits() const; ///< that could go

    /// Keeps every open message as it is; closeAll() closes the windows besides, without a question, and
    /// reopen() brings them back the next time. False, after a report: one could not be kept.
    bool keepAll();
    void closeAll();

    bool isDraft(MessageRef place) const;
    bool isPerhapsSent(MessageRef place) const;
    void settleAsSent(MessageRef place);
    bool isOwn(MessageRef place) const; ///< a draft, or what waits in the outbox

    /// What is to be said about a message of the outbox; empty when it is none.
    QString stateOf(MessageRef place) const;

signals:
    /// To be shown above the list; a button without a text is none.
    void told(MessageBar::Kind kind, const QString &text, const QString &first,
              const std::function<void()> &onFirst, const QString &second,
              const std::function<void()> &onSecond);

    /// The same bar says this from now on, as its countdown does every second.
    void toldAgain(const QString &text);

    /// What it said holds no more.
    void untold();

    /// The answer to that message is in the outbox.
    void answered(MessageRef original);

    /// There is nothing that could send it.
    void accountWanted();

    void waitingChanged();

private:
    SendWindow *open(const Composer::Started &started);
    SendWindow *windowOf(int draft) const;
    void start(const ComposeWish &wish);
    void sent(quint64 ticket);
    void count();
    void takeBack(quint64 ticket);
    void failed(quint64 ticket, const QString &why);
    QString subjectOf(quint64 ticket) const;

    Engine &m_engine;
    MessageBoxes &m_boxes;
    QWidget *m_window;
    QList<QPointer<SendWindow>> m_windows;
    quint64 m_counted = 0; ///< whose countdown is shown
    QTimer m_counting;
};
