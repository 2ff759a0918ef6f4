#include "ui/list/listseek.h"

#include "message/message.h"

#include <QApplication>

namespace {

constexpr int kSlice = 6;         ///< milliseconds
constexpr int kBetweenLooks = 16; ///< places between two looks at the time

} // namespace

ListSeek::ListSeek(MessageListModel &model, QObject *parent)
    : QObject(parent)
    , m_model(model)
{
    m_timer.setInterval(0);
    connect(&m_timer, &QTimer::timeout, this, &ListSeek::slice);
    connect(&model, &MessageListModel::relaid, this, &ListSeek::stop);
}

/// A word that grows may still fit where it began; one letter again and again goes from one to the next.
void ListSeek::type(const QString &letters, int from)
{
    const bool goesOn = m_typed.isValid() && m_typed.elapsed() < QApplication::keyboardInputInterval();
    const QString typed = foldedText(letters);
    const bool again = goesOn && m_word == typed;
    m_word = goesOn && !again ? m_word + typed : typed;
    m_typed.start();
    m_from = std::max(from, 0) + (m_word.size() == typed.size() && from >= 0 ? 1 : 0);
    m_looked = 0;
    m_timer.start();
    slice();
}

void ListSeek::stop()
{
    m_timer.stop();
}

void ListSeek::slice()
{
    QElapsedTimer clock;
    clock.start();
    const int count = m_model.rowCount();
    while (m_looked < count) {
        const int place = (m_from + m_looked++) % count;
        if (!m_model.isHeading(place) && begins(place)) {
            stop();
            emit found(place);
            return;
        }
        if (m_looked % kBetweenLooks == 0 && clock.hasExpired(kSlice))
            return;
    }
    stop();
}

bool ListSeek::begins(int place) const
{
    const bool byPeople = m_model.sortOrder().column == MessageColumn::From;
    const HeaderTexts texts = m_model.textsAt(place);
    const QString text = byPeople ? m_model.peopleAt(place) : baseSubjectOf(texts.subject);
    return foldedText(text).startsWith(m_word);
}
