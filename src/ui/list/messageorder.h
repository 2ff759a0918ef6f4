#pragma once

#include "store/threads.h"
#include "ui/list/messagesort.h"

#include <memory>
#include <vector>

class MessageRows;

/// Which of the messages that there are a list shows and in what order. A *row* is one of MessageRows, a
/// *place* one of the list. What is not listed has no place, nor have the answers in a collapsed thread.
/// Threads are those of one group; messages of many stand each by itself.
///
/// Inside a thread the order is always that of the conversation; answers to a message that was deleted lie
/// below what it answered. Memory is about 23 bytes a row, with threads 36 more.
class MessageOrder
{
public:
    /// @p rows must outlive this; null shows nothing.
    explicit MessageOrder(const MessageRows *rows = nullptr);

    /// Orders anew, taking in what came and went. @p ranks has the place of each row's text
    /// among the texts of a text column; rows beyond its end come last.
    void rebuild(const MessageSort &sort, const std::vector<quint32> &ranks);

    int count() const { return m_threaded ? int(m_shown.size()) : int(m_order.size()); }

    /// With those that collapsed threads hide.
    int countAll() const { return int(m_order.size()); }

    int rowAt(int place) const { return int(m_order[position(place)]); }
    int depthAt(int place) const { return m_threaded ? m_depths[position(place)] : 0; }

    /// -1 when the row is not listed or hidden.
    int placeOf(int row) const;

    bool hasAnswers(int place) const;
    bool isExpanded(int place) const { return m_expanded[std::size_t(rowAt(place))]; }

    /// The rows below @p place, shown or not, in their order.
    std::vector<int> rowsBelow(int place) const;

    /// How many places come or go right behind @p place when it is expanded or collapsed.
    int placesBelow(int place) const;

    /// Shows or hides the answers below @p place.
    void expand(int place);
    void collapse(int place);
    void setAllExpanded(bool expanded);

    /// The place of @p row, or of the nearest message above it that is shown; -1 when there is none.
    int nearestPlace(int row) const;

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

    std::size_t position(int place) const
    {
        return m_threaded ? m_shown[std::size_t(place)] : std::size_t(place);
    }
    std::size_t endOfThread(std::size_t position) const;
    std::vector<quint32> visibleBelow(std::size_t position) const;
    std::vector<Key> oldestFirst() const;
    void addColumnKeys(std::vector<Key> &keys, const MessageSort &sort,
                       const std::vector<quint32> &ranks) const;
    void arrangeThreads(const std::vector<Key> &byDate, const MessageSort &sort,
                        const std::vector<quint32> &ranks);
    std::vector<int> liveParents() const;
    static std::vector<Key> roots(const std::vector<Key> &byDate, const std::vector<int> &parents,
                                  const MessageSort &sort);

    /// By row, while threads are arranged: what it lies below, its first answer, the next answer beside it.
    struct Family
    {
        std::vector<int> parent;
        std::vector<quint32> first;
        std::vector<quint32> next;
    };
    void emitThread(quint32 root, const Family &family);
    void findShown();
    int liveParent(int row) const;

    const MessageRows *m_rows;
    std::unique_ptr<Threads> m_threads;
    bool m_threaded = false;
    std::vector<quint32> m_order;    ///< live rows, every thread whole
    std::vector<quint16> m_depths;   ///< by position in m_order; empty without threads
    std::vector<quint32> m_shown;    ///< by place: position in m_order; empty without threads
    std::vector<quint32> m_position; ///< by row: position in m_order + 1
    std::vector<bool> m_expanded;    ///< by row
    bool m_expandNew = false;
};
