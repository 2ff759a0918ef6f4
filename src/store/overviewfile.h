#pragma once

#include "store/filehandle.h"
#include "store/overview.h"

#include <QString>

#include <optional>
#include <vector>

/// The overviews of one group: a header and fixed records, mapped into memory, so that opening costs nothing
/// per row. A row is a record's place in the file, from 0, and stays until the file is rewritten without its
/// dead records. Changes are written through at once and forced to the disk by sync().
///
/// The counts of the header are right as of the last sync; while changes are under way the file is marked as
/// unsettled, and who opens an unsettled file counts again.
class OverviewFile
{
public:
    struct Counts
    {
        quint32 total = 0; ///< messages that are not dead
        quint32 unread = 0;
        quint32 flagged = 0;
        bool operator==(const Counts &) const = default;
    };

    explicit OverviewFile(const QString &directory);
    ~OverviewFile();
    OverviewFile(const OverviewFile &) = delete;
    OverviewFile &operator=(const OverviewFile &) = delete;

    enum class State {
        Missing, ///< no file: an empty group, or one to be built from its bins
        Settled,
        Unsettled, ///< the last user died between a change and its sync
        Cut,       ///< fewer records than the last sync left
        Damaged,   ///< no header of ours
        Unreadable,
    };

    /// Opens the file; afterwards rows can be read unless it is missing, damaged or unreadable.
    State open(bool writable);
    bool isOpen() const { return m_file.isOpen(); }
    void close();

    /// Begins an empty file in the place of whatever is there.
    [[nodiscard]] bool create(quint32 nextArticle);

    int rowCount() const { return m_rows; }

    /// Rows that the last sync left; those behind them may have lost their texts to a power cut.
    int settledRows() const { return int(m_header.records); }

    /// The record of @p row, valid until the file changes. Not checked for damage.
    const Overview &row(int row) const { return m_records[row]; }

    /// The row of an article; articles rise with the rows. -1 when there is none.
    int rowOf(quint32 article) const;

    /// The number that the next article gets.
    quint32 nextArticle() const { return m_header.nextArticle; }
    void reserveArticle(quint32 article);

    const Counts &counts() const { return m_counts; }

    /// Rises with every sync that wrote a change; tells an index whether it is up to date.
    quint64 generation() const { return m_header.generation; }

    /// Seals and appends @p overview. False: nothing was appended.
    [[nodiscard]] bool append(Overview overview);

    /// Seals and writes @p overview over @p row.
    [[nodiscard]] bool change(int row, Overview overview);

    /// Unsettles the file, on the disk, ahead of something else than a row that is to change.
    [[nodiscard]] bool announceChanges();

    /// Settles the header and forces everything to the disk.
    [[nodiscard]] bool sync();

    /// Counts again from the records; the next sync() writes counts that turn out to be others.
    void recount();

    /// Rewrites the file with @p overviews alone, in that order, whole or not at all, and opens it.
    [[nodiscard]] bool rewrite(const std::vector<Overview> &overviews, quint32 nextArticle);

    struct Head
    {
        Counts counts;
        quint64 generation = 0;
    };

    /// What a settled file says of itself, without opening the rest; empty when it must be opened to know.
    static std::optional<Head> headOf(const QString &directory);

    /// What can be saved of a file in whatever state: its intact records with rising articles.
    static std::vector<Overview> intactRecords(const QString &directory);

    QString path() const;

private:
    struct Header
    {
        quint32 nextArticle = 1;
        quint64 generation = 0;
        quint32 records = 0;
        bool settled = true;
        Counts counts;
    };

    static QByteArray encoded(const Header &header);
    static std::optional<Header> decoded(QByteArrayView bytes);
    bool writeHeader();
    bool unsettle();
    bool map(qint64 size);
    void unmap();
    void count(const Overview &overview, int sign);

    QString m_directory;
    FileHandle m_file;
    bool m_writable = false;
    Header m_header;
    Counts m_counts;
    const Overview *m_records = nullptr;
    int m_rows = 0;
    void *m_mapping = nullptr;
    std::size_t m_mappedSize = 0;
};
