#include "ui/main/messagewindow.h"

#include "config/settings.h"
#include "ui/reader/messageview.h"
#include "ui/reader/readeractions.h"
#include "ui/texts/messagetexts.h"

#include <QAction>

using namespace Qt::StringLiterals;

namespace {
constexpr QSize kFirstSize(840, 640);
}

MessageWindow::MessageWindow(const Message &message, QWidget *parent)
    : QMainWindow(parent)
{
    setAttribute(Qt::WA_DeleteOnClose);
    setObjectName(u"messageWindow"_s);
    setWindowTitle(subjectOrNone(message.subject()));
    auto *view = new MessageView;
    setCentralWidget(view);
    auto *actions = new ReaderActions(*new ActionRegistry(this));
    actions->setReader(view);
    view->setHeaderActions({}, actions->moreActions());
    auto *close = new QAction(u"Close"_s, this);
    close->setShortcuts({QKeySequence(u"Ctrl+W"_s), QKeySequence(Qt::Key_Escape)});
    addAction(close);
    connect(close, &QAction::triggered, this, &QWidget::close);
    connect(view, &MessageView::linkActivated, this, &MessageWindow::linkActivated);
    view->showMessage(message);
    const QRect stored = windowGeometry(Setting::WindowSizeMsgViewer);
    resize(stored.isValid() ? stored.size() : kFirstSize);
    view->setFocus();
}
