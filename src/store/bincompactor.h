#pragma once

#include "store/binscanner.h"
#include "store/groupfiles.h"

#include <memory>

/// Rewrites one bin without its dead records, in slices.
///
/// The new bin is written beside the old one ("~"), with the overviews as they are now as headers; then the
/// new positions are synced as "Bin<k>.moved" before the new bin takes the place of the old. Opening a group
/// finishes or drops what a crash left of that. Meanwhile nothing is appended to the bin.
class BinCompactor
{
public:
    /// @p files must be open for writing and outlive this.
    BinCompactor(GroupFiles &files, int bin);
    ~BinCompactor();
    BinCompactor(const BinCompactor &) = delete;
    BinCompactor &operator=(const BinCompactor &) = delete;

    enum class Progress { Working, Done, Failed };

    /// Copies records until about @p bytes were read. Failed: after a report, and everything is as it was.
    Progress step(qint64 bytes);

    /// All steps at once: the whole of a bin's compaction.
    Progress run();

    int bin() const { return m_bin; }

    /// Bytes of the bin before and after; the second is right once it is done.
    qint64 sizeBefore() const { return m_before; }
    qint64 sizeAfter() const { return m_after; }

    /// The bins of which more than a third is dead, ascending.
    static std::vector<int> worthwhile(GroupFiles &files);

    /// What the opening of a group does with "Bin<k>.moved". False: the bin was replaced but the positions
    /// cannot be read.
    static bool finishInterrupted(GroupFiles &files, int bin);

    /// Where "Bin<k>.moved" says that an article is now; empty without a file that fits the bin in place.
    static std::optional<quint32> newPlace(const QString &directory, int bin, quint32 article);

private:
    bool begin();
    bool copyRecord(const BinScanner::Record &record);
    bool passOver(const BinScanner::Record &record);
    bool finish();
    Progress fail(const char *text);
    QString newPath() const;
    QString movedPath() const;

    GroupFiles &m_files;
    int m_bin;
    bool m_begun = false;
    bool m_isHalfDone = false; ///< the bin is replaced, but not all positions are written
    qint64 m_before = 0;
    qint64 m_after = 0;
    FileHandle m_old;
    FileHandle m_new;
    std::unique_ptr<BinScanner> m_scanner;
    std::vector<GroupFiles::Move> m_moves;
    const char *m_problem = nullptr;
};
