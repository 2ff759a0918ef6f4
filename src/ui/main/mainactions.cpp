#include "ui/main/mainactions.h"

#include <QAction>
#include <QActionGroup>
#include <QCoreApplication>
#include <QMenu>
#include <QWidget>

#include <algorithm>

namespace {

constexpr char kContext[] = "MainActions";
constexpr unsigned kChecks = ActionRow::Checks;
constexpr unsigned kSeparates = ActionRow::Separates;

struct ActRow
{
    Act act;
    ActionRow row;
};

#define TEXT(words) QT_TRANSLATE_NOOP("MainActions", words)

constexpr std::array kActs = {
    ActRow{Act::NewGroup, {"file.newGroup", TEXT("&New group…"), "folder", ""}},
    ActRow{Act::RenameGroup, {"file.renameGroup", TEXT("&Rename group…"), "", "F2", NeedsGroup}},
    ActRow{Act::MoveGroup, {"file.moveGroup", TEXT("&Move group…"), "", "", NeedsOwnGroup}},
    ActRow{Act::RemoveGroup, {"file.removeGroup", TEXT("Remo&ve group…"), "", "", NeedsOwnGroup}},
    ActRow{Act::ImportFiles,
           {"file.importFiles", TEXT("&Import files…"), "import", "", NeedsGroup, kSeparates}},
    ActRow{Act::ImportFolder, {"file.importFolder", TEXT("Import &folder…"), "", "", NeedsGroup}},
    ActRow{Act::ExportGroup, {"file.exportGroup", TEXT("&Export group…"), "", "", NeedsGroup | NeedsMail}},
    ActRow{Act::SaveAs,
           {"file.saveAs", TEXT("&Save message as…"), "save", "Ctrl+S", NeedsCurrent, kSeparates}},
    ActRow{Act::CloseTab, {"file.closeTab", TEXT("&Close tab"), "close", "Ctrl+W", NeedsTabs, kSeparates}},
    ActRow{Act::ReopenTab,
           {"file.reopenTab", TEXT("Re&open closed tab"), "", "Ctrl+Shift+T", NeedsClosedTab}},
    ActRow{Act::CloseWindow, {"file.closeWindow", TEXT("Close &window"), "", "Alt+F4", 0, kSeparates}},
    ActRow{Act::Quit, {"file.quit", TEXT("&Quit"), "", "Ctrl+Q"}},

    ActRow{Act::Undo, {"edit.undo", TEXT("&Undo"), "undo", "Ctrl+Z", NeedsUndo}},
    ActRow{Act::Redo, {"edit.redo", TEXT("&Redo"), "redo", "Ctrl+Shift+Z Ctrl+Y", NeedsRedo}},
    ActRow{Act::Delete,
           {"edit.delete", TEXT("&Delete"), "delete", "Del", NeedsSelection, kSeparates | ActionRow::Local}},
    ActRow{
        Act::DeleteForGood,
        {"edit.deleteForGood", TEXT("Delete for &good…"), "", "Shift+Del", NeedsSelection, ActionRow::Local}},
    ActRow{Act::SelectAllMessages,
           {"edit.selectAll", TEXT("Select &all messages"), "", "Ctrl+Shift+A", NeedsMail, kSeparates}},
    ActRow{Act::SelectThread,
           {"edit.selectThread", TEXT("Select &thread"), "", "Ctrl+Shift+X", NeedsCurrent}},
    ActRow{Act::FilterText,
           {"edit.filter", TEXT("Fi&lter this group"), "filter", "Ctrl+Shift+K /", 0, kSeparates}},

    ActRow{Act::Classic, {"view.classic", TEXT("&Classic layout"), "", "", 0, kChecks}},
    ActRow{Act::Vertical, {"view.vertical", TEXT("&Vertical layout"), "", "", 0, kChecks}},
    ActRow{Act::Wide, {"view.wide", TEXT("&Wide layout"), "", "", 0, kChecks}},
    ActRow{Act::ReaderPane, {"view.readerPane", TEXT("&Message pane"), "", "F8", 0, kChecks | kSeparates}},
    ActRow{Act::GroupTreePane, {"view.groupTree", TEXT("&Tree of groups"), "", "F9", 0, kChecks}},
    ActRow{Act::Threads, {"view.threads", TEXT("Th&reads"), "thread", "Ctrl+T", 0, kChecks | kSeparates}},
    ActRow{Act::DateHeadings, {"view.dateHeadings", TEXT("&Dates as headings"), "", "", 0, kChecks}},
    ActRow{Act::Columns, {"view.columns", TEXT("Colum&ns…"), "", ""}},
    ActRow{Act::SortDescending, {"view.sortDescending", TEXT("&Greatest first"), "", "", 0, kChecks}},
    ActRow{Act::ExpandAll, {"view.expandAll", TEXT("&Expand all threads"), "", "*", NeedsMail}},
    ActRow{Act::CollapseAll, {"view.collapseAll", TEXT("C&ollapse all threads"), "", "\\", NeedsMail}},
    ActRow{Act::FilterUnread,
           {"view.onlyUnread", TEXT("Only &unread"), "unread", "", 0, kChecks | kSeparates}},
    ActRow{Act::FilterFlagged, {"view.onlyFlagged", TEXT("Only &flagged"), "flag", "", 0, kChecks}},
    ActRow{Act::FilterAttachments,
           {"view.onlyAttachments", TEXT("Only with &attachments"), "attach", "", 0, kChecks}},
    ActRow{Act::ClearFilter, {"view.clearFilter", TEXT("Clear f&ilter"), "", "", NeedsFilter}},
    ActRow{Act::HideReadGroups,
           {"view.hideReadGroups", TEXT("&Hide read groups"), "", "", 0, kChecks | kSeparates}},
    ActRow{Act::FullFolderNames,
           {"view.fullNames", TEXT("&Groups with their whole path"), "", "", 0, kChecks}},
    ActRow{Act::LookDesktop, {"view.lookDesktop", TEXT("As the deskto&p"), "", "", 0, kChecks | kSeparates}},
    ActRow{Act::LookLight, {"view.lookLight", TEXT("&Light"), "", "", 0, kChecks}},
    ActRow{Act::LookDark, {"view.lookDark", TEXT("&Dark"), "", "", 0, kChecks}},
    ActRow{Act::LookHighContrast, {"view.lookHighContrast", TEXT("&High contrast"), "", "", 0, kChecks}},
    ActRow{Act::Compact, {"view.compact", TEXT("Compact &rows"), "", "", 0, kChecks | kSeparates}},
    ActRow{Act::SingleKeys,
           {"view.singleKeys", TEXT("Single &letters act"), "", "", 0, kChecks | kSeparates}},
    ActRow{Act::SeparateWindows,
           {"view.separateWindows", TEXT("Open in se&parate windows"), "", "", 0, kChecks}},

    ActRow{Act::ReadOn, {"go.readOn", TEXT("Read &on"), "", "Space", 0, ActionRow::Local}},
    ActRow{Act::Next, {"go.next", TEXT("&Next message"), "next", "F", 0, kSeparates}},
    ActRow{Act::Previous, {"go.previous", TEXT("&Previous message"), "previous", "B"}},
    ActRow{Act::NextUnread, {"go.nextUnread", TEXT("Next &unread"), "next-unread", "N", 0, kSeparates}},
    ActRow{Act::PreviousUnread, {"go.previousUnread", TEXT("P&revious unread"), "previous-unread", "P"}},
    ActRow{Act::NextUnreadThread, {"go.nextUnreadThread", TEXT("Next unread &thread"), "", "T"}},
    ActRow{Act::GoToGroup, {"go.group", TEXT("&Go to group…"), "", "Ctrl+G", 0, kSeparates}},
    ActRow{Act::GroupInNewTab, {"go.newTab", TEXT("Group in a new ta&b…"), "", "Ctrl+Shift+G"}},
    ActRow{Act::NextTab,
           {"go.nextTab", TEXT("Ne&xt tab"), "", "Ctrl+PgDown Ctrl+Tab", NeedsTabs, kSeparates}},
    ActRow{Act::PreviousTab,
           {"go.previousTab", TEXT("Previou&s tab"), "", "Ctrl+PgUp Ctrl+Shift+Tab", NeedsTabs}},
    ActRow{Act::NextPane, {"go.nextPane", TEXT("Next p&ane"), "", "F6", 0, kSeparates}},
    ActRow{Act::PreviousPane, {"go.previousPane", TEXT("Previous pan&e"), "", "Shift+F6"}},

    ActRow{Act::Open, {"message.open", TEXT("&Open in a window"), "mail-open", "Ctrl+O", NeedsCurrent}},
    ActRow{Act::Archive, {"message.archive", TEXT("Archi&ve"), "archive", "A", NeedsSelection, kSeparates}},
    ActRow{Act::MarkUnread,
           {"message.unread", TEXT("Mark as &unread"), "mark-unread", "M", NeedsSelection, kSeparates}},
    ActRow{Act::Flag, {"message.flag", TEXT("&Flagged"), "flag", "S", NeedsSelection, kChecks}},
    ActRow{Act::MarkThreadRead,
           {"message.threadRead", TEXT("Mark &thread as read"), "thread", "R", NeedsCurrent}},
    ActRow{Act::MarkGroupRead,
           {"message.allRead", TEXT("Mark &all as read"), "catch-up", "Shift+C", NeedsUnread}},
    ActRow{Act::MarkReadByDate,
           {"message.readByDate", TEXT("Mark read b&y date…"), "calendar", "C", NeedsGroup | NeedsUnread}},
    ActRow{Act::Junk, {"message.junk", TEXT("&Junk"), "junk", "J", NeedsSelection, kSeparates}},
    ActRow{Act::NotJunk, {"message.notJunk", TEXT("&Not junk"), "ok", "Shift+J", NeedsSelection}},
    ActRow{Act::Watch,
           {"message.watch", TEXT("&Watch thread"), "watched", "W", NeedsCurrent, kChecks | kSeparates}},
    ActRow{Act::Ignore, {"message.ignore", TEXT("&Ignore thread"), "ignored", "K", NeedsCurrent, kChecks}},
    ActRow{Act::IgnoreSubthread,
           {"message.ignoreSubthread", TEXT("Ignore &subthread"), "", "Shift+K", NeedsCurrent}},
    ActRow{Act::MoveTo,
           {"message.move", TEXT("&Move to…"), "folder", "Ctrl+Alt+M", NeedsSelection, kSeparates}},
    ActRow{Act::MoveAgain,
           {"message.moveAgain", TEXT("Mov&e again"), "", "Ctrl+Shift+M", NeedsSelection | NeedsTarget}},
    ActRow{Act::CopyTo, {"message.copy", TEXT("&Copy to…"), "copy", "Ctrl+Alt+C", NeedsSelection}},
    ActRow{Act::FetchRest,
           {"message.fetchRest", TEXT("Fetc&h the rest"), "download", "", NeedsHeaderOnly, kSeparates}},
    ActRow{Act::DeleteOnServer,
           {"message.deleteOnServer", TEXT("De&lete on the server"), "", "", NeedsServer}},

    ActRow{Act::Compose, {"write.new", TEXT("&New message"), "compose", "Ctrl+N"}},
    ActRow{Act::ComposeArticle, {"write.newArticle", TEXT("Ne&w article"), "newsgroup", ""}},
    ActRow{Act::ComposeTemplate, {"write.newTemplate", TEXT("New fro&m template…"), "template", ""}},
    ActRow{Act::Reply, {"write.reply", TEXT("&Reply"), "reply", "Ctrl+R", NeedsCurrent, kSeparates}},
    ActRow{Act::ReplyAll,
           {"write.replyAll", TEXT("Reply to &all"), "reply-all", "Ctrl+Shift+R", NeedsCurrent}},
    ActRow{Act::FollowUp,
           {"write.followUp", TEXT("Follow up to &list or newsgroup"), "follow-up", "Ctrl+Shift+L",
            NeedsCurrent}},
    ActRow{Act::ReplyTemplate, {"write.replyTemplate", TEXT("Re&ply with template…"), "", "", NeedsCurrent}},
    ActRow{Act::ReplyAllTemplate,
           {"write.replyAllTemplate", TEXT("Repl&y to all with template…"), "", "", NeedsCurrent}},
    ActRow{Act::Forward,
           {"write.forward", TEXT("&Forward"), "forward", "Ctrl+L", NeedsSelection, kSeparates}},
    ActRow{Act::ForwardAttached,
           {"write.forwardAttached", TEXT("Forward as a&ttachment"), "", "", NeedsSelection}},
    ActRow{Act::ForwardBehind,
           {"write.forwardBehind", TEXT("Forward, marked “(fw&d)” behind"), "", "", NeedsSelection}},
    ActRow{Act::ForwardTemplate,
           {"write.forwardTemplate", TEXT("F&orward with template…"), "", "", NeedsSelection}},
    ActRow{Act::EditAsNew, {"write.editAsNew", TEXT("&Edit as new"), "", "Ctrl+E", NeedsCurrent, kSeparates}},
    ActRow{Act::Resend, {"write.resend", TEXT("&Send on unchanged…"), "", "", NeedsCurrent}},
    ActRow{Act::EditOwn, {"write.editOwn", TEXT("&Go on writing"), "drafts", "", NeedsOwnMessage}},
    ActRow{Act::SendNow,
           {"write.sendNow", TEXT("Send t&his one now"), "send", "", NeedsWaitingOne, kSeparates}},
    ActRow{Act::ChangeTime, {"write.changeTime", TEXT("&Change time…"), "", "", NeedsWaitingOne}},
    ActRow{Act::TakeLastBack,
           {"write.takeBack", TEXT("&Undo sending"), "undo", "Ctrl+Alt+Z", NeedsCountdown}},

    ActRow{Act::GetMail, {"tools.getMail", TEXT("&Get mail"), "get-mail", "F5"}},
    ActRow{Act::GetAllMail, {"tools.getAllMail", TEXT("Get &all mail"), "", "Shift+F5"}},
    ActRow{Act::SendWaiting, {"tools.sendWaiting", TEXT("Send waiting &messages"), "send", "", NeedsWaiting}},
    ActRow{Act::StopTransfers, {"tools.stop", TEXT("&Stop transfers"), "stop", "", NeedsTransfers}},
    ActRow{Act::Online, {"tools.online", TEXT("Work &offline"), "online", ""}},
    ActRow{Act::Transfers, {"tools.transfers", TEXT("T&ransfers…"), "transfers", "", 0, kSeparates}},
    ActRow{Act::Errors, {"tools.errors", TEXT("Errors and &notices…"), "error", ""}},
    ActRow{Act::NewAccount, {"tools.newAccount", TEXT("Ne&w account…"), "mail", "", 0, kSeparates}},
    ActRow{Act::Accounts, {"tools.accounts", TEXT("Acco&unts…"), "settings", ""}},
    ActRow{Act::Identities, {"tools.identities", TEXT("&Identities…"), "identity", ""}},
    ActRow{Act::Templates, {"tools.templates", TEXT("Temp&lates…"), "template", ""}},
    ActRow{Act::Options, {"tools.options", TEXT("Op&tions…"), "appearance", "Ctrl+,"}},
    ActRow{Act::AddBatchAccount, {"tools.addMailbox", TEXT("A&dd a mailbox file…"), "", ""}},
    ActRow{Act::EmptyWasteBasket,
           {"tools.emptyWaste", TEXT("&Empty waste basket…"), "waste", "", NeedsWaste, kSeparates}},
    ActRow{Act::EmptyJunk, {"tools.emptyJunk", TEXT("Empty &junk…"), "", "", NeedsJunk}},
    ActRow{Act::CompactGroup, {"tools.compact", TEXT("&Compact group"), "", "", NeedsGroup}},
    ActRow{Act::RepairGroup, {"tools.repair", TEXT("Re&pair group"), "", "", NeedsGroup}},

    ActRow{Act::Palette, {"help.palette", TEXT("&Find an action…"), "search", "Ctrl+Shift+P"}},
    ActRow{Act::Keys, {"help.keys", TEXT("&Keys"), "keyboard", "F1 ?"}},
    ActRow{Act::About, {"help.about", TEXT("&About Velmar"), "info", "", 0, kSeparates}},
};
static_assert(kActs.size() == kActCount);

constexpr bool isInOrder()
{
    for (std::size_t i = 0; i < kActs.size(); ++i) {
        if (kActs[i].act != Act(i))
            return false;
    }
    return true;
}
static_assert(isInOrder(), "a row's place is its action");

constexpr std::array<ActionRow, kTabKeys> kTabs = {{
    {"go.tab1", TEXT("Tab 1"), "", "Alt+1", NeedsTabs, ActionRow::Hidden},
    {"go.tab2", TEXT("Tab 2"), "", "Alt+2", NeedsTabs, ActionRow::Hidden},
    {"go.tab3", TEXT("Tab 3"), "", "Alt+3", NeedsTabs, ActionRow::Hidden},
    {"go.tab4", TEXT("Tab 4"), "", "Alt+4", NeedsTabs, ActionRow::Hidden},
    {"go.tab5", TEXT("Tab 5"), "", "Alt+5", NeedsTabs, ActionRow::Hidden},
    {"go.tab6", TEXT("Tab 6"), "", "Alt+6", NeedsTabs, ActionRow::Hidden},
    {"go.tab7", TEXT("Tab 7"), "", "Alt+7", NeedsTabs, ActionRow::Hidden},
    {"go.tab8", TEXT("Tab 8"), "", "Alt+8", NeedsTabs, ActionRow::Hidden},
    {"go.tab9", TEXT("Tab 9"), "", "Alt+9", NeedsTabs, ActionRow::Hidden},
}};

constexpr std::array<ActionRow, kTagKeys> kTags = {{
    {"tag.1", TEXT("Tag 1"), "tag", "1", NeedsSelection, ActionRow::Checks},
    {"tag.2", TEXT("Tag 2"), "tag", "2", NeedsSelection, ActionRow::Checks},
    {"tag.3", TEXT("Tag 3"), "tag", "3", NeedsSelection, ActionRow::Checks},
    {"tag.4", TEXT("Tag 4"), "tag", "4", NeedsSelection, ActionRow::Checks},
    {"tag.5", TEXT("Tag 5"), "tag", "5", NeedsSelection, ActionRow::Checks},
    {"tag.6", TEXT("Tag 6"), "tag", "6", NeedsSelection, ActionRow::Checks},
    {"tag.7", TEXT("Tag 7"), "tag", "7", NeedsSelection, ActionRow::Checks},
    {"tag.8", TEXT("Tag 8"), "tag", "8", NeedsSelection, ActionRow::Checks},
    {"tag.9", TEXT("Tag 9"), "tag", "9", NeedsSelection, ActionRow::Checks},
}};
constexpr std::array<ActionRow, kMessageColumnCount> kSorts = {{
    {"view.sortState", TEXT("Sort by s&tate"), "mail", "", 0, kChecks},
    {"view.sortFlag", TEXT("Sort by &flag"), "flag", "", 0, kChecks},
    {"view.sortSubject", TEXT("Sort by &subject"), "", "", 0, kChecks},
    {"view.sortAttachments", TEXT("Sort by &attachments"), "attach", "", 0, kChecks},
    {"view.sortPerson", TEXT("Sort by &person"), "person", "", 0, kChecks},
    {"view.sortScore", TEXT("Sort by s&core"), "", "", 0, kChecks},
    {"view.sortDate", TEXT("Sort by &date"), "calendar", "", 0, kChecks},
    {"view.sortSize", TEXT("Sort by si&ze"), "", "", 0, kChecks},
    {"view.sortThread", TEXT("Sort by t&hread"), "thread", "", 0, kChecks},
}};

constexpr ActionRow kNoTags = {"tag.none", TEXT("&No tags"), "", "0", NeedsSelection};

#undef TEXT

struct LetterRow
{
    char16_t letter;
    Act act;
};
constexpr LetterRow kMainBar[] = {
    {u'M', Act::GetMail}, {u'N', Act::Compose}, {u'L', Act::Online}, {u't', Act::Transfers}};
constexpr LetterRow kGroupBar[] = {{u'C', Act::MarkGroupRead}, {u'D', Act::Delete},  {u'U', Act::MarkUnread},
                                   {u'g', Act::Flag},          {u'R', Act::Reply},   {u'r', Act::ReplyAll},
                                   {u'F', Act::Forward},       {u'f', Act::FollowUp}};

void makeExclusive(const MainActions &actions, Act first, Act last)
{
    auto *group = new QActionGroup(actions[first]);
    for (int i = int(first); i <= int(last); ++i)
        group->addAction(actions[Act(i)]);
}

} // namespace

MainActions::MainActions(ActionRegistry &registry)
{
    for (const ActRow &row : kActs)
        m_actions[std::size_t(row.act)] = registry.add(row.row, kContext);
    for (std::size_t i = 0; i < kTags.size(); ++i)
        m_tags[i] = registry.add(kTags[i], kContext);
    m_noTags = registry.add(kNoTags, kContext);
    auto *sorts = new QActionGroup(m_noTags);
    for (std::size_t i = 0; i < kSorts.size(); ++i)
        sorts->addAction(m_sorts[i] = registry.add(kSorts[i], kContext));
    for (std::size_t i = 0; i < kTabs.size(); ++i)
        m_tabs[i] = registry.add(kTabs[i], kContext);
    makeExclusive(*this, Act::Classic, Act::Wide);
    makeExclusive(*this, Act::LookDesktop, Act::LookHighContrast);
}

QAction *MainActions::forLetter(char16_t letter, bool mainBar) const
{
    const auto find = [&](const auto &rows) -> QAction * {
        const auto row = std::find_if(std::begin(rows), std::end(rows), [letter](const LetterRow &candidate) {
            return candidate.letter == letter;
        });
        return row == std::end(rows) ? nullptr : (*this)[row->act];
    };
    return mainBar ? find(kMainBar) : find(kGroupBar);
}

void MainActions::addTo(QMenu *menu, Act first, Act last) const
{
    for (int i = int(first); i <= int(last); ++i) {
        if (kActs[std::size_t(i)].row.traits & kSeparates && !menu->isEmpty())
            menu->addSeparator();
        menu->addAction(m_actions[std::size_t(i)]);
    }
}
