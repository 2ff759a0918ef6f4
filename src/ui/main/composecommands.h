#pragma once

#include "engine/composer.h"
#include "ui/look/askingbar.h"

#include <QHash>
#include <QList>
#include <QObject>
#include <QPointer>

#include <memory>

class AttachmentActions;
class Engine;
class MessageBoxes;
class SendWindow;
class QWidget;

/// What the user begins or goes on to write. Owns the windows in which messages are written.
class ComposeCommands : public QObject
{
    Q_OBJECT

public:
    /// Everything must outlive this; dialogs belong to @p window.
    ComposeCommands(Engine &engine, MessageBoxes &boxes, QWidget *window);
    ~ComposeCommands() override;

    /// Empty, or to whom a mailto: URL says; @p attachments are files that the user named, never of a link.
    void write(const QString &mailto = {}, const QStringList &attachments = {});
    void writeArticle(const QString &newsgroup); ///< empty: it is not chosen yet
    void writeFromTemplate();

    void reply(MessageRef original, ReplyKind kind, const QString &selectedText);
    void followUp(MessageRef original, const QString &selectedText); ///< to its newsgroups or its list
    void replyFromTemplate(MessageRef original, ReplyKind kind, const QString &selectedText);
    void forward(const MessageRefs &originals, ForwardKind kind, ForwardMark mark,
                 const QString &selectedText);
    void forwardFromTemplate(const MessageRefs &originals, const QString &selectedText);
    void editAsNew(MessageRef original);
    void resend(MessageRef original); ///< asks for the new recipients

    void openDraft(MessageRef place);

    /// Goes on with what was taken back out of the outbox.
    void goOnWith(const Composer::Started &taken);

    /// A message that was to be sent on was taken back: the question for its recipients may come again.
    void resendTakenBack(quint64 ticket, const QString &subject);

    /// Opens the messages that were being written when the program ended.
    void reopen();

    /// Keeps every open message as it is; closeAll() closes the windows besides, without a question, and
    /// reopen() brings them back the next time. False, after a report: one could not be kept.
    bool keepAll();
    void closeAll();

signals:
    /// To be shown above the list.
    void told(MessageBar::Kind kind, const QString &text, const AskingBar::Answer &first = {},
              const AskingBar::Answer &second = {});

    /// It went to the outbox.
    void sent(quint64 ticket);

    /// The answer to that message is in the outbox.
    void answered(MessageRef original);

    /// The window of these is to be opened: there is none yet.
    void templatesWanted();
    void identityWanted();

    /// Of these only the headers are here, and the rest is to be fetched.
    void restWanted(const MessageRefs &messages);

    /// What was attached to a message is opened, and has a message or a link in it.
    void messageWanted(const Message &message);
    void linkActivated(const QString &target);

private:
    SendWindow *open(const Composer::Started &started);
    void tellFailure(const Composer::Started &started);
    void tellNotice(SendWindow &window, const Composer::Started &started);
    AskingBar::Answer fetchingRest(const Composer::Started &started);
    SendWindow *windowOf(int draft) const;
    void start(const ComposeWish &wish);
    void startWithTemplate(const QString &title, ComposeWish wish);
    void openAttachment(SendWindow &window, const Attachment &attachment);

    Engine &m_engine;
    MessageBoxes &m_boxes;
    QWidget *m_window;
    QList<QPointer<SendWindow>> m_windows;
    QHash<quint64, MessageRef> m_resent; ///< in this run, by ticket
};
