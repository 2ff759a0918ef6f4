#pragma once

#include "engine/draftcontents.h"
#include "engine/draftjournal.h"
#include "engine/drafts.h"

#include <QString>
#include <QStringList>

#include <memory>
#include <optional>

/// Where a draft stands; the words are those of its file.
enum class DraftPhase {
    Open,        ///< somebody writes it, or did when the program ended
    Closed,      ///< it lies in Drafts
    HandingOver, ///< its message is about to come into the outbox
    HandedOver,  ///< its message waits there
    Gone,        ///< it is being removed
    TakingBack,  ///< its message is about to leave the outbox, to be written on
};
constexpr const char *kDraftPhases[] = {"open",        "closed", "handing-over",
                                        "handed-over", "gone",   "taking-back"};
static_assert(std::size(kDraftPhases) == std::size_t(DraftPhase::TakingBack) + 1);

/// Whether what becomes of it is for the outbox to say.
constexpr bool isOnItsWay(DraftPhase phase)
{
    return phase == DraftPhase::HandingOver || phase == DraftPhase::HandedOver ||
           phase == DraftPhase::TakingBack;
}

/// What is known of a draft besides its versions: the file "State", replaced whole with each change.
struct DraftState
{
    DraftPhase phase = DraftPhase::Open;
    DraftContext context;
    QByteArray messageId;   ///< of its message in Drafts, the same each time it is stored
    int storedVersion = 0;  ///< the serial of what that message holds; 0: none
    quint32 storing = 0;    ///< a message of that article or a later one is being added to Drafts; 0: none
    MessageRef replaced;    ///< the earlier message, which goes
    QByteArray sentId;      ///< Message-ID of what went to the outbox
    bool isForeign = false; ///< its message in Drafts was put there by somebody else

    bool operator==(const DraftState &) const = default;
};

/// One draft with its directory.
class Draft
{
public:
    explicit Draft(int number);

    int number() const { return m_number; }

    /// Reads its state. One whose state is lost counts as open: its versions are what matters.
    void read();
    const DraftState &state() const { return m_state; }

    /// Takes over @p state, on the disk as well once there is a version. False, after a report, when it
    /// cannot be written; it holds in this run all the same.
    bool setState(const DraftState &state);

    /// The same, but what cannot be written does not hold.
    bool setStateOrStay(const DraftState &state);

    /// False after a report.
    bool keep(const Composition &composition);

    /// Stores attachments for about some milliseconds, so that keep() has little to do; then it tells how far
    /// it is, else nothing: all of them are stored, or one cannot be, which keep() says.
    struct Storing
    {
        qint64 done = 0; ///< bytes
        qint64 total = 0;
    };
    std::optional<Storing> keepAttachmentsOn(const Composition &composition);

    /// The same version once more, as the newest. False when there is none of that serial.
    bool keepAgain(int serial);

    const std::vector<DraftJournal::Entry> &versions(); ///< the oldest first
    const DraftJournal::Entry *entry(int serial);       ///< null: there is none
    int newestSerial();                                 ///< 0: there is none

    /// One of them, its attachments with their bytes; those that are gone or damaged are left out and named
    /// in
    /// @p lost.
    Composition version(const DraftJournal::Entry &entry, QStringList *lost);
    Composition textOf(const DraftJournal::Entry &entry); ///< its attachments without their bytes

    /// Whether it had versions and none can be read.
    bool isLost() { return journal().isLost() || (versions().empty() && m_state.storedVersion != 0); }

    /// Takes its directory out of the way, as it is; where it is then. Null: it could not be.
    QString setAside();

    /// Lets go of what only writing needs.
    void rest();

    /// Removes its directory.
    void remove();

private:
    DraftJournal &journal();
    std::optional<QList<QByteArray>> keepContents(const Composition &composition);
    bool append(const Composition &composition, const QList<QByteArray> &contents, const QByteArray &text);
    bool makeDirectory();
    bool writeState();

    int m_number;
    QString m_directory;
    DraftState m_state;
    bool m_isOnDisk = false;
    std::unique_ptr<DraftJournal> m_journal;
    DraftContents m_contents;
    std::optional<QByteArray> m_newest; ///< the text of the newest version, to compare the next one with
};
