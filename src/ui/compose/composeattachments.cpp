#include "ui/compose/composeattachments.h"

#include "message/safename.h"
#include "ui/compose/smallpicture.h"
#include "ui/look/colours.h"
#include "ui/look/icons.h"
#include "ui/look/metrics.h"
#include "ui/look/progressline.h"
#include "ui/look/recolour.h"
#include "ui/reader/attachmentfiles.h"
#include "ui/reader/attachmentview.h"
#include "ui/texts/harmless.h"
#include "ui/texts/sizetext.h"

#include <QApplication>
#include <QDragEnterEvent>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QMenu>
#include <QMimeData>
#include <QPainter>
#include <QUrl>

#include <algorithm>
#include <cmath>

using namespace Qt::StringLiterals;

namespace {

// Base64: four bytes for three, a line end after 76.
constexpr int kEncodedLine = 78;
constexpr int kBytesOfLine = 57;
constexpr qint64 kUsualLimit = 25'000'000; ///< on its way: more than that, many servers refuse
constexpr int kPause = 40;                 ///< milliseconds between two small pictures: keys go first
constexpr int kLongestName = 40;           ///< of a file whose reading is shown

} // namespace

QStringList localFilesIn(const QMimeData *data)
{
    QStringList paths;
    for (const QUrl &url : data->urls())
        if (url.isLocalFile())
            paths.append(url.toLocalFile());
    return paths;
}

ComposeAttachmentModel::ComposeAttachmentModel(QObject *parent)
    : QAbstractListModel(parent)
    , m_files(AttachmentFiles::common())
{
    m_picturing.setInterval(kPause);
    connect(&m_picturing, &QTimer::timeout, this, &ComposeAttachmentModel::makePicture);
}

void ComposeAttachmentModel::setAll(QList<Attachment> attachments)
{
    beginResetModel();
    std::stable_partition(attachments.begin(), attachments.end(),
                          [](const Attachment &each) { return !each.isInline(); });
    m_all = std::move(attachments);
    m_listed = int(
        std::count_if(m_all.begin(), m_all.end(), [](const Attachment &each) { return !each.isInline(); }));
    m_pictures = QList<std::optional<QImage>>(m_listed);
    endResetModel();
    m_picturing.start();
    emit changed();
}

void ComposeAttachmentModel::add(const Attachment &attachment)
{
    if (attachment.isInline()) {
        m_all.append(attachment);
    } else {
        beginInsertRows({}, m_listed, m_listed);
        m_all.insert(m_listed++, attachment);
        m_pictures.append(std::nullopt);
        endInsertRows();
        m_picturing.start();
    }
    emit changed();
}

void ComposeAttachmentModel::remove(int row)
{
    beginRemoveRows({}, row, row);
    m_all.removeAt(row);
    m_pictures.removeAt(row);
    --m_listed;
    endRemoveRows();
    emit changed();
}

/// One at a time: a message may have a hundred of them.
void ComposeAttachmentModel::makePicture()
{
    const int side = int(std::ceil(AttachmentView::pictureSide() * qApp->devicePixelRatio()));
    for (int row = 0; row < m_listed; ++row) {
        std::optional<QImage> &picture = m_pictures[row];
        if (picture)
            continue;
        picture = QImage();
        if (!m_all[row].contentType.startsWith("image/"))
            continue;
        picture = smallPictureOf(m_all[row].data, side);
        if (!picture->isNull())
            emit dataChanged(index(row), index(row));
        return;
    }
    m_picturing.stop();
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
    case AttachmentView::PictureRole: return m_pictures[index.row()].value_or(QImage());
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
    return QAbstractListModel::flags(index) | Qt::ItemIsEditable | Qt::ItemIsDragEnabled;
}

QStringList ComposeAttachmentModel::mimeTypes() const
{
    return {u"text/uri-list"_s};
}

QMimeData *ComposeAttachmentModel::mimeData(const QModelIndexList &indexes) const
{
    QList<QUrl> urls;
    for (const QModelIndex &index : indexes) {
        const Attachment &each = m_all[index.row()];
        if (const QString path = m_files->copyOf(each.name, each.data); !path.isEmpty())
            urls.append(QUrl::fromLocalFile(path));
    }
    auto *data = new QMimeData;
    data->setUrls(urls);
    return data;
}

ComposeAttachments::ComposeAttachments(QWidget *parent)
    : QWidget(parent)
    , m_model(new ComposeAttachmentModel(this))
    , m_view(new AttachmentView(this))
    , m_sum(new QLabel(this))
    , m_progress(new ProgressLine(this))
    , m_loader(new AttachmentLoader(this))
{
    setSurface(this, Role::Base);
    setAcceptDrops(true);
    m_view->setModel(m_model);
    m_view->setRemovable(true);
    m_view->setEditTriggers(QAbstractItemView::EditKeyPressed);
    m_view->setAccessibleName(tr("Attachments"));
    m_view->setContextMenuPolicy(Qt::CustomContextMenu);
    m_view->installEventFilter(this);
    setTextRole(m_sum, Role::Text2);
    setFontScale(m_sum, scale::small);
    m_sum->setContentsMargins(0, 0, 0, space::inner); // the cards have more room below
    auto *layout = new QHBoxLayout(this);
    layout->setContentsMargins(space::card, space::inner + 1, space::card, 0);
    layout->setSpacing(space::between);
    layout->addWidget(m_view, 1);
    layout->addWidget(m_progress);
    layout->addWidget(m_sum);
    connect(m_model, &ComposeAttachmentModel::changed, this, &ComposeAttachments::refresh);
    connect(m_view, &QListView::activated, this,
            [this](const QModelIndex &index) { emit openWanted(m_model->attachment(index.row())); });
    connect(m_view, &AttachmentView::removeClicked, this,
            [this](const QModelIndex &index) { m_model->remove(index.row()); });
    connect(m_loader, &AttachmentLoader::loaded, m_model, &ComposeAttachmentModel::add);
    connect(m_loader, &AttachmentLoader::progressed, this,
            [this](const QString &name, qint64 done, qint64 whole) {
                m_progress->setProgress(tr("Attaching %1").arg(harmlessLine(name, kLongestName)), done,
                                        whole);
                refresh();
            });
    connect(m_loader, &AttachmentLoader::finished, this, [this] {
        m_progress->finish();
        refresh();
    });
    connect(m_progress, &ProgressLine::stopClicked, m_loader, &AttachmentLoader::stop);
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

qint64 ComposeAttachments::sumOnItsWay() const
{
    return sum() / kBytesOfLine * kEncodedLine;
}

void ComposeAttachments::addFiles(const QStringList &paths)
{
    m_loader->add(paths);
}

bool ComposeAttachments::isReading() const
{
    return m_loader->isBusy();
}

void ComposeAttachments::finishReading()
{
    m_loader->finishNow();
}

void ComposeAttachments::refresh()
{
    // what is said is what files may have, not what becomes of them
    const QString limit = sizeText(m_limit / kEncodedLine * kBytesOfLine);
    m_sum->setText(m_limit > 0 ? tr("%1 of %2").arg(sizeText(sum()), limit) : sizeText(sum()));
    setTextRole(m_sum, isTooLarge() ? Role::Error : Role::Text2);
    setVisible(m_model->rowCount() > 0 || isReading());
    m_view->fitHeight();
    const bool isAlarming = sumOnItsWay() > (m_limit > 0 ? m_limit : kUsualLimit);
    if (isAlarming && !m_wasAlarming)
        emit becameLarge();
    m_wasAlarming = isAlarming;
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
    if (event->source() != m_view && event->mimeData()->hasUrls())
        event->acceptProposedAction();
}

void ComposeAttachments::dropEvent(QDropEvent *event)
{
    addFiles(localFilesIn(event->mimeData()));
    event->acceptProposedAction();
}

void ComposeAttachments::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.fillRect(0, 0, width(), 1, colour(Role::Line));
}
