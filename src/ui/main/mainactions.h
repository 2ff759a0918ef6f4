#pragma once

#include "ui/actions/actionregistry.h"
#include "ui/list/messagesort.h"

#include <array>

class QMenu;

/// Everything that the main window does, as far as it exists; what concerns the message on the screen alone
/// is the reader's (readeractions.h). The order is that of the menus.
enum class Act {
    // File
    NewGroup,
    RenameGroup,
    MoveGroup,
    RemoveGroup,
    ImportFiles,
    ImportFolder,
    ExportGroup,
    SaveAs,
    CloseTab,
    ReopenTab,
    CloseWindow,
    Quit,
    // Edit
    Undo,
    Redo,
    Delete,
    DeleteForGood,
    SelectAllMessages,
    SelectThread,
    FilterText,
    // View
    Classic,
    Vertical,
    Wide,
    ReaderPane,
    GroupTreePane,
    Threads,
    DateHeadings,
    Columns,
    SortDescending,
    ExpandAll,
    CollapseAll,
    FilterUnread,
    FilterFlagged,
    FilterAttachments,
    ClearFilter,
    HideReadGroups,
    FullFolderNames,
    LookDesktop,
    LookLight,
    LookDark,
    LookHighContrast,
    Compact,
    SingleKeys,
    SeparateWindows,
    // Go
    ReadOn,
    Next,
    Previous,
    NextUnread,
    PreviousUnread,
    NextUnreadThread,
    GoToGroup,
    GroupInNewTab,
    NextTab,
    PreviousTab,
    NextPane,
    PreviousPane,
    // Message
    Open,
    Archive,
    MarkUnread,
    Flag,
    MarkThreadRead,
    MarkGroupRead,
    MarkReadByDate,
    Junk,
    NotJunk,
    Watch,
    Ignore,
    IgnoreSubthread,
    MoveTo,
    MoveAgain,
    CopyTo,
    FetchRest,
    DeleteOnServer,
    // Write
    Compose,
    ComposeArticle,
    ComposeTemplate,
    Reply,
    ReplyAll,
    FollowUp,
    ReplyTemplate,
    ReplyAllTemplate,
    Forward,
    ForwardAttached,
    ForwardBehind,
    ForwardTemplate,
    EditAsNew,
    Resend,
    EditOwn,
    SendNow,
    ChangeTime,
    TakeLastBack,
    // Tools
    GetMail,
    GetAllMail,
    SendWaiting,
    StopTransfers,
    Online,
    Transfers,
    Errors,
    NewAccount,
    Accounts,
    Identities,
    Templates,
    Options,
    AddBatchAccount,
    EmptyWasteBasket,
    EmptyJunk,
    CompactGroup,
    RepairGroup,
    // Help
    Palette,
    Keys,
    About,
};
constexpr int kActCount = int(Act::About) + 1;

constexpr int kTabKeys = 9; ///< Alt+1 to Alt+9
constexpr int kTagKeys = 9; ///< 1 to 9

/// What an action may need, see ActionRow::needs; bits 20 to 24 are the reader's (readeractions.h).
enum Need : unsigned {
    NeedsGroup = 1u << 0,     ///< one group is shown
    NeedsOwnGroup = 1u << 1,  ///< one that the user made
    NeedsMail = 1u << 2,      ///< it holds something
    NeedsUnread = 1u << 3,    ///< something unread
    NeedsSelection = 1u << 4, ///< messages are selected
    NeedsCurrent = 1u << 5,   ///< one is current
    NeedsUndo = 1u << 6,
    NeedsRedo = 1u << 7,
    NeedsClosedTab = 1u << 8,   ///< one that can be opened again
    NeedsTabs = 1u << 9,        ///< more than one is open
    NeedsTarget = 1u << 10,     ///< messages were moved somewhere before
    NeedsFilter = 1u << 11,     ///< the list is filtered
    NeedsWaste = 1u << 12,      ///< there is something in the waste basket
    NeedsJunk = 1u << 13,       ///< in the junk group
    NeedsTransfers = 1u << 14,  ///< something is being transferred
    NeedsHeaderOnly = 1u << 15, ///< of the current message only the header is here
    NeedsServer = 1u << 16,     ///< the current message came from an account that may delete it on the server
    NeedsWaiting = 1u << 17,    ///< something waits in the outbox
    NeedsOwnMessage = 1u << 18, ///< the current message is a draft, or waits in the outbox
    NeedsWaitingOne = 1u << 19, ///< the current message waits in the outbox
    NeedsCountdown = 1u << 28,  ///< something that was sent can still be taken back
};

/// The main window's actions, made in its registry.
class MainActions
{
public:
    explicit MainActions(ActionRegistry &registry);

    QAction *operator[](Act act) const { return m_actions[std::size_t(act)]; }

    /// Of the tab, or the tag, with this place, from 0.
    QAction *tab(int place) const { return m_tabs[std::size_t(place)]; }
    QAction *tag(int place) const { return m_tags[std::size_t(place)]; }
    QAction *noTags() const { return m_noTags; }

    /// Sorts by that column (messagesort.h).
    QAction *sort(MessageColumn column) const { return m_sorts[std::size_t(column)]; }

    /// The action that @p letter of a bar means; null for one that does not exist (yet).
    QAction *forLetter(char16_t letter, bool mainBar) const;

    /// Adds those between the two, in the order of the enum, with separators where the table has them.
    void addTo(QMenu *menu, Act first, Act last) const;

private:
    std::array<QAction *, kActCount> m_actions = {};
    std::array<QAction *, kTabKeys> m_tabs = {};
    std::array<QAction *, kTagKeys> m_tags = {};
    std::array<QAction *, kMessageColumnCount> m_sorts = {};
    QAction *m_noTags;
};
