#pragma once

#include "store/threads.h"
#include "ui/list/dateheadings.h"
#include "ui/list/messagesort.h"

#include <memory>
#include <optional>
#include <set>
#include <vector>

class MessageRows;

/// Which of the messages that there are a list shows and in what order. A *row* is one of MessageRows, a
/// *place* one of the list: that of a message, or of a heading above some. What is not listed has no place,
/// nor has what a collapsed thread or a folded heading hides, nor what a filter keeps out.
///
/// Inside a thread the order is always that of the conversation; answers to a message that was deleted lie
/// below what it answered. Threads are those of one group; messages of many stand each by itself. Memory is
/// about 27 bytes a row, with threads 36 more.
class MessageOrder
{
public:
    /// @p rows must outlive this; null shows nothing.
    explicit MessageOrder(const MessageRows *rows = nullptr);

    /// Orders anew, taking in what came and went. @p ranks has the place of each row's text among the texts
    /// of a text column; rows beyond its end come last.
    void rebuild(const MessageSort &sort, const std::vector<quint32> &ranks);

    /// With `PromoteFlagged` what is flagged now stands above the others from the next rebuild() on. What is
    /// flagged later stays where it is, under the eyes of the reader.
    void promoteAgain() { m_promoted.clear(); }

    /// Shows only the rows that @p matches says, and @p held (-1: none); null shows all. Threads are not
    /// folded meanwhile. @p matches must live until the next call.
    void filter(const std::vector<bool> *matches, int held);
    bool isFiltered() const { return m_matches != nullptr; }

    /// Places: of messages, and of headings.
    int count() const { return m_plain ? int(m_order.size()) : int(m_shown.size()); }

    /// Messages, whatever hides them.
    int countAll() const { return int(m_order.size()); }

    /// Messages that pass the filter; all without one.
    int countMatching() const { return m_matches ? m_matching : countAll(); }

    /// Every listed row, in order.
    const std::vector<quint32> &rows() const { return m_order; }

    bool isHeading(int place) const { return !m_plain && (m_shown[std::size_t(place)] & 1) == 0; }

    /// @name Of a place with a message
    /// @{
    int rowAt(int place) const { return int(m_order[position(place)]); }
    int depthAt(int place) const;
    bool hasAnswers(int place) const;
    bool isExpanded(int place) const { return m_matches || m_expanded[std::size_t(rowAt(place))]; }

    /// The rows below @p place, shown or not, in their order.
    std::vector<int> rowsBelow(int place) const;

    /// How many places come or go right behind @p place when it is expanded or collapsed.
    int placesBelow(int place) const;

    /// Shows or hides the answers below @p place.
    void expand(int place);
    void collapse(int place);
    /// @}

    void setAllExpanded(bool expanded);

    /// -1 when the row is not listed or hidden.
    int placeOf(int row) const;

    /// The place of @p row, or of the nearest message above it that is shown; -1 when there is none.
    int nearestPlace(int row) const;

    /// @name Headings
    /// @{
    static constexpr int kFlagged = -2;          ///< the span of what is promoted
    static constexpr int kOthers = -1;           ///< that of all else, in a list that is not by date
    int spanAt(int place) const;                 ///< of DateHeadings, or one of those above
    std::vector<int> rowsUnder(int place) const; ///< in the heading's span, hidden ones too
    int messagesUnder(int place) const;          ///< their number
    bool isFolded(int place) const { return m_folded.contains(keyOf(spanAt(place))); }
    void setFolded(int place, bool folded);
    void unfoldAll();
    int headingOf(int span) const;                  ///< its place; -1: it is not shown
    int headingAbove(int row) const;                ///< the place of the heading that a row stands under; -1
    int headingsBetween(int first, int last) const; ///< of these places, both included
    QString textOf(int span) const;
    /// @}

    /// The headings are those of this day. False: they are already.
    bool isOf(const QDate &day) const { return m_dates.day() == day; }
    void setDay(const QDateTime &now) { m_dates = DateHeadings(now); }

private:
    struct Key
    {
        quint64 key;
        quint32 row;
        bool operator<(const Key &other) const
        {
            return key != other.key ? key < other.key : row < other.row;
        }
    };

    /// A run of messages under one heading.
    struct Run
    {
        quint32 begin; ///< position of its first
        int span;
    };

    /// By row, while threads are arranged: what it lies below, its first answer, the next answer beside it.
    struct Family
    {
        std::vector<int> parent;
        std::vector<quint32> first;
        std::vector<quint32> next;
    };

    static quint32 messageEntry(quint32 position) { return position * 2 + 1; }
    static quint32 headingEntry(quint32 position) { return position * 2; }
    std::size_t position(int place) const
    {
        return m_plain ? std::size_t(place) : m_shown[std::size_t(place)] / 2;
    }
    bool isShownByFilter(quint32 row) const
    {
        return (row < m_matches->size() && (*m_matches)[row]) || int(row) == m_held;
    }
    std::size_t endOfThread(std::size_t position) const;
    std::vector<quint32> visibleBelow(std::size_t position) const;
    std::vector<Key> oldestFirst() const;
    void promote();
    void addColumnKeys(std::vector<Key> &keys, const MessageSort &sort, const std::vector<quint32> &ranks,
                       const std::vector<int> &parents) const;
    std::vector<quint32> threadSizes(const std::vector<int> &parents) const;
    void arrange(const std::vector<Key> &byDate, const MessageSort &sort, const std::vector<quint32> &ranks);
    std::vector<int> liveParents() const;
    static std::vector<Key> roots(const std::vector<Key> &byDate, const std::vector<int> &parents,
                                  const MessageSort &sort);
    static Family familyOf(std::vector<int> parents, const std::vector<Key> &byDate);
    void emitThread(quint32 root, const Family &family);
    void beginRun(int span);
    void findShown();
    void showRun(std::size_t begin, std::size_t end);
    void findHeadings();
    std::size_t runAt(std::size_t position) const;
    std::size_t endOfRun(std::size_t run) const;
    qint64 keyOf(int span) const;
    int liveParent(int row) const;

    const MessageRows *m_rows;
    std::unique_ptr<Threads> m_threads;
    DateHeadings m_dates;
    bool m_threaded = false;
    bool m_plain = true;             ///< places are positions
    std::vector<quint32> m_order;    ///< listed rows, every thread whole
    std::vector<quint16> m_depths;   ///< by position in m_order; empty without threads
    std::vector<quint32> m_shown;    ///< by place, rising: entries of positions; empty when plain
    std::vector<quint32> m_position; ///< by row: position in m_order + 1
    std::vector<bool> m_expanded;    ///< by row
    std::vector<bool> m_promoted;    ///< by row
    std::vector<Run> m_runs;
    std::vector<int> m_headingPlaces;
    std::set<qint64> m_folded; ///< by what headings keep over midnight
    const std::vector<bool> *m_matches = nullptr;
    int m_held = -1;
    int m_matching = 0;
    bool m_expandNew = false;
    bool m_subjectParts = false; ///< a changed subject begins a new thread
};
