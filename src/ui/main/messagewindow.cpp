#include "ui/main/messagewindow.h"

#include "config/settings.h"
#include "ui/actions/commandpalette.h"
#include "ui/actions/keyhelp.h"
#include "ui/reader/messageview.h"
#include "ui/reader/targethint.h"
#include "ui/texts/harmless.h"
#include "ui/texts/messagetexts.h"

#include <QAction>

using namespace Qt::StringLiterals;

namespace {

constexpr QSize kFirstSize(840, 640);
constexpr int kLongestTitle = 200; ///< UTF-16 units
constexpr char kContext[] = "MessageWindow";

constexpr ActionRow kClose = {"file.close", QT_TRANSLATE_NOOP("MessageWindow", "&Close"), "close",
                              "Ctrl+W Esc"};
constexpr ActionRow kPalette = {"help.palette", QT_TRANSLATE_NOOP("MessageWindow", "Find an &action…"),
                                "search", "Ctrl+Shift+P"};
constexpr ActionRow kKeys = {"help.keys", QT_TRANSLATE_NOOP("MessageWindow", "&Keys"), "keyboard", "F1 ?"};

/// What is done to a message here is the main window's deed of the same name, on the message of this window.
constexpr unsigned kNeedsGroup = 1;
#define TEXT(words) QT_TRANSLATE_NOOP("MessageWindow", words)
constexpr ActionRow kDeeds[] = {
    {"go.previous", TEXT("&Previous message"), "previous", "B", kNeedsGroup},
    {"go.previousUnread", TEXT("P&revious unread"), "previous-unread", "P", kNeedsGroup},
    {"go.nextUnread", TEXT("Next &unread"), "next-unread", "N", kNeedsGroup},
    {"go.next", TEXT("&Next message"), "next", "F", kNeedsGroup},
    {"write.reply", TEXT("&Reply"), "reply", "Ctrl+R", kNeedsGroup},
    {"write.replyAll", TEXT("Reply to a&ll"), "reply-all", "Ctrl+Shift+R", kNeedsGroup},
    {"write.followUp", TEXT("Follow up to list or newsgro&up"), "follow-up", "Ctrl+Shift+L", kNeedsGroup},
    {"write.replyTemplate", TEXT("Reply with &template…"), "", "", kNeedsGroup},
    {"write.forward", TEXT("Forwar&d"), "forward", "Ctrl+L", kNeedsGroup},
    {"write.forwardAttached", TEXT("For&ward as attachment"), "", "", kNeedsGroup},
    {"write.editAsNew", TEXT("&Edit as new"), "", "Ctrl+E", kNeedsGroup},
    {"message.archive", TEXT("Archi&ve"), "archive", "A", kNeedsGroup},
    {"message.junk", TEXT("&Junk"), "junk", "J", kNeedsGroup},
    {"message.flag", TEXT("&Flagged"), "flag", "S", kNeedsGroup},
    {"message.unread", TEXT("Mark as read or &unread"), "mark-unread", "M", kNeedsGroup},
    {"edit.delete", TEXT("&Delete"), "delete", "Del", kNeedsGroup},
    {"edit.undo", TEXT("Und&o"), "undo", "Ctrl+Z", kNeedsGroup},
    {"file.saveAs", TEXT("&Save message as…"), "save", "Ctrl+S", kNeedsGroup},
};
#undef TEXT

} // namespace

MessageWindow::MessageWindow(RemoteContent &remote)
    : m_registry(this)
    , m_actions(m_registry)
    , m_view(new MessageView)
{
    setAttribute(Qt::WA_DeleteOnClose);
    setObjectName(u"messageWindow"_s);
    m_view->setRemoteContent(&remote);
    setCentralWidget(m_view);
    new TargetHint(m_view);
    connect(m_registry.add(kClose, kContext), &QAction::triggered, this, &QWidget::close);
    auto *palette = new CommandPalette(m_registry);
    connect(m_registry.add(kPalette, kContext), &QAction::triggered, palette, [palette] { palette->open(); });
    connect(m_registry.add(kKeys, kContext), &QAction::triggered, this, [this] { showKeyHelp(m_registry); });
    connect(m_view, &MessageView::linkActivated, this, &MessageWindow::linkActivated);
    connect(m_view, &MessageView::composeWanted, this, &MessageWindow::linkActivated);
    connect(m_view, &MessageView::messageWanted, this, &MessageWindow::messageWanted);
    connect(m_view, &MessageView::findFromWanted, this, &MessageWindow::findFromWanted);
    connect(&m_actions, &ReaderActions::haveChanged, this, &MessageWindow::updateHave);
    m_actions.setReader(m_view);
    addDeeds();
    const QRect stored = windowGeometry(Setting::WindowSizeMsgViewer);
    resize(stored.isValid() ? stored.size() : kFirstSize);
    m_view->setFocus();
}

void MessageWindow::addDeeds()
{
    for (const ActionRow &row : kDeeds) {
        const QString name = QString::fromLatin1(row.name);
        connect(m_registry.add(row, kContext), &QAction::triggered, this,
                [this, name] { emit deedWanted(name); });
    }
    const auto deed = [this](QStringView name) { return m_registry.find(name); };
    m_view->setHeaderActions({deed(u"go.previous"), deed(u"go.previousUnread"), deed(u"go.nextUnread"),
                              deed(u"go.next"), nullptr, deed(u"write.reply"), deed(u"write.replyAll"),
                              deed(u"write.forward"), nullptr, deed(u"message.archive"),
                              deed(u"message.junk"), deed(u"edit.delete")},
                             m_actions.moreActions());
}

void MessageWindow::updateHave()
{
    m_registry.setHave(m_actions.have() | (m_ref.isNull() ? 0 : kNeedsGroup));
}

void MessageWindow::showMessage(const Message &message, MessageRef ref, const ReaderMarks &marks)
{
    m_ref = ref;
    setWindowTitle(harmlessLine(subjectOrNone(message.subject()), kLongestTitle) + u" - Velmar"_s);
    m_view->showMessage(message, marks);
    updateHave();
}

void MessageWindow::setMarks(const ReaderMarks &marks)
{
    m_view->setMarks(marks);
}

void MessageWindow::comeForward()
{
    setWindowState(windowState() & ~Qt::WindowMinimized);
    show();
    raise();
    activateWindow();
}

void MessageWindow::closeEvent(QCloseEvent *event)
{
    if (normalGeometry().isValid())
        setWindowGeometry(Setting::WindowSizeMsgViewer, normalGeometry());
    QMainWindow::closeEvent(event);
}
