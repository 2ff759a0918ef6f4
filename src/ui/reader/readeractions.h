#pragma once

#include "ui/actions/actionregistry.h"

#include <QCoreApplication>
#include <QPointer>

#include <array>

class MessageView;
class QMenu;

/// What the reader can do by itself. A window has one set of these for all its readers.
enum class ReaderAction {
    SaveAttachments,
    SaveRaw,
    Copy,      ///< where the focus is
    SelectAll, ///< where the focus is
    Find,
    FindNext,
    FindPrevious,
    AllHeaders,
    PlainText, ///< of a message that has both forms, or HTML alone as text
    CharacterSet,
    Source,
    PartsTree,
    ShowRemote,  ///< pictures on the net, of this message and this once
    TrustSender, ///< the same, now and always
    ZoomIn,
    ZoomOut,
    ZoomReset,
};
constexpr int kReaderActionCount = int(ReaderAction::ZoomReset) + 1;

/// What a reader's actions need, as bits beside those of the window's own rows.
namespace readerneeds {
constexpr unsigned kMessageShown = 1U << 20;
constexpr unsigned kAttachmentsShown = 1U << 21;
constexpr unsigned kHtmlOffered = 1U << 22;    ///< there is a form with markup to choose or to leave
constexpr unsigned kRemoteBlocked = 1U << 23;  ///< pictures that may be asked for
constexpr unsigned kSenderNameable = 1U << 24; ///< one single sender, whom one could trust
constexpr unsigned kAll = kMessageShown | kAttachmentsShown | kHtmlOffered | kRemoteBlocked | kSenderNameable;
} // namespace readerneeds

/// Texts are translated in the context "ReaderActions".
constexpr std::array kReaderActions = {
    ActionRow{"reader.save-attachments", QT_TRANSLATE_NOOP("ReaderActions", "Save a&ttachments…"), "attach",
              "", readerneeds::kAttachmentsShown},
    ActionRow{"reader.save-raw", QT_TRANSLATE_NOOP("ReaderActions", "Save as &received…"), "save", "",
              readerneeds::kMessageShown},
    ActionRow{"reader.copy", QT_TRANSLATE_NOOP("ReaderActions", "&Copy"), "copy", "Ctrl+C Ctrl+Ins"},
    ActionRow{"reader.select-all", QT_TRANSLATE_NOOP("ReaderActions", "Select all te&xt"), "", "Ctrl+A"},
    ActionRow{"reader.find", QT_TRANSLATE_NOOP("ReaderActions", "&Find in message"), "search", "Ctrl+F",
              readerneeds::kMessageShown, ActionRow::Separates},
    ActionRow{"reader.find-next", QT_TRANSLATE_NOOP("ReaderActions", "Find &next"), "", "F3",
              readerneeds::kMessageShown},
    ActionRow{"reader.find-previous", QT_TRANSLATE_NOOP("ReaderActions", "Find &previous"), "", "Shift+F3",
              readerneeds::kMessageShown},
    ActionRow{"reader.all-headers", QT_TRANSLATE_NOOP("ReaderActions", "All &headers"), "headers", "Ctrl+H",
              readerneeds::kMessageShown, ActionRow::Checks},
    ActionRow{"reader.plain-text", QT_TRANSLATE_NOOP("ReaderActions", "As &plain text"), "file-text", "",
              readerneeds::kHtmlOffered, ActionRow::Checks},
    ActionRow{"reader.charset", QT_TRANSLATE_NOOP("ReaderActions", "Character &set"), "font", "",
              readerneeds::kMessageShown},
    ActionRow{"reader.source", QT_TRANSLATE_NOOP("ReaderActions", "So&urce"), "", "Ctrl+U",
              readerneeds::kMessageShown},
    ActionRow{"reader.parts", QT_TRANSLATE_NOOP("ReaderActions", "Parts &of the message"), "", "",
              readerneeds::kMessageShown},
    ActionRow{"reader.show-remote", QT_TRANSLATE_NOOP("ReaderActions", "Show remote &images once"), "image",
              "", readerneeds::kRemoteBlocked, ActionRow::Separates},
    ActionRow{"reader.trust-sender", QT_TRANSLATE_NOOP("ReaderActions", "&Always show this sender's images"),
              "", "", readerneeds::kRemoteBlocked | readerneeds::kSenderNameable},
    ActionRow{"reader.zoom-in", QT_TRANSLATE_NOOP("ReaderActions", "&Larger text"), "",
              "Ctrl++ Ctrl+=", readerneeds::kMessageShown, ActionRow::Separates},
    ActionRow{"reader.zoom-out", QT_TRANSLATE_NOOP("ReaderActions", "S&maller text"), "", "Ctrl+-",
              readerneeds::kMessageShown},
    ActionRow{"reader.zoom-reset", QT_TRANSLATE_NOOP("ReaderActions", "Text of usual si&ze"), "", "Ctrl+0",
              readerneeds::kMessageShown},
};
static_assert(kReaderActions.size() == kReaderActionCount);

constexpr const ActionRow &rowOf(ReaderAction which)
{
    return kReaderActions[std::size_t(which)];
}

/// The reader's actions of one window: forwards them to the reader of the moment and shows what that can do.
class ReaderActions : public QObject
{
    Q_OBJECT

public:
    /// Adds the rows to @p registry, which must outlive this.
    explicit ReaderActions(ActionRegistry &registry);

    /// The reader that they are for from now on; null for none.
    void setReader(MessageView *reader);

    QAction *operator[](ReaderAction which) const { return m_actions[std::size_t(which)]; }
    QMenu *charsetMenu() const { return m_charsets; }

    /// What belongs under "More" in a header card; a null pointer is a separator.
    QList<QAction *> moreActions() const;

    /// The bits of readerneeds that there are now; they belong to what is given to ActionRegistry::setHave.
    unsigned have() const;

signals:
    void haveChanged();

private:
    void trigger(ReaderAction which, bool checked);
    void update();
    void fillCharsets();

    ActionRegistry &m_registry;
    QPointer<MessageView> m_reader;
    QMenu *m_charsets;
    std::array<QAction *, kReaderActionCount> m_actions = {};
};
