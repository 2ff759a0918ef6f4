#include "ui/reader/partstree.h"

#include "config/directory.h"
#include "message/mimecontext.h"
#include "ui/look/askingbar.h"
#include "ui/look/hairline.h"
#include "ui/look/icons.h"
#include "ui/look/metrics.h"
#include "ui/look/toolbuttons.h"
#include "ui/reader/attachmentfiles.h"
#include "ui/reader/partsmodel.h"
#include "ui/reader/previewcontent.h"
#include "ui/reader/previewwindow.h"
#include "ui/reader/sourcewindow.h"
#include "ui/texts/harmless.h"

#include <QAction>
#include <QFileDialog>
#include <QFileInfo>
#include <QHeaderView>
#include <QKeyEvent>
#include <QToolBar>
#include <QTreeView>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace {

constexpr int kMostExpanded = 500; ///< parts; of more the tree is opened by hand
constexpr int kColumnCharacters[] = {40, 26, 13, 16, 12, 12};

} // namespace

PartsTree::PartsTree(const Message &message, QWidget *parent)
    : QWidget(parent, Qt::Window)
    , m_message(message)
    , m_model(new PartsModel(message, this))
    , m_view(new QTreeView(this))
    , m_bar(new AskingBar(this))
{
    setObjectName(u"partsTree"_s);
    setAttribute(Qt::WA_DeleteOnClose);
    const QString subject = harmlessLine(message.subject(), 200);
    setWindowTitle(subject.isEmpty() ? tr("Parts of the message") : tr("Parts of “%1”").arg(subject));
    m_view->setModel(m_model);
    m_view->setUniformRowHeights(true);
    m_view->setAllColumnsShowFocus(false);
    m_view->setFrameShape(QFrame::NoFrame);
    m_view->setAccessibleName(tr("Parts"));
    m_view->setContextMenuPolicy(Qt::ActionsContextMenu);
    m_view->setEditTriggers(QAbstractItemView::NoEditTriggers);
    for (int column = 0; column < m_model->columnCount(); ++column)
        m_view->setColumnWidth(column, columnWidth(kColumnCharacters[column]));
    if (message.mime().count() <= kMostExpanded)
        m_view->expandAll();
    else
        m_view->expandToDepth(0);
    build();
    connect(m_view, &QTreeView::activated, this, &PartsTree::preview);
    connect(m_view->selectionModel(), &QItemSelectionModel::currentChanged, this, &PartsTree::refreshActions);
    setCurrentPart(message.mime().count() > 0 ? 0 : -1);
    resize(columnWidth(124), textHeight() * 26);
    m_view->setFocus();
}

void PartsTree::build()
{
    QToolBar *bar = newToolBar(this);
    const auto add = [&](const char *name, const QString &text, const QString &icon, const QKeySequence &key,
                         auto slot) {
        auto *action = new QAction(::icon(icon), text, this);
        action->setObjectName(QString::fromLatin1(name));
        action->setShortcut(key);
        connect(action, &QAction::triggered, this, slot);
        addToToolBar(bar, action, true);
        m_view->addAction(action);
        return action;
    };
    m_preview = add("preview", tr("&Preview"), u"file-text"_s, Qt::Key_Space, [this] { preview(); });
    m_save = add("save", tr("&Save…"), u"download"_s, QKeySequence::Save, [this] { save(false); });
    add("raw", tr("As it &stands"), u"headers"_s, Qt::CTRL | Qt::Key_U, [this] { showRaw(); });
    add("saveRaw", tr("Save as it s&tands…"), u"save"_s, Qt::CTRL | Qt::SHIFT | Qt::Key_S,
        [this] { save(true); });
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(bar);
    layout->addWidget(new HairLine(Qt::Horizontal, this));
    layout->addWidget(m_bar);
    layout->addWidget(m_view, 1);
}

int PartsTree::currentPart() const
{
    return m_view->currentIndex().isValid() ? m_model->partAt(m_view->currentIndex()) : -1;
}

void PartsTree::setCurrentPart(int part)
{
    m_view->setCurrentIndex(m_model->indexOf(part));
    refreshActions();
}

void PartsTree::refreshActions()
{
    const int part = currentPart();
    m_preview->setEnabled(part >= 0 && previewKindOf(m_message, part) != PreviewKind::None);
    m_save->setEnabled(part >= 0 && !isMultipartCategory(m_message.mime().part(part).type));
}

void PartsTree::preview()
{
    const int part = currentPart();
    if (part < 0 || previewKindOf(m_message, part) == PreviewKind::None)
        return;
    auto *window = new PreviewWindow(m_message, {part}, part, this);
    connect(window, &PreviewWindow::messageWanted, this, &PartsTree::messageWanted);
    connect(window, &PreviewWindow::linkActivated, this, &PartsTree::linkActivated);
    window->show();
}

QByteArray PartsTree::rawPart(const Message &message, int part)
{
    if (part < 0)
        return message.text();
    return message.mime().rawHeader(part).toByteArray() + message.mime().rawContent(part).toByteArray();
}

void PartsTree::showRaw()
{
    const int part = currentPart();
    const QString name = part < 0 ? harmlessLine(m_message.subject(), 200) : attachmentName(m_message, part);
    (new SourceWindow(rawPart(m_message, part), name, this, name + u".eml"_s))->show();
}

void PartsTree::save(bool raw)
{
    const int part = currentPart();
    if (part < 0 && !raw)
        return;
    QString name = part < 0 ? tr("Message") : attachmentName(m_message, part);
    if (raw && !name.endsWith(u".eml"_s, Qt::CaseInsensitive))
        name += u".eml"_s;
    auto *dialog =
        new QFileDialog(this, raw ? tr("Save as it stands") : tr("Save part"), documentsDirectory());
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setAcceptMode(QFileDialog::AcceptSave); // asks before it replaces a file
    dialog->selectFile(name);
    connect(dialog, &QFileDialog::fileSelected, this,
            [this, part, raw](const QString &path) { write(part, raw, path); });
    dialog->open();
}

void PartsTree::write(int part, bool raw, const QString &path)
{
    const bool saved =
        raw ? writeWholeFile(path, rawPart(m_message, part)) : m_message.mime().savePart(part, path);
    if (saved)
        m_bar->tell(MessageBar::Kind::Good, tr("Saved as %1.").arg(path));
    else if (raw) // the other way has warned already
        m_bar->tell(MessageBar::Kind::Error, tr("“%1” could not be written.").arg(path));
}

void PartsTree::keyPressEvent(QKeyEvent *event)
{
    if (event->key() != Qt::Key_Escape)
        return QWidget::keyPressEvent(event);
    close();
}
