#pragma once

#include <QAction>
#include <QObject>

#include <array>

/// Everything that the main window does on its own account, as far as it exists; the reader has its own
/// actions. Menus, bars and keys are made out of one table.
enum class Act {
    // File
    NewGroup,
    RenameGroup,
    RemoveGroup,
    ImportFiles,
    ImportFolder,
    ExportGroup,
    SaveAs,
    Quit,
    // Edit
    Undo,
    Delete,
    DeleteForGood,
    SelectAllMessages,
    SelectThread,
    // View
    Classic,
    Vertical,
    Wide,
    ReaderPane,
    Threads,
    ExpandAll,
    CollapseAll,
    LookDesktop,
    LookLight,
    LookDark,
    LookHighContrast,
    Compact,
    // Go
    Next,
    Previous,
    NextUnread,
    PreviousUnread,
    NextUnreadThread,
    GoToGroup,
    NextPane,
    PreviousPane,
    // Message
    Open,
    MarkUnread,
    Flag,
    MarkThreadRead,
    MarkGroupRead,
    Junk,
    NotJunk,
    Watch,
    Ignore,
    MoveTo,
    CopyTo,
    // Tools
    GetMail,
    Online,
    AddBatchAccount,
    RemoveAccount,
    EmptyWasteBasket,
    CompactGroup,
    RepairGroup,
    // Help
    Keys,
    About,
};
constexpr int kActCount = int(Act::About) + 1;

class QMenu;
class QMenuBar;

class MainActions : public QObject
{
    Q_OBJECT

public:
    /// The actions work wherever in @p window the focus is.
    explicit MainActions(QWidget *window);

    QAction *operator[](Act act) const { return m_actions[std::size_t(act)]; }

    /// The action that @p letter of a bar means; null for one that does not exist (yet).
    QAction *forLetter(char16_t letter, bool mainBar) const;

    /// Adds those between the two, in the order of the enum, with separators where the table has them.
    void addTo(QMenu *menu, Act first, Act last) const;

    /// Name and keys of every action that has keys, for the list of keys.
    QList<std::pair<QString, QString>> keys() const;

private:
    std::array<QAction *, kActCount> m_actions = {};
};
