#pragma once

#include <QEvent>
#include <QObject>

#include <functional>

/// Watches the event loop of its thread from its making on: notes in the log whatever keeps the loop from
/// coming round for longer than it should, with the event that took most of that time. Time that a loop
/// spends waiting, inner loops included, is none of it.
///
/// There has to be an application. Costs well under a microsecond an event.
class StallWatch : public QObject
{
    Q_OBJECT

public:
    using Clock = std::function<qint64()>; ///< nanoseconds of any beginning

    explicit StallWatch(QObject *parent = nullptr, Clock clock = monotonicClock());
    static Clock monotonicClock();
    ~StallWatch() override;

    struct Stall
    {
        double milliseconds = 0;
        QString event; ///< "Paint for QWidget 'qt_scrollarea_viewport' in MessageList 'messages'"
    };

    /// The longest time that the loop was held since the last call of forget(), noted or not.
    const Stall &longest() const { return m_longest; }
    void forget() { m_longest = {}; }

    /// What is noted; 50 milliseconds unless it is set.
    void setThreshold(double milliseconds) { m_threshold = milliseconds; }

signals:
    /// After the note.
    void stalled(double milliseconds, const QString &event);

protected:
    bool eventFilter(QObject *receiver, QEvent *event) override;

private:
    /// An event, as far as it can be told when its receiver is gone.
    struct Label
    {
        QEvent::Type type = QEvent::None; ///< None: what follows an inner loop
        const char *receiver = "";
        QString receiverName;
        const char *parent = nullptr;
        QString parentName;
    };
    static bool isNotice(QEvent::Type type);
    static Label labelOf(const QObject *receiver, const QEvent *event);
    static QString textOf(const Label &label);

    void slotAwake();
    void slotAboutToBlock();
    void endOfEvent(qint64 now);
    void endOfPass(qint64 now);

    Clock m_clock;
    double m_threshold = 50;
    qint64 m_passBegan = -1; ///< by m_clock; -1 while the loop waits
    qint64 m_eventBegan = 0;
    Label m_event;
    qint64 m_heaviestTook = 0;
    Label m_heaviest; ///< of this pass
    Stall m_longest;
};
