#pragma once

#include "store/binfile.h"
#include "store/headercache.h"
#include "store/overviewfile.h"

#include <QString>

#include <map>
#include <optional>
#include <set>
#include <vector>

struct PackedMessage;
struct Summary;

/// The files of one group together: bins, overviews and header caches. Single steps only; what they add up to
/// (signals, the index of Message-IDs, moving between groups) is the business of Group and GroupStore.
///
/// A message's text is written before its overview. Nothing is safe before sync().
class GroupFiles : private BinOwner
{
public:
    explicit GroupFiles(const QString &directory);

    const QString &directory() const { return m_directory; }
    void setCompresses(bool compresses) { m_compresses = compresses; }

    enum class State {
        Good,
        Recovered, ///< a crash left changes under way; they were completed or dropped
        Damaged,   ///< must be repaired before it is used
        Unreadable,
    };

    /// Opens the files. With read-only access nothing is completed or made: what can be read is read.
    State open(bool writable);
    void close();
    bool isOpen() const { return m_isOpen; }

    /// How the overview file was found when it was opened.
    OverviewFile::State overviewState() const { return m_overviewState; }

    /// Set when a record was not where its overview said.
    bool needsRepair() const { return m_needsRepair; }
    void suspect() { m_needsRepair = true; }

    const OverviewFile &overviews() const { return m_overviews; }

    /// Appends text, texts and overview as article number nextArticle(), which is given; 0 after a report.
    quint32 append(QByteArrayView text, const Summary &summary);

    /// The same with a message that was packed before.
    quint32 append(const PackedMessage &message);

    /// Appends a copy of a message of another group, with its marks and where it came from; 0 after a report.
    quint32 appendCopy(GroupFiles &source, int sourceGroup, const Overview &original);

    /// Puts whole messages into the places of those of which only the header is here. Safe when it returns; a
    /// crash on the way leaves each message either as it was or whole. False after a report.
    struct Whole
    {
        int row;
        QByteArrayView text;
        const Summary &summary; ///< without what the use of a message adds, which stays
    };
    [[nodiscard]] bool complete(const std::vector<Whole> &messages);

    /// Writes @p overview over @p row.
    bool change(int row, const Overview &overview) { return m_overviews.change(row, overview); }

    /// Marks @p row dead, here and in its bin.
    bool kill(int row);

    /// The text; null after a report. Beside another process the record is looked up again when it is no
    /// longer where @p overview says.
    QByteArray readMessage(const Overview &overview);

    /// The texts from the header cache; made again from the message where they are damaged.
    HeaderTexts texts(const Overview &overview);

    [[nodiscard]] bool sync();

    /// Bytes of the live records in @p bin, headers included, and the same of every bin in one pass.
    qint64 liveSize(int bin) const;
    std::map<int, qint64> liveSizes() const;

    /// The numbers of the bins that exist, ascending.
    std::vector<int> bins() const;
    BinFile &bin(int number);

    /// Bytes that the files take on the disk.
    qint64 sizeOnDisk() const;

    /// While a bin is held, nothing is appended to it.
    void hold(int bin) { m_held.insert(bin); }
    void release(int bin) { m_held.erase(bin); }

    /// Puts the new positions of a compacted bin into the overviews: article and position of each message
    /// that is left in it, articles rising. The dead rows of the others no longer have a record.
    struct Move
    {
        quint32 article;
        quint32 position;
    };
    [[nodiscard]] bool takeMoves(int bin, const std::vector<Move> &moves);

    /// Closes the bin's file, because another one takes its place.
    void forgetBin(int bin);

    /// Deletes a bin in which nothing is alive, and its header cache.
    [[nodiscard]] bool removeBin(int bin);

    /// Puts @p overviews in the place of all there are.
    [[nodiscard]] bool rewriteOverviews(const std::vector<Overview> &overviews, quint32 nextArticle);

    /// Stores the texts that a list shows; the place goes into the overview.
    HeaderCache::Place cacheTexts(int bin, const HeaderTexts &texts, quint32 textCrc)
    {
        return cache(bin).append(texts, textCrc);
    }

    /// Has the system begin to write what was changed in the bins, so that the sync that follows is short.
    void startWriting();

    /// Forces the bins alone to the disk.
    [[nodiscard]] bool syncBins();

    /// Deletes what an interrupted compaction left, when the overviews need it no more.
    void dropCompactions();

    void recount() { m_overviews.recount(); }

    /// Whether a record that no row points to is the header of a message that is here whole, or a whole one
    /// that a power cut kept from taking its header's place.
    bool isSuperseded(const Overview &record) const;

    /// Rows whose check word does not fit.
    std::vector<int> damagedRows() const;

private:
    bool compressesMessages() const override { return m_compresses; }
    void markForRepair() override { m_needsRepair = true; }

    State recover(OverviewFile::State state);
    bool finishCompactions();
    void dropUnwritten();
    bool killOrphans();
    void killOrphansBehind(int bin, qint64 end);
    bool liesAt(const Overview &overview, quint32 position);
    std::optional<quint32> newPlaceOf(const Overview &overview);
    quint32 enter(Overview overview, const HeaderTexts &texts);
    void bury(const Overview &overview);
    void bringBack(const Overview &overview);
    void takeBack(const std::vector<Overview> &appended);
    void matchRecordsToRows();
    int binForAppending();
    HeaderCache &cache(int bin);

    QString m_directory;
    OverviewFile m_overviews;
    std::map<int, BinFile> m_bins;
    std::map<int, HeaderCache> m_caches;
    std::set<int> m_held;
    OverviewFile::State m_overviewState = OverviewFile::State::Missing;
    int m_appendBin = -1;
    bool m_isOpen = false;
    bool m_writable = false;
    bool m_compresses = true;
    bool m_needsRepair = false;
};
