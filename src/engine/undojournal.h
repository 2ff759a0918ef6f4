#pragma once

#include "engine/undostep.h"

#include <QHash>
#include <QObject>
#include <QStringList>

#include <deque>
#include <functional>

/// What was done to messages, step by step, so that it can be taken back and done again. The journal holds
/// plain data; who takes a step back is MessageOperations.
///
/// A message that moves gets another reference, and steps of before and after keep the one they know: the
/// journal remembers where each went on to (a reference is never given twice), so that any number of steps
/// can be taken back, done again and taken back.
class UndoJournal : public QObject
{
    Q_OBJECT

public:
    explicit UndoJournal(QObject *parent = nullptr);

    /// The oldest steps go when there are more than these; the newest one always stays.
    struct Limits
    {
        std::size_t steps = 200;
        qint64 messages = 500'000;
    };
    void setLimits(Limits limits);

    /// Enters what was done just now; what could be done again no longer can.
    void record(UndoStep step);

    const UndoStep *nextUndo() const; ///< null: nothing to take back
    const UndoStep *nextRedo() const; ///< null: nothing to do again

    /// The step was taken back, or done again, and changes sides.
    void undone();
    void redone();

    /// "Undo moving 3 messages to Archive"; empty without one.
    QString nextText() const;
    QString nextRedoText() const;

    /// Where the message of that reference is by now, as far as the journal knows.
    MessageRef whereNow(MessageRef message) const;

    /// The message went on to another reference.
    void follow(MessageRef before, MessageRef now);

    /// Drops the steps at both ends that find nothing to work on any more.
    void cut(const std::function<bool(MessageRef)> &isAlive);
    void clear();

    /// Everything as lines of text, and back, in the place of what is there; lines that are no step are
    /// skipped.
    QStringList toLines();
    void takeLines(const QStringList &lines);

signals:
    void changed();

private:
    void forgetOldest();
    void renew();

    Limits m_limits;
    std::deque<UndoStep> m_undo; ///< the next one last
    std::deque<UndoStep> m_redo; ///< the next one last
    qint64 m_messages = 0;       ///< in both
    QHash<quint64, quint64> m_followers;
};
