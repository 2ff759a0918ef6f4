#include "ui/compose/composeattachments.h"

#include "config/reporter.h"
#include "message/contenttypes.h"
#include "message/safename.h"
#include "ui/look/colours.h"
#include "ui/look/icons.h"
#include "ui/look/metrics.h"
#include "ui/look/recolour.h"
#include "ui/reader/attachmentfiles.h"
#include "ui/reader/attachmentview.h"
#include "ui/texts/harmless.h"
#include "ui/texts/sizetext.h"

#include <QCoreApplication>
#include <QDragEnterEvent>
#include <QFile>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QMenu>
#include <QMimeData>
#include <QPainter>
#include <QUrl>

#include <algorithm>

using namespace Qt::StringLiterals;

std::optional<Attachment> readAttachment(const QString &path)
{
    QFile file(path);
    // only what is a file has an end: a device or a pipe would be read for ever
    if (QFileInfo(path).isFile() && file.open(QIODevice::ReadOnly)) {
        Attachment read;
        read.name = QFileInfo(path).fileName();
        read.contentType = contentTypeOf(read.name);
        read.data = file.readAll();
        if (file.error() == QFileDevice::NoError)
            return read;
    }
    report(ReportLevel::Warning, "%s",
           qPrintable(
               QCoreApplication::translate("ComposeAttachments", "Unable to attach file '%1'").arg(path)));
    return {};
}

void ComposeAttachmentModel::setAll(QList<Attachment> attachments)
{
    beginResetModel();
    std::stable_partition(attachments.begin(), attachments.end(),
                          [](const Attachment &each) { return !each.isInline(); });
    m_all = std::move(attachments);
    m_listed = int(
        std::count_if(m_all.begin(), m_all.end(), [](const Attachment &each) { return !each.isInline(); }));
    endResetModel();
    emit changed();
}

void ComposeAttachmentModel::add(const Attachment &attachment)
{
    if (attachment.isInline()) {
        m_all.append(attachment);
    } else {
        beginInsertRows({}, m_listed, m_listed);
        m_all.insert(m_listed++, attachment);
        endInsertRows();
    }
    emit changed();
}

void ComposeAttachmentModel::remove(int row)
{
    beginRemoveRows({}, row, row);
    m_all.removeAt(row);
    --m_listed;
    endRemoveRows();
    emit changed();
}

void ComposeAttachmentModel::rename(int row, const QString &name)
{
    m_all[row].name = safeFileName(name);
    emit dataChanged(index(row), index(row));
    emit changed();
}

int ComposeAttachmentModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : m_listed;
}

QVariant ComposeAttachmentModel::data(const QModelIndex &index, int role) const
{
    const Attachment &row = m_all[index.row()];
    const QString size = sizeText(row.data.size());
    const QString type = QString::fromLatin1(row.contentType.split(';').first());
    switch (role) {
    case Qt::DisplayRole:
    case Qt::EditRole: return row.name;
    case Qt::ToolTipRole: return asToolTip(row.name + u'\n' + type + u", "_s + size);
    case Qt::AccessibleTextRole: return u"%1, %2, %3"_s.arg(row.name, type, size);
    case AttachmentView::SizeRole: return size;
    case AttachmentView::IconRole: return iconOfType(type.toLatin1());
    default: return {};
    }
}

bool ComposeAttachmentModel::setData(const QModelIndex &index, const QVariant &value, int role)
{
    if (role != Qt::EditRole || value.toString().trimmed().isEmpty())
        return false;
    rename(index.row(), value.toString());
    return true;
}

Qt::ItemFlags ComposeAttachmentModel::flags(const QModelIndex &index) const
{
    return QAbstractListModel::flags(index) | Qt::ItemIsEditable;
}

ComposeAttachments::ComposeAttachments(QWidget *parent)
    : QWidget(parent)
    , m_model(new ComposeAttachmentModel(this))
    , m_view(new AttachmentView(this))
    , m_sum(new QLabel(this))
{
    setSurface(this, Role::Base);
    setAcceptDrops(true);
    m_view->setModel(m_model);
    m_view->setDragEnabled(false);
    m_view->setEditTriggers(QAbstractItemView::EditKeyPressed);
    m_view->setAccessibleName(tr("Attachments"));
    m_view->setContextMenuPolicy(Qt::CustomContextMenu);
    m_view->installEventFilter(this);
    setTextRole(m_sum, Role::Text2);
    setFontScale(m_sum, scale::small);
    auto *layout = new QHBoxLayout(this);
    layout->setContentsMargins(space::card, space::inner + 1, space::card, space::inner);
    layout->setSpacing(space::between);
    layout->addWidget(m_view, 1);
    layout->addWidget(m_sum);
    connect(m_model, &ComposeAttachmentModel::changed, this, &ComposeAttachments::refresh);
    connect(m_view, &QListView::activated, this,
            [this](const QModelIndex &index) { emit openWanted(m_model->attachment(index.row())); });
    connect(m_view, &QWidget::customContextMenuRequested, this,
            [this](const QPoint &position) { menu(m_view->viewport()->mapToGlobal(position)); });
    hide();
}

void ComposeAttachments::setLimit(qint64 bytes)
{
    m_limit = bytes;
    refresh();
}

qint64 ComposeAttachments::sum() const
{
    qint64 bytes = 0;
    for (const Attachment &each : m_model->all())
        bytes += each.data.size();
    return bytes;
}

void ComposeAttachments::refresh()
{
    const bool tooLarge = m_limit > 0 && sum() > m_limit;
    m_sum->setText(m_limit > 0 ? tr("%1 of %2").arg(sizeText(sum()), sizeText(m_limit)) : sizeText(sum()));
    setTextRole(m_sum, tooLarge ? Role::Error : Role::Text2);
    setVisible(m_model->rowCount() > 0);
    m_view->fitHeight();
}

void ComposeAttachments::removeSelected()
{
    QModelIndexList chosen = m_view->selectionModel()->selectedIndexes();
    std::sort(chosen.begin(), chosen.end());
    for (auto each = chosen.crbegin(); each != chosen.crend(); ++each)
        m_model->remove(each->row());
}

void ComposeAttachments::menu(const QPoint &globalPosition)
{
    const QModelIndex current = m_view->currentIndex();
    auto *menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    if (current.isValid()) {
        menu->addAction(icon(u"open"_s), tr("&Open"), this,
                        [this] { emit openWanted(m_model->attachment(m_view->currentIndex().row())); });
        menu->addAction(tr("Re&name"), this, [this] { m_view->edit(m_view->currentIndex()); });
        menu->addAction(icon(u"delete"_s), tr("&Remove"), this, &ComposeAttachments::removeSelected);
        menu->addSeparator();
    }
    menu->addAction(icon(u"attach"_s), tr("&Attach files…"), this, &ComposeAttachments::addWanted);
    menu->popup(globalPosition);
}

bool ComposeAttachments::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::FocusIn && !m_view->currentIndex().isValid())
        m_view->setCurrentIndex(m_model->index(0));
    if (event->type() == QEvent::KeyPress) {
        const int key = static_cast<QKeyEvent *>(event)->key();
        if (key == Qt::Key_Delete || key == Qt::Key_Backspace) {
            removeSelected();
            return true;
        }
    }
    return QWidget::eventFilter(watched, event);
}

void ComposeAttachments::changeEvent(QEvent *event)
{
    QWidget::changeEvent(event);
    if (event->type() == QEvent::FontChange && m_view) {
        m_view->doItemsLayout();
        m_view->fitHeight();
    }
}

void ComposeAttachments::dragEnterEvent(QDragEnterEvent *event)
{
    if (event->mimeData()->hasUrls())
        event->acceptProposedAction();
}

void ComposeAttachments::dropEvent(QDropEvent *event)
{
    QStringList paths;
    for (const QUrl &url : event->mimeData()->urls())
        if (url.isLocalFile())
            paths.append(url.toLocalFile());
    emit filesDropped(paths);
    event->acceptProposedAction();
}

void ComposeAttachments::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.fillRect(0, 0, width(), 1, colour(Role::Line));
}
