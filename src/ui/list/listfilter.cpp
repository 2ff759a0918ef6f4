#include "ui/list/listfilter.h"

#include "store/messagerows.h"

#include <QElapsedTimer>

#include <algorithm>
#include <utility>

namespace {

constexpr int kSlice = 6;                 ///< milliseconds
constexpr std::size_t kBetweenLooks = 16; ///< rows between two looks at the time
constexpr int kAtOnce = 200;              ///< new rows that are looked at without slices

bool isPlain(QChar letter)
{
    return letter.unicode() < 0x80;
}

bool asksNoLess(const ListFilter &filter, const ListFilter &before)
{
    return filter.unread >= before.unread && filter.flagged >= before.flagged &&
           filter.attachments >= before.attachments && filter.text.startsWith(before.text);
}

} // namespace

QString foldedText(const QString &text)
{
    QString folded = text.toCaseFolded();
    if (std::all_of(folded.cbegin(), folded.cend(), isPlain))
        return folded;
    folded = folded.normalized(QString::NormalizationForm_KD);
    folded.removeIf([](QChar letter) { return letter.category() == QChar::Mark_NonSpacing; });
    return folded;
}

FilterRun::FilterRun(QObject *parent)
    : QObject(parent)
{
    m_timer.setInterval(0);
    connect(&m_timer, &QTimer::timeout, this, &FilterRun::slice);
}

void FilterRun::start(const MessageRows &rows, const ListFilter &filter, std::vector<quint32> order)
{
    const bool narrows = m_isDone && m_rows == &rows && asksNoLess(filter, m_filter);
    const std::vector<bool> before = std::exchange(m_matches, {});
    stop();
    m_rows = &rows;
    m_filter = filter;
    m_words = foldedText(filter.text).split(u' ', Qt::SkipEmptyParts);
    m_matches.resize(std::size_t(rows.rowCount()));
    m_order = std::move(order);
    if (narrows)
        std::erase_if(m_order, [&](quint32 row) { return row < before.size() && !before[row]; });
    m_timer.start();
}

void FilterRun::stop()
{
    m_timer.stop();
    m_order = {};
    m_next = 0;
    m_isDone = false;
}

void FilterRun::slice()
{
    const int total = int(m_order.size());
    if (!step(kSlice))
        emit progressed(int(m_next), total);
}

bool FilterRun::step(int milliseconds)
{
    QElapsedTimer clock;
    clock.start();
    while (m_timer.isActive() && !clock.hasExpired(milliseconds)) {
        const std::size_t end = std::min(m_next + kBetweenLooks, m_order.size());
        for (; m_next < end; ++m_next)
            m_matches[m_order[m_next]] = passes(int(m_order[m_next]));
        if (m_next < m_order.size())
            continue;
        stop();
        m_isDone = true;
        emit finished();
        return true;
    }
    return false;
}

bool FilterRun::look(int row)
{
    if (row < 0 || std::size_t(row) >= m_matches.size())
        return false;
    const bool passes = this->passes(row);
    if (m_matches[std::size_t(row)] == passes)
        return false;
    m_matches[std::size_t(row)] = passes;
    return true;
}

bool FilterRun::takeIn(int rowCount)
{
    const int known = int(m_matches.size());
    if (rowCount - known > kAtOnce)
        return true;
    m_matches.resize(std::size_t(std::max(known, rowCount)));
    for (int row = known; row < rowCount; ++row)
        look(row);
    return false;
}

/// The marks first: they cost nothing.
bool FilterRun::passes(int row) const
{
    const Overview &overview = m_rows->row(row);
    if ((m_filter.unread && overview.has(Mark::Read)) || (m_filter.flagged && !overview.has(Mark::Flagged)) ||
        (m_filter.attachments && !overview.has(Mark::Attachments)))
        return false;
    if (m_words.isEmpty())
        return true;
    const HeaderTexts texts = m_rows->texts(row);
    // the people that the list shows: the reader's own address stands in nearly every message they were sent
    const QString &people = m_rows->showsRecipients(row) ? texts.to : texts.from;
    const QString folded = foldedText(texts.subject + u'\n' + people);
    return std::all_of(m_words.begin(), m_words.end(),
                       [&folded](const QString &word) { return folded.contains(word); });
}
