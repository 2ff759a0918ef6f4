#include "ui/reader/attachmentstrip.h"

#include "message/mimecontext.h"
#include "ui/look/colours.h"
#include "ui/look/icons.h"
#include "ui/look/metrics.h"
#include "ui/look/recolour.h"
#include "ui/look/velmarstyle.h"
#include "ui/reader/attachmentfiles.h"
#include "ui/reader/attachmentview.h"
#include "ui/reader/previewcontent.h"
#include "ui/texts/harmless.h"
#include "ui/texts/messagetexts.h"
#include "ui/texts/sizetext.h"

#include <QHBoxLayout>
#include <QKeyEvent>
#include <QListView>
#include <QMenu>
#include <QMimeData>
#include <QPainter>
#include <QPushButton>
#include <QUrl>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace {

constexpr int kNarrow = 60; ///< columns: below, the button goes without its words

} // namespace

AttachmentModel::AttachmentModel(CopyOf copyOf, QObject *parent)
    : QAbstractListModel(parent)
    , m_copyOf(std::move(copyOf))
{}

void AttachmentModel::setRows(QList<AttachmentRow> rows)
{
    beginResetModel();
    m_rows = std::move(rows);
    endResetModel();
}

int AttachmentModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(m_rows.size());
}

QVariant AttachmentModel::data(const QModelIndex &index, int role) const
{
    const AttachmentRow &row = m_rows[index.row()];
    switch (role) {
    case Qt::DisplayRole: return row.name;
    case Qt::ToolTipRole: return asToolTip(row.name + u'\n' + sizeText(row.size));
    case Qt::AccessibleTextRole: return u"%1, %2"_s.arg(row.name, sizeText(row.size));
    case AttachmentView::SizeRole: return sizeText(row.size);
    case AttachmentView::IconRole: return row.icon;
    default: return {};
    }
}

Qt::ItemFlags AttachmentModel::flags(const QModelIndex &index) const
{
    return QAbstractListModel::flags(index) | Qt::ItemIsDragEnabled;
}

QStringList AttachmentModel::mimeTypes() const
{
    return {u"text/uri-list"_s};
}

QMimeData *AttachmentModel::mimeData(const QModelIndexList &indexes) const
{
    QList<QUrl> urls;
    for (const QModelIndex &index : indexes)
        if (const QString path = m_copyOf(m_rows[index.row()].part); !path.isEmpty())
            urls.append(QUrl::fromLocalFile(path));
    auto *data = new QMimeData;
    data->setUrls(urls);
    return data;
}

AttachmentStrip::AttachmentStrip(AttachmentModel::CopyOf copyOf, QWidget *parent)
    : QWidget(parent)
    , m_model(new AttachmentModel(std::move(copyOf), this))
    , m_view(new AttachmentView(this))
    , m_saveAll(new QPushButton(tr("Save all…"), this))
{
    setSurface(this, Role::Base);
    m_view->setModel(m_model);
    m_view->setAccessibleName(tr("Attachments"));
    m_view->installEventFilter(this);
    m_view->setContextMenuPolicy(Qt::CustomContextMenu);
    m_saveAll->setIcon(icon(u"download"_s, Role::Link));
    m_saveAll->setAutoDefault(false);
    setButtonKind(m_saveAll, ButtonKind::Ghost);
    auto *layout = new QHBoxLayout(this);
    layout->setContentsMargins(space::dialog - space::inner, space::inner + 1, space::card, space::inner);
    layout->setSpacing(space::between);
    layout->addWidget(m_view, 1);
    auto *saving = new QVBoxLayout; // its middle on that of the first line of cards
    saving->addSpacing(space::inner);
    saving->addWidget(m_saveAll);
    saving->addStretch(1);
    layout->addLayout(saving);
    connect(m_view, &QListView::activated, this,
            [this](const QModelIndex &index) { emit activated(m_model->row(index.row()).part, all()); });
    connect(m_view, &QWidget::customContextMenuRequested, this,
            [this](const QPoint &position) { showMenu(m_view->viewport()->mapToGlobal(position)); });
    connect(m_saveAll, &QPushButton::clicked, this, [this] { emit saveRequested(all()); });
    hide();
}

void AttachmentStrip::showAttachments(const Message &message, const QList<int> &parts)
{
    QList<AttachmentRow> rows;
    rows.reserve(parts.size());
    for (const int part : parts)
        rows.append({part, attachmentName(message, part), attachmentIcon(message, part),
                     attachmentSize(message, part)});
    m_saveWords = rows.size() > 1 ? tr("Save all…") : tr("Save…");
    m_saveAll->setAccessibleName(m_saveWords);
    m_saveAll->setToolTip(m_saveWords);
    fitButton();
    m_view->setAccessibleName(attachmentsInWords(rows.size()));
    m_message = message;
    m_model->setRows(std::move(rows));
    setVisible(!parts.isEmpty());
    m_view->scrollToTop();
    m_view->fitHeight();
}

bool AttachmentStrip::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::FocusIn && !m_view->currentIndex().isValid())
        m_view->setCurrentIndex(m_model->index(0));
    if (event->type() == QEvent::KeyPress && static_cast<QKeyEvent *>(event)->key() == Qt::Key_Space &&
        static_cast<QKeyEvent *>(event)->modifiers() == Qt::NoModifier && m_view->currentIndex().isValid()) {
        emit previewRequested(m_model->row(m_view->currentIndex().row()).part, all());
        return true;
    }
    return QWidget::eventFilter(watched, event);
}

void AttachmentStrip::fitButton()
{
    m_saveAll->setText(width() < columnWidth(kNarrow) ? QString() : m_saveWords);
}

void AttachmentStrip::resizeEvent(QResizeEvent *event)
{
    QWidget::resizeEvent(event);
    fitButton();
}

void AttachmentStrip::changeEvent(QEvent *event)
{
    QWidget::changeEvent(event);
    if (event->type() == QEvent::FontChange && m_view) {
        m_view->doItemsLayout();
        m_view->fitHeight();
    }
}

QList<int> AttachmentStrip::chosen() const
{
    QList<int> parts;
    QModelIndexList indexes = m_view->selectionModel()->selectedIndexes();
    std::sort(indexes.begin(), indexes.end());
    for (const QModelIndex &index : std::as_const(indexes))
        parts.append(m_model->row(index.row()).part);
    return parts;
}

QList<int> AttachmentStrip::all() const
{
    QList<int> parts;
    for (int row = 0; row < m_model->rowCount(); ++row)
        parts.append(m_model->row(row).part);
    return parts;
}

void AttachmentStrip::addOpening(QMenu *menu, int part)
{
    const PreviewKind kind = previewKindOf(m_message, part);
    if (kind != PreviewKind::None)
        menu->setDefaultAction(
            menu->addAction(tr("&Preview"), this, [this, part] { emit previewRequested(part, all()); }));
    if (kind == PreviewKind::Message)
        menu->addAction(icon(u"mail-open"_s), tr("Open as a &message"), this,
                        [this, part] { emit openMessageRequested(part); });
    if (openRiskOf(m_message, part) != OpenRisk::Never) {
        menu->addAction(icon(u"open"_s), tr("&Open"), this, [this, part] { emit openRequested(part); });
        menu->addAction(tr("Open &with…"), this, [this, part] { emit openWithRequested(part); });
    }
    if (kind == PreviewKind::Picture)
        menu->addAction(icon(u"copy"_s), tr("&Copy image"), this,
                        [this, part] { emit copyPictureRequested(part); });
    menu->addSeparator();
}

void AttachmentStrip::showMenu(const QPoint &globalPosition)
{
    const QList<int> parts = chosen();
    auto *menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    if (parts.size() == 1)
        addOpening(menu, parts.first());
    if (!parts.isEmpty())
        menu->addAction(icon(u"download"_s),
                        parts.size() == 1 ? tr("&Save…")
                                          : tr("&Save %1…").arg(attachmentsInWords(parts.size())),
                        this, [this, parts] { emit saveRequested(parts); });
    if (parts.size() < m_model->rowCount())
        menu->addAction(tr("Save &all…"), this, [this] { emit saveRequested(all()); });
    menu->popup(globalPosition);
}

void AttachmentStrip::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.fillRect(0, 0, width(), 1, colour(Role::Line));
}
