#include "engine/undojournal.h"

#include <algorithm>
#include <utility>

namespace {

const QLatin1String kUndoKey("undo ");
const QLatin1String kRedoKey("redo ");

quint64 keyOf(MessageRef message)
{
    return quint64(quint32(message.group)) << 32 | message.article;
}

MessageRef messageOf(quint64 key)
{
    return {int(key >> 32), quint32(key)};
}

/// Whether anything of the step can be worked on: a message that it knows, wherever that is by now.
bool finds(const UndoStep &step, const UndoJournal &journal, const std::function<bool(MessageRef)> &isAlive)
{
    const auto lives = [&](MessageRef message) { return isAlive(journal.whereNow(message)); };
    return std::any_of(step.changes.begin(), step.changes.end(), [&](const UndoChange &change) {
        return std::any_of(change.messages.begin(), change.messages.end(), lives) ||
               std::any_of(change.copies.begin(), change.copies.end(), lives);
    });
}

} // namespace

UndoJournal::UndoJournal(QObject *parent)
    : QObject(parent)
{}

void UndoJournal::setLimits(Limits limits)
{
    m_limits = limits;
    forgetOldest();
    emit changed();
}

void UndoJournal::record(UndoStep step)
{
    for (const UndoStep &undone : m_redo)
        m_messages -= undone.messages;
    m_redo.clear();
    m_messages += step.messages;
    m_undo.push_back(std::move(step));
    forgetOldest();
    emit changed();
}

const UndoStep *UndoJournal::nextUndo() const
{
    return m_undo.empty() ? nullptr : &m_undo.back();
}

const UndoStep *UndoJournal::nextRedo() const
{
    return m_redo.empty() ? nullptr : &m_redo.back();
}

void UndoJournal::undone()
{
    if (m_undo.empty())
        return;
    m_redo.push_back(std::move(m_undo.back()));
    m_undo.pop_back();
    forgetOldest();
    emit changed();
}

void UndoJournal::redone()
{
    if (m_redo.empty())
        return;
    m_undo.push_back(std::move(m_redo.back()));
    m_redo.pop_back();
    forgetOldest();
    emit changed();
}

QString UndoJournal::nextText() const
{
    const UndoStep *step = nextUndo();
    return step ? tr("Undo %1").arg(deedInWords(step->deed, step->messages, step->place)) : QString();
}

QString UndoJournal::nextRedoText() const
{
    const UndoStep *step = nextRedo();
    return step ? tr("Redo %1").arg(deedInWords(step->deed, step->messages, step->place)) : QString();
}

MessageRef UndoJournal::whereNow(MessageRef message) const
{
    quint64 key = keyOf(message);
    for (auto next = m_followers.constFind(key); next != m_followers.constEnd();
         next = m_followers.constFind(key))
        key = *next;
    return messageOf(key);
}

void UndoJournal::follow(MessageRef before, MessageRef now)
{
    // Following itself would be followed for ever.
    if (keyOf(before) == keyOf(whereNow(now)))
        return;
    m_followers.insert(keyOf(before), keyOf(now));
}

void UndoJournal::cut(const std::function<bool(MessageRef)> &isAlive)
{
    const std::size_t before = m_undo.size() + m_redo.size();
    for (std::deque<UndoStep> *steps : {&m_undo, &m_redo}) {
        while (!steps->empty() && !finds(steps->back(), *this, isAlive)) {
            m_messages -= steps->back().messages;
            steps->pop_back();
        }
    }
    if (m_undo.size() + m_redo.size() != before)
        emit changed();
}

void UndoJournal::clear()
{
    m_undo.clear();
    m_redo.clear();
    m_followers.clear();
    m_messages = 0;
    emit changed();
}

QStringList UndoJournal::toLines()
{
    renew();
    QStringList lines;
    for (const UndoStep &step : m_undo)
        lines += kUndoKey + step.toLine();
    for (const UndoStep &step : m_redo)
        lines += kRedoKey + step.toLine();
    return lines;
}

void UndoJournal::takeLines(const QStringList &lines)
{
    m_undo.clear();
    m_redo.clear();
    m_followers.clear();
    m_messages = 0;
    for (const QString &line : lines) {
        const bool isUndo = line.startsWith(kUndoKey);
        if (!isUndo && !line.startsWith(kRedoKey))
            continue;
        if (std::optional<UndoStep> step = UndoStep::fromLine(line.sliced(kUndoKey.size()))) {
            m_messages += step->messages;
            (isUndo ? m_undo : m_redo).push_back(std::move(*step));
        }
    }
    forgetOldest();
    emit changed();
}

/// Keeps to the limits: between steps, because one under way still looks for the references it knows.
void UndoJournal::forgetOldest()
{
    if (m_followers.size() > m_limits.messages && m_followers.size() > 2 * m_messages)
        renew();
    while (m_undo.size() > 1 && (m_undo.size() > m_limits.steps || m_messages > m_limits.messages)) {
        m_messages -= m_undo.front().messages;
        m_undo.pop_front();
    }
}

/// Puts into the steps where their messages are now, so that nobody has to be followed any more.
void UndoJournal::renew()
{
    for (std::deque<UndoStep> *steps : {&m_undo, &m_redo}) {
        for (UndoStep &step : *steps) {
            for (UndoChange &change : step.changes) {
                for (MessageRefs *messages : {&change.messages, &change.copies})
                    std::ranges::transform(*messages, messages->begin(),
                                           [this](MessageRef message) { return whereNow(message); });
            }
        }
    }
    m_followers.clear();
}
