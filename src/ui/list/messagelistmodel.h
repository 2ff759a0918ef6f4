#pragma once

#include "store/group.h"
#include "ui/list/messageorder.h"
#include "ui/list/textranks.h"

#include <QAbstractTableModel>
#include <QCache>
#include <QPointer>
#include <QTimer>

/// The messages of one group as a flat table. Of a row that is not painted nothing is kept but numbers. What
/// happens in the group during one pass of the event loop comes as one change; selection and current message
/// stay with their messages.
class MessageListModel : public QAbstractTableModel
{
    Q_OBJECT

public:
    explicit MessageListModel(QObject *parent = nullptr);
    ~MessageListModel() override;

    /// Shows @p group, null for nothing.
    void setGroup(Group *group, const MessageSort &sort = {});
    Group *group() const { return m_group; }

    const MessageSort &sortOrder() const { return m_sort; }
    void setSortOrder(const MessageSort &sort);

    /// Whether the column From shows recipients, as in the groups of what was written here.
    bool showsRecipients() const;

    /// What a painted row needs.
    struct Item
    {
        Overview overview;
        HeaderTexts texts;
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
    QString personOf(const HeaderTexts &texts) const;

    quint32 articleAt(int place) const;
    const Overview &overviewAt(int place) const;

    /// -1 when it is not there or hidden in a collapsed thread.
    int placeOf(quint32 article) const;

    /// The messages at @p places; a collapsed thread stands for all in it.
    Articles articlesAt(const std::vector<int> &places) const;

    /// Every message of the thread that @p place belongs to.
    Articles threadOf(int place) const;

    /// Makes the message visible by expanding what is above it. Its place, -1 when it is not there.
    int reveal(quint32 article);
    void setExpanded(int place, bool expanded);
    void setAllExpanded(bool expanded);
    int depthAt(int place) const { return m_order.depthAt(place); }
    bool hasAnswers(int place) const { return m_order.hasAnswers(place); }
    bool isExpanded(int place) const { return m_order.isExpanded(place); }

    /// Takes in at once what waits for the end of this pass of the event loop.
    void settle();

    /// Ends the sorting by text under way; the list stays as it is.
    void stopSorting();

    /// Every index carries the article number of its message.
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
    void collectRemoved();
    void collectChanged(const Articles &articles);
    void collect();
    void resetRows();
    void moveRows(const std::function<void()> &change);
    void relay();
    void order();
    int placeAfterwards(quint32 article) const;
    void announceChanges();
    void rank();
    void ranked();
    HeaderTexts textsOf(const Overview &overview) const;
    QString textOf(const Item &item, MessageColumn column) const;

    QPointer<Group> m_group;
    MessageSort m_sort;
    MessageOrder m_order;
    TextRanks m_ranks;
    mutable QCache<quint32, HeaderTexts> m_texts; ///< of the rows painted lately, by article
    QTimer m_timer;
    bool m_moved = false; ///< messages came or went since the last relay
    Articles m_changed;
    qint64 m_relayCost = 0; ///< milliseconds that the last one took
};

/// Messages on their way by drag and drop: a group's number, then articles.
struct DraggedMessages
{
    int group = 0;
    Articles articles;
};
constexpr char kMessagesMimeType[] = "application/x-velmar-messages";
QByteArray encodeDragged(const DraggedMessages &messages);

/// Empty articles when @p bytes are no such thing.
DraggedMessages decodeDragged(const QByteArray &bytes);
