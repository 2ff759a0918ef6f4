#pragma once

#include "store/messagerows.h"
#include "ui/list/messageorder.h"
#include "ui/list/textranks.h"

#include <QAbstractTableModel>
#include <QCache>
#include <QTimer>

/// Messages, of one group or of many, as a flat table. Of a row that is not painted nothing is kept but
/// numbers. What happens to them during one pass of the event loop comes as one change; selection and current
/// message stay with their messages.
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

    /// The message that the reader looks at: it stays in the list until the next one is held.
    void hold(MessageRef message);

    const MessageSort &sortOrder() const { return m_sort; }
    void setSortOrder(const MessageSort &sort);

    /// Whether the column From shows recipients, as in the groups of what was written here.
    bool showsRecipients() const;

    /// What a painted row needs.
    struct Item
    {
        Overview overview;
        HeaderTexts texts;
        QString people; ///< whom it is from, or to, as the column From shows it
        int depth = 0;
        bool hasAnswers = false;
        bool isExpanded = false;
    };
    Item item(int place) const;

    /// "2 new of 5" of a collapsed thread.
    struct ThreadCounts
    {
        int messages = 0;
        int unread = 0;
    };
    ThreadCounts threadCounts(int place) const;

    MessageRef refAt(int place) const { return m_rows->refAt(m_order.rowAt(place)); }
    const Overview &overviewAt(int place) const;

    /// -1 when it is not there or hidden in a collapsed thread.
    int placeOf(MessageRef message) const;

    /// The messages at @p places; a collapsed thread stands for all in it.
    MessageRefs refsAt(const std::vector<int> &places) const;

    /// Every message of the thread that @p place belongs to.
    MessageRefs threadOf(int place) const;

    /// Makes the message visible by expanding what is above it. Its place, -1 when it is not there.
    int reveal(MessageRef message);
    void setExpanded(int place, bool expanded);
    void setAllExpanded(bool expanded);
    int depthAt(int place) const { return m_order.depthAt(place); }
    bool hasAnswers(int place) const { return m_order.hasAnswers(place); }
    bool isExpanded(int place) const { return m_order.isExpanded(place); }

    /// Takes in at once what waits for the end of this pass of the event loop.
    void settle();

    /// Ends the sorting by text under way; the list stays as it is.
    void stopSorting();

    /// Every index carries its message: refOf().
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

private:
    void watch();
    void collectChanged(const MessageRefs &messages);
    void collect();
    void resetRows();
    void moveRows(const std::function<void()> &change);
    void relay();
    void order();
    int placeAfterwards(MessageRef message) const;
    void announceChanges();
    void rank();
    void ranked();
    HeaderTexts textsOf(int row) const;
    QString textOf(const Item &item, MessageColumn column) const;

    std::unique_ptr<MessageRows> m_rows;
    MessageSort m_sort;
    MessageOrder m_order;
    TextRanks m_ranks;
    mutable QCache<quint64, HeaderTexts> m_texts; ///< of the rows painted lately, by message
    QTimer m_timer;
    bool m_moved = false; ///< messages came or went since the last relay
    MessageRefs m_changed;
    qint64 m_relayCost = 0; ///< milliseconds that the last one took
};

/// Messages on their way by drag and drop, of any groups.
constexpr char kMessagesMimeType[] = "application/x-velmar-messages";
QByteArray encodeDragged(const MessageRefs &messages);

/// Empty when @p bytes are no such thing.
MessageRefs decodeDragged(const QByteArray &bytes);
