#include "ui/compose/recipientedit.h"

#include "ui/look/colours.h"
#include "ui/look/icons.h"
#include "ui/look/metrics.h"
#include "ui/look/recolour.h"
#include "ui/look/styleparts.h"
#include "ui/texts/harmless.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QClipboard>
#include <QCompleter>
#include <QDrag>
#include <QKeyEvent>
#include <QLineEdit>
#include <QMenu>
#include <QMimeData>
#include <QPainter>
#include <QScrollBar>
#include <QStandardItemModel>
#include <QStyleOption>

using namespace Qt::StringLiterals;

namespace {

constexpr int kLinesShown = 4;
constexpr int kWidestPill = 36;   ///< average characters
constexpr int kEntryColumns = 12; ///< of the entry field at least
constexpr int kProposals = 8;

QString labelOf(const Address &address)
{
    return address.name.isEmpty() ? harmlessLine(address.address, 200) : shortPerson(address);
}

int pillHeight()
{
    return textHeight() + 2 * space::inner;
}

} // namespace

RecipientEdit::RecipientEdit(QWidget *parent)
    : QAbstractScrollArea(parent)
    , m_entry(new QLineEdit(viewport()))
    , m_completer(new QCompleter(this))
    , m_model(new QStandardItemModel(this))
{
    setFrameShape(QFrame::NoFrame);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setSurface(this, Role::Base);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    setFocusPolicy(Qt::ClickFocus); // by Tab one comes to the entry field, from there to the pills
    setAcceptDrops(true);
    viewport()->setAcceptDrops(true);
    viewport()->setMouseTracking(true);
    m_entry->setFrame(false);
    m_entry->installEventFilter(this);
    m_entry->setAcceptDrops(false);
    m_completer->setModel(m_model);
    m_completer->setCompletionMode(QCompleter::UnfilteredPopupCompletion);
    m_completer->setMaxVisibleItems(kProposals);
    m_completer->setWidget(m_entry);
    connect(m_entry, &QLineEdit::textEdited, this, &RecipientEdit::typed);
    connect(m_entry, &QLineEdit::textChanged, this, &RecipientEdit::changed);
    connect(m_completer, qOverload<const QModelIndex &>(&QCompleter::activated), this,
            [this](const QModelIndex &index) {
                const QString text = index.data(Qt::UserRole + 1).toString();
                m_entry->clear();
                insert(m_pills.count(), parseAddresses(text));
            });
}

void RecipientEdit::setText(const QString &text)
{
    m_pills.clear();
    m_entry->clear();
    insert(0, parseAddresses(text));
}

QString RecipientEdit::text() const
{
    const QString typed = m_entry->text().trimmed();
    const QString pills = m_pills.text();
    return typed.isEmpty() ? pills : pills.isEmpty() ? typed : pills + u", "_s + typed;
}

void RecipientEdit::setJudge(Judge judge)
{
    m_judge = std::move(judge);
    judgeAgain();
}

void RecipientEdit::judgeAgain()
{
    for (int i = 0; i < m_pills.count(); ++i)
        m_pills.setDoubt(i, m_judge ? m_judge(m_pills.all()[i].address) : QString());
    arrange();
}

void RecipientEdit::commit()
{
    const QString typed = m_entry->text().trimmed();
    if (typed.isEmpty())
        return;
    const QList<Address> addresses = parseAddresses(typed);
    if (addresses.isEmpty())
        return;
    m_entry->clear();
    insert(m_pills.count(), addresses);
}

void RecipientEdit::replace(const QString &address, const Address &replacement)
{
    for (int i = 0; i < m_pills.count(); ++i)
        if (m_pills.all()[i].address.address.compare(address, Qt::CaseInsensitive) == 0) {
            m_pills.remove(i);
            insert(i, {replacement});
            return;
        }
}

void RecipientEdit::insert(int index, const QList<Address> &addresses)
{
    const int added = m_pills.insert(index, addresses);
    for (int i = index; m_judge && i < index + added; ++i)
        m_pills.setDoubt(i, m_judge(m_pills.all()[i].address));
    afterChange();
    verticalScrollBar()->setValue(verticalScrollBar()->maximum());
}

void RecipientEdit::afterChange()
{
    arrange();
    speak();
    emit changed();
}

void RecipientEdit::speak()
{
    QStringList names;
    for (const RecipientPill &pill : m_pills.all().first(std::min(m_pills.count(), 20)))
        names.append(labelOf(pill.address));
    setAccessibleDescription(names.join(u", "_s));
    m_entry->setAccessibleDescription(names.join(u", "_s));
}

int RecipientEdit::pillWidth(const RecipientPill &pill) const
{
    const int icon = iconSize(IconUse::Row);
    return space::between + icon + space::inner + fontMetrics().horizontalAdvance(labelOf(pill.address)) + 1 +
           space::inner + icon + space::inner;
}

RecipientPills::Sizes RecipientEdit::sizes(int width) const
{
    return {width, pillHeight(), space::inner + 2, columnWidth(kEntryColumns), columnWidth(kWidestPill)};
}

int RecipientEdit::heightForWidth(int width) const
{
    RecipientPills copy = m_pills;
    const QRect entry =
        copy.layOut(sizes(width), [this](const RecipientPill &pill) { return pillWidth(pill); });
    const int line = pillHeight() + space::inner + 2;
    return std::min(entry.bottom() + 1, kLinesShown * line - space::inner - 2) + 2 * space::inner;
}

QSize RecipientEdit::sizeHint() const
{
    return {columnWidth(40), heightForWidth(std::max(width(), 1))};
}

QSize RecipientEdit::minimumSizeHint() const
{
    return {columnWidth(kEntryColumns), pillHeight() + 2 * space::inner};
}

void RecipientEdit::arrange()
{
    const QRect entry = m_pills.layOut(sizes(viewport()->width()),
                                       [this](const RecipientPill &pill) { return pillWidth(pill); });
    m_contents = entry.bottom() + 1 + 2 * space::inner;
    verticalScrollBar()->setPageStep(viewport()->height());
    verticalScrollBar()->setSingleStep(pillHeight());
    verticalScrollBar()->setRange(0, std::max(0, m_contents - viewport()->height()));
    m_entry->setGeometry(shown(entry));
    viewport()->update();
    if (const int height = heightForWidth(width()); height != this->height()) {
        setFixedHeight(height);
        updateGeometry();
    }
}

QRect RecipientEdit::shown(const QRect &place) const
{
    return QStyle::visualRect(layoutDirection(), viewport()->rect(),
                              place.translated(0, space::inner - verticalScrollBar()->value()));
}

QRect RecipientEdit::crossOf(const QRect &place) const
{
    const int side = iconSize(IconUse::Row) + space::inner;
    return QStyle::visualRect(
        layoutDirection(), place,
        QRect(place.right() + 1 - side - space::inner / 2, place.top(), side, place.height()));
}

QPoint RecipientEdit::contentsPoint(const QPoint &point) const
{
    const QPoint turned =
        layoutDirection() == Qt::RightToLeft ? QPoint(viewport()->width() - 1 - point.x(), point.y()) : point;
    return turned + QPoint(0, verticalScrollBar()->value() - space::inner);
}

void RecipientEdit::paintEvent(QPaintEvent *event)
{
    QPainter painter(viewport());
    painter.fillRect(event->rect(), colour(Role::Base));
    for (const RecipientPill &pill : m_pills.all())
        if (shown(pill.place).intersects(event->rect()))
            paintPill(painter, pill);
    if (m_dropAt < 0)
        return;
    const bool atEnd = m_dropAt >= m_pills.count();
    const QRect beside = atEnd ? (m_pills.count() ? m_pills.all().last().place : QRect(0, 0, 0, pillHeight()))
                               : m_pills.all()[m_dropAt].place;
    const int x = atEnd ? beside.right() + 2 : beside.left() - 3;
    painter.fillRect(shown(QRect(std::max(0, x), beside.top(), 2, beside.height())), colour(Role::Accent));
}

void RecipientEdit::paintPill(QPainter &painter, const RecipientPill &pill)
{
    const QRect place = shown(pill.place);
    const bool doubtful = !pill.doubt.isEmpty();
    painter.setRenderHint(QPainter::Antialiasing);
    paintPanel(&painter, place, place.height() / 2.0,
               colour(pill.selected ? Role::Selection
                      : doubtful    ? Role::WarningBar
                                    : Role::SelectionInactive),
               QColor());
    if (pill.selected)
        paintFocusRing(&painter, place, place.height() / 2.0);
    const int icon = iconSize(IconUse::Row);
    QStyleOption option;
    option.initFrom(this);
    const QRect inside = place.adjusted(space::between, 0, -space::between, 0);
    const QColor ink = colour(doubtful ? Role::Warning : Role::Text);
    paintIcon(&painter, leading(&option, inside, icon), doubtful ? u"warning"_s : u"person"_s,
              doubtful ? ink : colour(Role::Text2));
    const QRect cross = crossOf(place);
    const QSize small(icon * 3 / 4, icon * 3 / 4); // less than the person beside the name
    paintIcon(&painter, QStyle::alignedRect(layoutDirection(), Qt::AlignCenter, small, cross), u"close"_s,
              colour(Role::Text2));
    QRect text = trailing(&option, inside, inside.width() - icon - space::inner);
    text = leading(&option, text, text.width() - icon);
    painter.setPen(ink);
    painter.drawText(
        text, Qt::AlignLeading | Qt::AlignVCenter | Qt::TextSingleLine,
        isolatedName(fontMetrics().elidedText(labelOf(pill.address), Qt::ElideRight, text.width() + 1)));
}

void RecipientEdit::resizeEvent(QResizeEvent *event)
{
    QAbstractScrollArea::resizeEvent(event);
    arrange();
}

void RecipientEdit::scrollContentsBy(int, int)
{
    arrange();
}

void RecipientEdit::changeEvent(QEvent *event)
{
    QAbstractScrollArea::changeEvent(event);
    if (event->type() == QEvent::FontChange || event->type() == QEvent::LayoutDirectionChange ||
        event->type() == QEvent::StyleChange)
        arrange();
}

bool RecipientEdit::viewportEvent(QEvent *event)
{
    if (event->type() == QEvent::ToolTip) {
        const auto *help = static_cast<QHelpEvent *>(event);
        const int pill = m_pills.at(contentsPoint(help->pos()));
        QString text;
        if (pill >= 0) {
            const RecipientPill &one = m_pills.all()[pill];
            text =
                asToolTip(formatAddress(one.address) + (one.doubt.isEmpty() ? QString() : u'\n' + one.doubt));
        }
        viewport()->setToolTip(text);
    }
    return QAbstractScrollArea::viewportEvent(event);
}
