#pragma once

#include "store/binscanner.h"
#include "store/groupfiles.h"

#include <QHash>

#include <memory>
#include <unordered_map>

/// Builds the overviews of a group anew from its bins, in slices. Overview records that are intact keep their
/// flags and everything else; only what they lack comes from the bins. Dead records stay dead.
class GroupRepair
{
public:
    /// @p files must have been opened for writing, in whatever state, and outlive this.
    explicit GroupRepair(GroupFiles &files);

    enum class Progress { Working, Done, Failed };

    /// Scans about @p bytes of the bins. Failed: nothing was changed, or not all could be written.
    Progress step(qint64 bytes);
    Progress run();

    int kept() const { return m_kept; }           ///< messages whose overview was intact
    int recovered() const { return m_recovered; } ///< messages whose overview was made from the bin
    int lost() const { return m_lost; }           ///< overviews whose text is in no bin
    qint64 skipped() const { return m_skipped; }  ///< bytes in the bins that belong to no message

private:
    void take(const BinScanner::Record &record);
    void takeKnown(std::size_t index, const BinScanner::Record &record);
    bool isSuperseded(const Overview &record) const;
    void found(const Overview &overview);
    std::vector<Overview>::const_iterator findKnown(quint32 article) const;
    bool takeMoved(const BinScanner::Record &record);
    bool findText(std::size_t index);
    void keepKnown(std::vector<Overview> &all);
    void addFound(std::vector<Overview> &all);
    void reserve(quint32 article);
    bool openNextBin();
    std::optional<Overview> recovered(const BinScanner::Record &record);
    bool finish();

    GroupFiles &m_files;
    std::vector<int> m_bins; ///< still to be scanned, the next one last
    FileHandle m_file;
    std::unique_ptr<BinScanner> m_scanner;
    int m_bin = -1;
    QHash<quint64, std::size_t> m_places; ///< bin and position to index in m_known
    std::vector<Overview> m_known;        ///< articles rising
    std::vector<bool> m_seen;
    QHash<std::size_t, quint32> m_moved; ///< index in m_known to the position where it was met instead
    std::vector<Overview> m_found;
    std::unordered_map<quint32, std::size_t> m_foundArticles; ///< index in m_found of the first with a number
    quint32 m_nextArticle = 1;
    int m_kept = 0;
    int m_recovered = 0;
    int m_lost = 0;
    qint64 m_skipped = 0;
};
