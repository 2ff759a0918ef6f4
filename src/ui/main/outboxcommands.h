#pragma once

#include "engine/composer.h"
#include "ui/look/askingbar.h"

#include <QMap>
#include <QObject>
#include <QTimer>

#include <functional>
#include <vector>

class Engine;
class QWidget;

/// What the user does with messages that wait in the outbox, and what he is told of them.
class OutboxCommands : public QObject
{
    Q_OBJECT

public:
    /// Both must outlive this; dialogs belong to @p window.
    OutboxCommands(Engine &engine, QWidget *window);

    /// Sends everything that may go; offline it says so.
    void sendWaiting();

    /// These do nothing where @p place is not in the outbox, or is on its way.
    void sendNow(MessageRef place); ///< that message alone; what may have been sent only after a question
    void changeTime(MessageRef place);
    void settleAsSent(MessageRef place);
    void takeBack(MessageRef place);

    /// The last message that counts down.
    void takeLastBack();

    bool anythingWaits() const;              ///< that could go
    bool isWaiting(MessageRef place) const;  ///< or on its way
    bool canGo(MessageRef place) const;      ///< there is an account that would send it now
    bool canSendNow(MessageRef place) const; ///< and is not on its way

    /// Messages that can still be taken back before they go, the last one last.
    std::vector<MessageRef> countingDown() const;
    QString countdownOf(MessageRef place) const; ///< for people: which of them, and how long still

    /// What is to be said of a message, with what can be done about it; an empty text: it does not wait.
    struct State
    {
        MessageBar::Kind kind = MessageBar::Kind::Information;
        QString text;
        AskingBar::Answer first;
        AskingBar::Answer second;
        int phase = 0; ///< the answers are the same for as long as this is
    };
    State stateOf(MessageRef place);

    /// It was handed to the outbox just now.
    void noteSent(quint64 ticket);

signals:
    /// To be shown above the list.
    void told(MessageBar::Kind kind, const QString &text, const AskingBar::Answer &first = {},
              const AskingBar::Answer &second = {});

    /// What was told holds no more.
    void untold(const QString &text);

    /// To be written on; or it could not be taken back, and why.
    void takenBack(const Composer::Started &taken);

    /// A message that was to be sent on unchanged was taken back.
    void resendTakenBack(quint64 ticket, const QString &subject);

    /// There is nothing that could send what was written as @p identity; @p isWished: the user wants it sent.
    void accountWanted(int identity, bool isWished);

    /// The user wants to work online.
    void onlineWanted();

    /// What waits, or where it stands; while something is counted down, every second.
    void changed();

private:
    /// What was told of a message; it holds for as long as that stands there.
    struct Told
    {
        OutboxState state;
        QString text;
    };

    QString subjectOf(MessageRef place) const;
    std::vector<quint64> ticketsAt(MessageRef place) const;
    bool canGo(const OutboxEntry &entry) const;
    bool goesByItself(const OutboxEntry &entry, bool isAsked) const;
    void wish(const std::function<void()> &send);
    void sendNow(const QList<quint64> &tickets);
    void sendNow(quint64 ticket) { sendNow(QList{ticket}); }
    void lookAtFresh();
    void sessionFailed(int account);
    void tellThatTheyStay(const QList<quint64> &tickets, const QString &why);
    void rememberTold(const OutboxEntry &entry, const QString &text);
    void untellSettled();
    void takeBack(quint64 ticket);
    void failed(quint64 ticket, const QString &why);
    void doubted(quint64 ticket);
    void count();

    Engine &m_engine;
    QWidget *m_window;
    QTimer m_counting;
    QMap<quint64, bool> m_fresh; ///< that are to go: where they stay, that is told; true: "now"
    QMap<quint64, Told> m_told;  ///< by tickets
    bool m_isWished = false;
};
