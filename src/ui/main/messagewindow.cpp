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
    connect(&m_actions, &ReaderActions::haveChanged, this, [this] { m_registry.setHave(m_actions.have()); });
    m_actions.setReader(m_view);
    m_view->setHeaderActions({}, m_actions.moreActions());
    const QRect stored = windowGeometry(Setting::WindowSizeMsgViewer);
    resize(stored.isValid() ? stored.size() : kFirstSize);
    m_view->setFocus();
}

void MessageWindow::showMessage(const Message &message)
{
    setWindowTitle(harmlessLine(subjectOrNone(message.subject()), kLongestTitle) + u" - Velmar"_s);
    m_view->showMessage(message);
    m_registry.setHave(m_actions.have());
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
