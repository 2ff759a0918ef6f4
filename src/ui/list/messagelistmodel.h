#pragma once

#include "store/messagerows.h"
#include "ui/list/draggedmessages.h"
#include "ui/list/listfilter.h"
#include "ui/list/messageorder.h"
#include "ui/list/shownmessage.h"
#include "ui/list/textranks.h"

#include <QAbstractTableModel>
#include <QCache>
#include <QTimer>

/// Messages, of one group or of many, as a flat table with headings between them. Of a row that is not
/// painted nothing is kept but numbers. What happens to them during one pass of the event loop comes as one
/// change; selection and current message stay with their messages.
///
/// A *place* is a row of the table. Where "the message at" a place is asked for there must not be a heading.
class MessageListModel : public QAbstractTableModel
{
    Q_OBJECT

public:
    explicit MessageListModel(QObject *parent = nullptr);
    ~MessageListModel() override;

    /// Shows @p rows, null for nothing.
    void setSource(std::unique_ptr<MessageRows> rows, const MessageSort &sort = {});
    const MessageRows *source() const { return m_rows.get(); }

    /// Shows one group, null for nothing.
    void setGroup(Group *group, const MessageSort &sort = {});

    /// The only group; null without one, and for several.
    Group *group() const { return m_rows ? m_rows->group() : nullptr; }

    /// The message that the reader looks at: it stays in the list, whatever the filter or the source thinks
    /// of it, until the next one is held.
    void hold(MessageRef message);

    const MessageSort &sortOrder() const { return m_sort; }
    void setSortOrder(const MessageSort &sort);

    /// Narrows the list, an empty filter ends that. What is found first is shown at once, the rest comes in
    /// slices with filterProgressed(), and at the end filterEnded().
    void setFilter(const ListFilter &filter);
    const ListFilter &filter() const { return m_filter; }
    bool isFiltering() const { return m_matches.isRunning(); }

    int shownCount() const { return m_order.countMatching(); } ///< messages that pass the filter
    int totalCount() const { return m_order.countAll(); }      ///< all messages

    /// Whether the column From shows recipients, as in the groups of what was written here.
    bool showsRecipients() const;

    void setTags(TagNames names);

    bool isHeading(int place) const { return m_order.isHeading(place); }
    ShownHeading heading(int place) const;
    void setFolded(int place, bool folded);

    /// Whether it is folded and hides something unread.
    bool hidesUnread(int heading) const;

    /// The heading above a message that it hides when it is folded; -1 when there is none.
    int headingAbove(MessageRef message) const;

    /// @p place, or the nearest one with a message, first onwards in @p direction (1 or -1), then the other
    /// way; -1 when there is none.
    int messageNear(int place, int direction) const;

    /// How many of these places, both included, have messages.
    int messagesBetween(int first, int last) const;

    ShownMessage item(int place) const;
    ThreadCounts threadCounts(int place) const;
    const Overview &overviewAt(int place) const;

    /// The texts of a message that need not be kept: it is only looked at in passing.
    HeaderTexts textsAt(int place) const { return m_rows->texts(m_order.rowAt(place)); }
    QString peopleAt(int place) const;

    /// The message at a place; null for a heading.
    MessageRef refAt(int place) const;

    /// -1 when it is not there or hidden.
    int placeOf(MessageRef message) const;

    /// Whether the list has it, shown or not.
    bool has(MessageRef message) const;

    /// The messages at @p places; a collapsed thread stands for all in it, a heading for nothing.
    MessageRefs refsAt(const std::vector<int> &places) const;

    /// Every message of the thread that @p place belongs to.
    MessageRefs threadOf(int place) const;

    /// Makes the message visible by expanding and unfolding what is above it. Its place, -1 when it is not
    /// there or the filter keeps it out.
    int reveal(MessageRef message);
    void setExpanded(int place, bool expanded);

    /// All threads; unfolds the headings too.
    void setAllExpanded(bool expanded);
    int depthAt(int place) const { return m_order.depthAt(place); }
    bool hasAnswers(int place) const { return !isHeading(place) && m_order.hasAnswers(place); }
    bool isExpanded(int place) const { return m_order.isExpanded(place); }

    /// Takes in at once what waits for the end of this pass of the event loop.
    void settle();

    /// Ends the sorting by text under way; the list stays as it is.
    void stopSorting();

    /// Whether a new day has begun; the headings and dates are then those of that day.
    bool checkDay();

    /// Every index carries its message; that of a heading has none.
    static MessageRef refOf(const QModelIndex &index);
    QModelIndex index(int row, int column, const QModelIndex &parent = {}) const override;
    int rowCount(const QModelIndex &parent = {}) const override;
    int columnCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
    Qt::ItemFlags flags(const QModelIndex &index) const override;
    void sort(int column, Qt::SortOrder order) override;
    QStringList mimeTypes() const override;
    QMimeData *mimeData(const QModelIndexList &indexes) const override;
    Qt::DropActions supportedDragActions() const override { return Qt::MoveAction | Qt::CopyAction; }

signals:
    /// After every change of what is shown and where.
    void relaid();
    void sortChanged();
    void sortingProgressed(int done, int total);
    void sortingEnded();
    void filterChanged(); ///< another one is asked for
    void filterProgressed(int done, int total);
    void filterEnded();

private:
    void watch();
    void collectChanged(const MessageRefs &messages);
    void collect();
    void resetRows();
    void moveRows(const std::function<void()> &change);
    void relay();
    void order();
    int placeAfterwards(quint64 key) const;
    int heldRow() const { return m_rows ? m_rows->rowOf(m_held) : -1; }
    void announceChanges();
    void announceAll();
    void rank();
    void ranked();
    void startFilter();
    void filterFound();
    void showFiltered();
    HeaderTexts textsOf(int row) const;

    std::unique_ptr<MessageRows> m_rows;
    MessageSort m_sort;
    MessageOrder m_order;
    TextRanks m_ranks;
    ListFilter m_filter;
    FilterRun m_matches;
    TagNames m_tags;
    MessageRef m_held;
    mutable QCache<quint64, HeaderTexts> m_texts; ///< of the rows painted lately, by message
    QTimer m_timer;
    QTimer m_dayTimer;
    bool m_moved = false; ///< messages came or went since the last relay
    MessageRefs m_changed;
    qint64 m_relayCost = 0; ///< milliseconds that the last one took
    qint64 m_lastShown = 0; ///< when what the filter found was shown, by the clock
};
