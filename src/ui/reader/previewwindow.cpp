#include "ui/reader/previewwindow.h"

#include "ui/look/askingbar.h"
#include "ui/look/elidedlabel.h"
#include "ui/look/hairline.h"
#include "ui/look/icons.h"
#include "ui/look/metrics.h"
#include "ui/look/recolour.h"
#include "ui/look/toolbuttons.h"
#include "ui/reader/attachmentactions.h"
#include "ui/reader/attachmentfiles.h"
#include "ui/reader/cardpane.h"
#include "ui/reader/messageview.h"
#include "ui/reader/picturepane.h"
#include "ui/reader/previewcontent.h"
#include "ui/reader/readeractions.h"
#include "ui/reader/sourcetext.h"
#include "ui/reader/targethint.h"

#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QToolBar>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

PreviewWindow::PreviewWindow(const Message &message, const QList<int> &parts, int part, QWidget *parent)
    : QWidget(parent, Qt::Window)
    , m_message(message)
    , m_layout(new QVBoxLayout(this))
    , m_bar(new AskingBar(this))
    , m_actions(new AttachmentActions(m_bar, this))
    , m_name(new ElidedLabel({}, this))
    , m_count(new QLabel(this))
{
    setObjectName(u"preview"_s);
    setAttribute(Qt::WA_DeleteOnClose);
    for (const int each : parts)
        if (previewKindOf(message, each) != PreviewKind::None)
            m_parts.append(each);
    build();
    resize(columnWidth(96), textHeight() * 36);
    go(std::max(0, int(m_parts.indexOf(part))));
}

QAction *PreviewWindow::newAction(const char *name, const QString &text, const QString &icon,
                                  const QKeySequence &key, void (PreviewWindow::*slot)())
{
    auto *action = new QAction(icon.isEmpty() ? QIcon() : ::icon(icon), text, this);
    action->setObjectName(QString::fromLatin1(name));
    action->setShortcut(key);
    connect(action, &QAction::triggered, this, slot);
    addAction(action);
    return action;
}

void PreviewWindow::build()
{
    QToolBar *bar = newToolBar(this);
    m_previous = newAction("previous", tr("Previous"), u"chevron-left"_s, Qt::ALT | Qt::Key_Left,
                           &PreviewWindow::showPrevious);
    m_next =
        newAction("next", tr("Next"), u"chevron-right"_s, Qt::ALT | Qt::Key_Right, &PreviewWindow::showNext);
    m_copy = newAction("copyPicture", tr("Copy image"), u"copy"_s, QKeySequence::Copy,
                       &PreviewWindow::copyPicture);
    m_ownWindow =
        newAction("ownWindow", tr("Open as a message"), u"mail-open"_s, {}, &PreviewWindow::requestWindow);
    addToToolBar(bar, m_previous);
    addToToolBar(bar, m_next);
    bar->addSeparator();
    addToToolBar(bar, m_copy);
    addToToolBar(bar, m_ownWindow);
    addToToolBar(bar,
                 newAction("open", tr("Open"), u"open"_s, Qt::CTRL | Qt::Key_O, &PreviewWindow::openPart));
    addToToolBar(bar,
                 newAction("save", tr("Save…"), u"download"_s, QKeySequence::Save, &PreviewWindow::savePart));
    addToToolBar(bar, newAction("openWith", tr("Open with…"), u"more"_s, {}, &PreviewWindow::openPartWith));
    newAction("find", tr("Find"), u"search"_s, QKeySequence::Find, &PreviewWindow::find);
    newAction("findNext", tr("Find next"), {}, Qt::Key_F3, &PreviewWindow::findNext);
    newAction("findPrevious", tr("Find previous"), {}, Qt::SHIFT | Qt::Key_F3, &PreviewWindow::findPrevious);
    setFontScale(m_name, 1, QFont::DemiBold);
    setTextRole(m_count, Role::Text2);
    auto *top = new QHBoxLayout;
    top->setContentsMargins(space::card, space::inner, space::between, space::inner);
    top->setSpacing(space::between);
    top->addWidget(m_name, 1);
    top->addWidget(m_count);
    top->addWidget(bar);
    m_layout->setContentsMargins(0, 0, 0, 0);
    m_layout->setSpacing(0);
    m_layout->addLayout(top);
    m_layout->addWidget(new HairLine(Qt::Horizontal, this));
    m_layout->addWidget(m_bar);
    m_actions->setMessage(m_message);
}

void PreviewWindow::go(int index)
{
    if (index < 0 || index >= m_parts.size() || index == m_at)
        return;
    m_at = index;
    delete m_content;
    m_bar->hide();
    m_content = newPreview(m_message, part(), this);
    m_layout->addWidget(m_content, 1);
    m_content->show();
    m_content->setFocus();
    const QString name = attachmentName(m_message, part());
    m_name->setText(name);
    setWindowTitle(name);
    m_count->setText(m_parts.size() > 1 ? tr("%1 of %2").arg(index + 1).arg(m_parts.size()) : QString());
    m_previous->setEnabled(index > 0);
    m_next->setEnabled(index + 1 < m_parts.size());
    connectContent();
}

void PreviewWindow::connectContent()
{
    const auto *picture = qobject_cast<PicturePane *>(m_content);
    m_copy->setEnabled(picture && !picture->image().isNull());
    m_copy->setVisible(picture);
    auto *message = qobject_cast<MessageView *>(m_content);
    m_ownWindow->setVisible(message);
    if (message) {
        new TargetHint(message);
        connect(message, &MessageView::linkActivated, this, &PreviewWindow::linkActivated);
        connect(message, &MessageView::composeWanted, this, &PreviewWindow::linkActivated);
        connect(message, &MessageView::messageWanted, this, &PreviewWindow::messageWanted);
    }
    if (const auto *cards = qobject_cast<CardPane *>(m_content))
        connect(cards, &CardPane::linkActivated, this, &PreviewWindow::linkActivated);
}

void PreviewWindow::openPart()
{
    m_actions->open(part());
}

void PreviewWindow::openPartWith()
{
    m_actions->openWith(part());
}

void PreviewWindow::savePart()
{
    m_actions->save({part()});
}

void PreviewWindow::copyPicture()
{
    if (const auto *picture = qobject_cast<PicturePane *>(m_content))
        QApplication::clipboard()->setImage(picture->image());
}

void PreviewWindow::requestWindow()
{
    if (const auto *view = qobject_cast<MessageView *>(m_content))
        emit messageWanted(view->message());
}

void PreviewWindow::find()
{
    if (auto *text = qobject_cast<SourceText *>(m_content))
        text->find();
    else if (auto *message = qobject_cast<MessageView *>(m_content))
        message->perform(ReaderAction::Find);
}

void PreviewWindow::findNext()
{
    if (auto *text = qobject_cast<SourceText *>(m_content))
        text->findNext();
    else if (auto *message = qobject_cast<MessageView *>(m_content))
        message->perform(ReaderAction::FindNext);
}

void PreviewWindow::findPrevious()
{
    if (auto *text = qobject_cast<SourceText *>(m_content))
        text->findPrevious();
    else if (auto *message = qobject_cast<MessageView *>(m_content))
        message->perform(ReaderAction::FindPrevious);
}

void PreviewWindow::keyPressEvent(QKeyEvent *event)
{
    const bool onPicture = qobject_cast<PicturePane *>(m_content);
    switch (event->key()) {
    case Qt::Key_Escape: close(); return;
    case Qt::Key_Left:
    case Qt::Key_Right:
        if (onPicture)
            return (event->key() == Qt::Key_Right) != isRightToLeft() ? showNext() : showPrevious();
        break;
    case Qt::Key_Space:
        if (onPicture) {
            close(); // as it was opened
            return;
        }
        break;
    default: break;
    }
    QWidget::keyPressEvent(event);
}
