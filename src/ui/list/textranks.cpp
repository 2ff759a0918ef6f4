#include "ui/list/textranks.h"

#include "message/message.h"
#include "store/messagerows.h"
#include "ui/texts/messagetexts.h"

#include <QElapsedTimer>

#include <algorithm>

namespace {

constexpr int kSlice = 6;                 ///< milliseconds
constexpr std::size_t kRun = 512;         ///< entries that are sorted in one go
constexpr std::size_t kBetweenLooks = 16; ///< steps between two looks at the time

} // namespace

TextRanks::TextRanks(QObject *parent)
    : QObject(parent)
{
    m_collator.setCaseSensitivity(Qt::CaseInsensitive);
    m_timer.setInterval(0);
    connect(&m_timer, &QTimer::timeout, this, &TextRanks::slice);
}

void TextRanks::start(const MessageRows &rows, MessageColumn column)
{
    stop();
    m_messages = &rows;
    m_column = column;
    m_rows = std::size_t(rows.rowCount());
    m_next.assign(m_rows, 0);
    m_entries.reserve(m_rows); // to move the keys takes long
    m_timer.start();
}

void TextRanks::stop()
{
    m_timer.stop();
    m_entries = {};
    m_runs = {};
    m_next = {};
    m_read = m_runBegin = m_merged = 0;
    m_rank = 0;
    m_last = -1;
}

void TextRanks::clear()
{
    stop();
    m_ranks = {};
}

void TextRanks::slice()
{
    if (!step(kSlice))
        emit progressed(int((m_read + m_merged) / 2), int(m_rows));
}

bool TextRanks::step(int milliseconds)
{
    QElapsedTimer clock;
    clock.start();
    while (m_timer.isActive() && clock.elapsed() < milliseconds) {
        if (m_read < m_rows) {
            readSome(std::min(m_read + kBetweenLooks, m_rows));
        } else if (!m_runs.empty()) {
            mergeSome(std::min(m_merged + kBetweenLooks * 4, m_entries.size()));
        } else if (!m_entries.empty()) { // to forget them all at once takes long
            m_entries.erase(m_entries.end() - std::ptrdiff_t(std::min(kRun, m_entries.size())),
                            m_entries.end());
        } else {
            m_ranks = std::move(m_next);
            stop();
            emit finished();
            return true;
        }
    }
    return false;
}

/// Reads the texts up to row @p end; a run that is full, or the last one, is sorted.
void TextRanks::readSome(std::size_t end)
{
    for (; m_read < end; ++m_read) {
        const int row = int(m_read);
        if (!m_messages->isListed(row))
            continue;
        const HeaderTexts texts = m_messages->texts(row);
        const QString text = m_column == MessageColumn::Subject
                                 ? baseSubjectOf(texts.subject)
                                 : peopleOf(m_messages->showsRecipients(row) ? texts.to : texts.from);
        // Without a language the collation knows no cases.
        m_entries.push_back({m_collator.sortKey(text.toCaseFolded()), quint32(m_read)});
    }
    if (m_entries.size() - m_runBegin < kRun && m_read < m_rows)
        return;
    std::sort(m_entries.begin() + std::ptrdiff_t(m_runBegin), m_entries.end(),
              [](const Entry &a, const Entry &b) { return a.key < b.key; });
    if (m_runBegin < m_entries.size())
        m_runs.push_back({m_runBegin, m_entries.size()});
    m_runBegin = m_entries.size();
    if (m_read == m_rows)
        std::make_heap(m_runs.begin(), m_runs.end(),
                       [this](const Run &a, const Run &b) { return isLater(a, b); });
}

bool TextRanks::isLater(const Run &a, const Run &b) const
{
    return m_entries[b.next].key < m_entries[a.next].key;
}

/// Takes the first of all runs until @p end entries have their rank.
void TextRanks::mergeSome(std::size_t end)
{
    const auto later = [this](const Run &a, const Run &b) { return isLater(a, b); };
    for (; m_merged < end; ++m_merged) {
        std::pop_heap(m_runs.begin(), m_runs.end(), later);
        Run &run = m_runs.back();
        const Entry &entry = m_entries[run.next];
        if (m_last >= 0 && m_entries[std::size_t(m_last)].key < entry.key)
            ++m_rank;
        m_last = std::ptrdiff_t(run.next);
        m_next[entry.row] = m_rank;
        if (++run.next == run.end)
            m_runs.pop_back();
        else
            std::push_heap(m_runs.begin(), m_runs.end(), later);
    }
}
