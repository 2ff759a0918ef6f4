#pragma once

#include "net/pop3/poprecord.h"
#include "net/pop3/uidlsfile.h"

#include <QByteArray>
#include <QFile>
#include <QHash>
#include <QList>
#include <QMultiHash>
#include <QSet>
#include <QString>

#include <optional>
#include <vector>

/// What an account remembers of the messages on its server, so that none is fetched twice and none deleted
/// that is not here.
///
/// It lies in "Accounts/<number>/Fetched", to which lines are added while a session runs and which is written
/// anew at its end; cut and damaged lines are skipped. UIDLs is the form that others read, too: what it alone
/// names counts as fetched, and is never deleted on the server, because nothing tells that it is the same.
///
/// All of it belongs to one user at one host. For another one it is set aside ("Fetched-<digest>") and comes
/// back with the first.
class PopMemory
{
public:
    static constexpr qint64 kDaysOfAbsence = 30;

    PopMemory(int account, const QString &user, const QString &host);

    /// False after a report: nothing may be fetched, because nobody knows what is here.
    [[nodiscard]] bool load();

    /// What an interrupted session left in the store is remembered, with what was announced about it. It
    /// belongs to the mailbox of that session. The store calls it by @p names.
    void addRecovered(const QList<QByteArray> &names);

    /// To be called when what was recovered is committed, and before anything else: what belongs to another
    /// mailbox is set aside, and what was set aside of this one comes back. False as load().
    [[nodiscard]] bool settleMailbox();

    /// Null: nothing is remembered.
    const PopRecord *find(const QByteArray &identifier) const;

    /// The same by the name that the store knows it by: a server that renumbers calls its messages otherwise,
    /// what was stored keeps the name it had.
    const PopRecord *findStored(const QByteArray &name) const;

    /// Those names of all that is here and, as far as anybody knows, on the server; none where what is
    /// remembered belongs to another mailbox, or after a report. Nothing else is loaded: a look at a large
    /// mailbox is quick while nothing was renamed.
    QList<QByteArray> readStoreNames();

    /// @name The server's listing
    /// @{

    /// To be told before any question: the identifiers that the server lists.
    void setListed(const QSet<QByteArray> &identifiers);

    /// Whether the server seems to have given its messages new identifiers: most of the remembered ones are
    /// gone, though nobody here deleted them.
    bool isRenumbered() const { return m_renumbered; }

    /// Whether one of the gone ones has @p size; then its header has to be looked at.
    bool hasGone(qint64 size) const { return m_renumbered && m_gone.contains(size); }

    /// That message is in the listing, by a name that the server did not give.
    void claim(const PopRecord &record) { m_gone.remove(record.size, record.identifier); }

    /// Gives the gone message with that size and header the new @p identifier; the store keeps the name that
    /// it has. False: there is none.
    bool exchange(qint64 size, const QByteArray &header, const QByteArray &identifier);

    /// To be told after a listing that was complete: all others are absent, and are forgotten after 30 days.
    void setPresent(const QSet<QByteArray> &identifiers);
    /// @}

    /// Replaces what is remembered about the message.
    void remember(const PopRecord &record);

    /// Writes down, not yet for the disk, what is about to be stored. False after "Unable to write UIDLs
    /// file": it is not to be stored, for it would be known by its name alone and stay on the server for
    /// ever.
    [[nodiscard]] bool announce(const PopRecord &record);

    /// Makes safe on the disk what was remembered since the last time. False after "Unable to write UIDLs
    /// file".
    [[nodiscard]] bool commit();

    /// Writes both files anew, if something changed. False as above.
    bool save();

private:
    enum class Names { OfAnother, AsListed, Renamed };
    Names lookForRenamed() const;
    bool readFetched(const QString &path);
    void addLine(const PopLine &line);
    void put(const PopRecord &record);
    void addFromUidls(const QList<UidlsEntry> &entries);
    bool setAside();
    bool bringBack();
    bool writeFetched(const QString &path);
    bool openFile();
    bool append(const QByteArray &lines, bool synced);
    QString asideOf(const QByteArray &mailbox) const;

    QString m_path;
    UidlsFile m_uidls;
    QFile m_file;         ///< while lines are added to it
    QByteArray m_mailbox; ///< user@host that is wanted now
    QByteArray m_owner;   ///< the one that the file belongs to; empty: it does not say
    QHash<QByteArray, PopRecord> m_records;
    QHash<QByteArray, QByteArray> m_renamed;  ///< identifiers by names in the store, also former ones
    QHash<QByteArray, PopRecord> m_announced; ///< by names in the store
    QMultiHash<qint64, QByteArray> m_gone;    ///< identifiers by size
    QByteArray m_pending;                     ///< lines that are not on the disk yet
    bool m_endsInLine = false;                ///< the file was cut within a line
    bool m_isNew = true;                      ///< there is no file yet
    bool m_changed = false;
    bool m_renumbered = false;
};
