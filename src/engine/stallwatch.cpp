#include "engine/stallwatch.h"

#include "config/reporter.h"

#include <QAbstractEventDispatcher>
#include <QCoreApplication>
#include <QElapsedTimer>
#include <QMetaEnum>

#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;

/// Between two signals of the dispatcher lies a pass over what there is to do. Which signal comes first
/// depends on the dispatcher: that of Unix is awake before it works, that of GLib only afterwards, with the
/// waiting in between. So a pass begins with the first event or with awake(), and either signal ends it.
StallWatch::StallWatch(QObject *parent, Clock clock)
    : QObject(parent)
    , m_clock(std::move(clock))
{
    QAbstractEventDispatcher *dispatcher = QAbstractEventDispatcher::instance();
    connect(dispatcher, &QAbstractEventDispatcher::awake, this, &StallWatch::slotAwake);
    connect(dispatcher, &QAbstractEventDispatcher::aboutToBlock, this, &StallWatch::slotAboutToBlock);
    QCoreApplication::instance()->installEventFilter(this);
}

StallWatch::~StallWatch() = default;

StallWatch::Clock StallWatch::monotonicClock()
{
    QElapsedTimer timer;
    timer.start();
    return [timer] { return timer.nsecsElapsed(); };
}

/// What only tells an object of a change in the middle of something else: the time that follows is not its
/// own.
bool StallWatch::isNotice(QEvent::Type type)
{
    constexpr std::array kNotices = {
        QEvent::ActionAdded,
        QEvent::ActionChanged,
        QEvent::ActionRemoved,
        QEvent::ChildAdded,
        QEvent::ChildPolished,
        QEvent::ChildRemoved,
        QEvent::ContentsRectChange,
        QEvent::CursorChange,
        QEvent::DynamicPropertyChange,
        QEvent::EnabledChange,
        QEvent::FontChange,
        QEvent::IconTextChange,
        QEvent::LayoutDirectionChange,
        QEvent::ModifiedChange,
        QEvent::PaletteChange,
        QEvent::ParentAboutToChange,
        QEvent::ParentChange,
        QEvent::ReadOnlyChange,
        QEvent::StyleChange,
        QEvent::ToolTipChange,
        QEvent::WindowIconChange,
        QEvent::WindowTitleChange,
    };
    return std::find(kNotices.begin(), kNotices.end(), type) != kNotices.end();
}

bool StallWatch::eventFilter(QObject *receiver, QEvent *event)
{
    if (isNotice(event->type()))
        return false;
    const qint64 now = m_clock();
    if (m_passBegan < 0)
        m_passBegan = now;
    else
        endOfEvent(now);
    m_eventBegan = now;
    m_event = labelOf(receiver, event);
    return false;
}

/// An event that is sent while another is handled takes over: the innermost says best where the time went.
/// What the outer one does after it counts for it, too.
void StallWatch::endOfEvent(qint64 now)
{
    if (now - m_eventBegan <= m_heaviestTook)
        return;
    m_heaviestTook = now - m_eventBegan;
    m_heaviest = m_event;
}

void StallWatch::slotAwake()
{
    const qint64 now = m_clock();
    endOfPass(now);
    m_passBegan = m_eventBegan = now;
    m_event = {};
}

void StallWatch::slotAboutToBlock()
{
    endOfPass(m_clock());
}

void StallWatch::endOfPass(qint64 now)
{
    constexpr double kNanosecondsInOne = 1e6;
    if (m_passBegan < 0)
        return;
    endOfEvent(now);
    const double milliseconds = double(now - std::exchange(m_passBegan, -1)) / kNanosecondsInOne;
    m_heaviestTook = 0;
    const bool isStall = milliseconds > m_threshold;
    if (milliseconds <= m_longest.milliseconds && !isStall)
        return;
    const QString event = textOf(m_heaviest);
    if (milliseconds > m_longest.milliseconds)
        m_longest = {milliseconds, event};
    if (!isStall)
        return;
    note(u"The event loop was held for %1 ms, mostly by %2"_s.arg(milliseconds, 0, 'f', 0).arg(event));
    emit stalled(milliseconds, event);
}

StallWatch::Label StallWatch::labelOf(const QObject *receiver, const QEvent *event)
{
    Label label{event->type(), receiver->metaObject()->className(), receiver->objectName(), nullptr, {}};
    if (const QObject *parent = receiver->parent()) {
        label.parent = parent->metaObject()->className();
        label.parentName = parent->objectName();
    }
    return label;
}

QString StallWatch::textOf(const Label &label)
{
    if (label.type == QEvent::None)
        return u"what followed an inner loop"_s;
    const auto named = [](const char *name, const QString &objectName) {
        const QString text = QString::fromLatin1(name);
        return objectName.isEmpty() ? text : u"%1 '%2'"_s.arg(text, objectName);
    };
    const char *key = QMetaEnum::fromType<QEvent::Type>().valueToKey(label.type);
    const QString type = key ? QString::fromLatin1(key) : u"event %1"_s.arg(int(label.type));
    const QString text = u"%1 for %2"_s.arg(type, named(label.receiver, label.receiverName));
    return label.parent ? u"%1 in %2"_s.arg(text, named(label.parent, label.parentName)) : text;
}
