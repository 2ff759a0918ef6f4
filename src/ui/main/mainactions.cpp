#include "ui/main/mainactions.h"

#include "ui/look/icons.h"

#include <QActionGroup>
#include <QMenu>
#include <QWidget>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

enum Trait : unsigned {
    Plain = 0,
    Checks = 1,
    Separates = 2, ///< a line stands before it in its menu
};

struct ActRow
{
    Act act;
    const char *text;
    const char *icon;
    const char *keys; ///< several separated by blanks
    unsigned traits = Plain;
};

constexpr std::array kActs = {
    ActRow{Act::NewGroup, "&New group…", "folder", ""},
    ActRow{Act::RenameGroup, "&Rename group…", "", "F2"},
    ActRow{Act::RemoveGroup, "Remo&ve group…", "", ""},
    ActRow{Act::ImportFiles, "&Import files…", "import", "", Separates},
    ActRow{Act::ImportFolder, "Import &folder…", "", ""},
    ActRow{Act::ExportGroup, "&Export group…", "", ""},
    ActRow{Act::SaveAs, "Save &message as…", "save", "Ctrl+S", Separates},
    ActRow{Act::Quit, "&Quit", "", "Ctrl+Q", Separates},
    ActRow{Act::Undo, "&Undo", "undo", "Ctrl+Z"},
    ActRow{Act::Delete, "&Delete", "delete", "Del", Separates},
    ActRow{Act::DeleteForGood, "Delete for &good…", "", "Shift+Del"},
    ActRow{Act::SelectAllMessages, "Select &all messages", "", "Ctrl+Shift+A", Separates},
    ActRow{Act::SelectThread, "Select &thread", "", "Ctrl+Shift+X"},
    ActRow{Act::Classic, "&Classic layout", "", "", Checks},
    ActRow{Act::Vertical, "&Vertical layout", "", "", Checks},
    ActRow{Act::Wide, "&Wide layout", "", "", Checks},
    ActRow{Act::ReaderPane, "&Message pane", "", "F8", Checks | Separates},
    ActRow{Act::Threads, "&Threads", "thread", "Ctrl+T", Checks | Separates},
    ActRow{Act::ExpandAll, "&Expand all threads", "", "*"},
    ActRow{Act::CollapseAll, "C&ollapse all threads", "", "\\"},
    ActRow{Act::LookDesktop, "As the deskto&p", "", "", Checks | Separates},
    ActRow{Act::LookLight, "&Light", "", "", Checks},
    ActRow{Act::LookDark, "&Dark", "", "", Checks},
    ActRow{Act::LookHighContrast, "&High contrast", "", "", Checks},
    ActRow{Act::Compact, "Close &rows", "", "", Checks | Separates},
    ActRow{Act::Next, "&Next message", "next", "F"},
    ActRow{Act::Previous, "&Previous message", "previous", "B"},
    ActRow{Act::NextUnread, "Next &unread", "next-unread", "N", Separates},
    ActRow{Act::PreviousUnread, "P&revious unread", "previous-unread", "P"},
    ActRow{Act::NextUnreadThread, "Next unread &thread", "", "T"},
    ActRow{Act::GoToGroup, "&Go to group…", "", "Ctrl+G", Separates},
    ActRow{Act::NextPane, "Next p&ane", "", "F6"},
    ActRow{Act::PreviousPane, "Previous pan&e", "", "Shift+F6"},
    ActRow{Act::Open, "&Open in a window", "mail-open", "Ctrl+O"},
    ActRow{Act::MarkUnread, "Mark as &unread", "mark-unread", "M", Separates},
    ActRow{Act::Flag, "&Flagged", "flag", "S", Checks},
    ActRow{Act::MarkThreadRead, "Mark &thread as read", "", "R"},
    ActRow{Act::MarkGroupRead, "Mark &all as read", "catch-up", "Shift+C"},
    ActRow{Act::Junk, "&Junk", "junk", "J", Separates},
    ActRow{Act::NotJunk, "&Not junk", "", "Shift+J"},
    ActRow{Act::Watch, "&Watch thread", "watched", "W", Checks | Separates},
    ActRow{Act::Ignore, "&Ignore thread", "ignored", "K", Checks},
    ActRow{Act::MoveTo, "&Move to…", "folder", "Ctrl+Alt+M", Separates},
    ActRow{Act::CopyTo, "&Copy to…", "copy", "Ctrl+Alt+C"},
    ActRow{Act::GetMail, "&Get mail", "get-mail", "F5 Shift+F5"},
    ActRow{Act::Online, "Work &offline", "online", ""},
    ActRow{Act::AddBatchAccount, "&Add a mailbox file…", "", "", Separates},
    ActRow{Act::RemoveAccount, "&Remove a mailbox file…", "", ""},
    ActRow{Act::EmptyWasteBasket, "&Empty waste basket…", "waste", "", Separates},
    ActRow{Act::CompactGroup, "&Compact group", "", ""},
    ActRow{Act::RepairGroup, "Re&pair group", "", ""},
    ActRow{Act::Keys, "&Keys", "keyboard", "F1"},
    ActRow{Act::About, "&About Velmar", "info", "", Separates},
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

struct LetterRow
{
    char16_t letter;
    Act act;
};
constexpr LetterRow kMainBar[] = {{u'M', Act::GetMail}, {u'L', Act::Online}};
constexpr LetterRow kGroupBar[] = {
    {u'C', Act::MarkGroupRead}, {u'D', Act::Delete}, {u'U', Act::MarkUnread}, {u'g', Act::Flag}};

QList<QKeySequence> keysIn(const char *keys)
{
    QList<QKeySequence> sequences;
    for (const QString &key : QString::fromLatin1(keys).split(u' ', Qt::SkipEmptyParts))
        sequences.append(QKeySequence(key));
    return sequences;
}

QString nameOf(const QAction *action)
{
    return action->text().remove(u'&').remove(u'…');
}

} // namespace

MainActions::MainActions(QWidget *window)
    : QObject(window)
{
    for (const ActRow &row : kActs) {
        auto *action = new QAction(QString::fromUtf8(row.text), this);
        if (*row.icon)
            action->setIcon(icon(QString::fromLatin1(row.icon)));
        action->setShortcuts(keysIn(row.keys));
        action->setCheckable(row.traits & Checks);
        action->setMenuRole(QAction::NoRole);
        m_actions[std::size_t(row.act)] = action;
        window->addAction(action);
    }
    for (const auto &[first, last] :
         {std::pair(Act::Classic, Act::Wide), std::pair(Act::LookDesktop, Act::LookHighContrast)}) {
        auto *group = new QActionGroup(this);
        for (int i = int(first); i <= int(last); ++i)
            group->addAction(m_actions[std::size_t(i)]);
    }
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
        if (kActs[std::size_t(i)].traits & Separates && !menu->isEmpty())
            menu->addSeparator();
        menu->addAction(m_actions[std::size_t(i)]);
    }
}

QList<std::pair<QString, QString>> MainActions::keys() const
{
    QList<std::pair<QString, QString>> list;
    for (const QAction *action : m_actions) {
        if (!action->shortcuts().isEmpty())
            list.append(
                {nameOf(action), QKeySequence::listToString(action->shortcuts(), QKeySequence::NativeText)});
    }
    return list;
}
