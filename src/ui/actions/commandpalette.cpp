#include "ui/actions/commandpalette.h"

#include "ui/actions/actionregistry.h"
#include "ui/actions/palettelist.h"
#include "ui/look/colours.h"
#include "ui/look/hairline.h"
#include "ui/look/icons.h"
#include "ui/look/metrics.h"
#include "ui/look/recolour.h"
#include "ui/look/styleparts.h"

#include <QApplication>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QPainter>
#include <QVBoxLayout>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

constexpr int kWidth = 640;
constexpr int kRows = 9;
constexpr int kTop = 96;   ///< pixels above it, where the window has them
constexpr int kVeil = 96;  ///< of 255
constexpr int kShadow = 8; ///< steps of a pixel each

} // namespace

CommandPalette::CommandPalette(const ActionRegistry &registry)
    : QWidget(registry.window())
    , m_registry(registry)
    , m_card(new QWidget(this))
    , m_field(new QLineEdit)
    , m_count(new QLabel)
    , m_list(new QListView)
    , m_foot(new QLabel)
    , m_model(new PaletteModel(this))
{
    setObjectName(u"commandPalette"_s);
    build();
    hide();
    registry.window()->installEventFilter(this);
    m_field->installEventFilter(this);
    connect(m_field, &QLineEdit::textEdited, this, &CommandPalette::refresh);
    connect(m_list, &QListView::clicked, this, &CommandPalette::run);
}

void CommandPalette::build()
{
    setSurface(m_card, Role::Card);
    m_card->setAutoFillBackground(false); // painted with round corners
    m_field->setObjectName(u"paletteField"_s);
    m_field->setFrame(false);
    m_field->setAccessibleName(tr("Find an action"));
    m_field->setPlaceholderText(tr("What do you want to do?"));
    setFontScale(m_field, scale::subject);
    setTextRole(m_count, Role::Text2);
    setFontScale(m_count, scale::small);
    m_list->setObjectName(u"paletteList"_s);
    m_list->setAccessibleName(tr("Actions"));
    m_list->setModel(m_model);
    m_list->setItemDelegate(new PaletteDelegate(*m_model, m_list));
    m_list->setFrameShape(QFrame::NoFrame);
    m_list->setUniformItemSizes(true);
    m_list->setFocusPolicy(Qt::NoFocus);
    m_list->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_list->viewport()->setAutoFillBackground(false);
    setTextRole(m_foot, Role::Text2);
    setFontScale(m_foot, scale::small);

    auto *top = new QHBoxLayout;
    top->setContentsMargins(space::card + iconSize(IconUse::Row) + space::group, space::group, space::card,
                            space::group);
    top->addWidget(m_field, 1);
    top->addWidget(m_count);
    auto *middle = new QHBoxLayout;
    middle->setContentsMargins(space::between, space::inner, space::between, space::inner);
    middle->addWidget(m_list);
    auto *foot = new QHBoxLayout;
    foot->setContentsMargins(space::card + space::inner, space::between, space::card, space::between);
    foot->addWidget(m_foot);
    auto *page = new QVBoxLayout(m_card);
    page->setContentsMargins(0, 0, 0, 0);
    page->setSpacing(0);
    page->addLayout(top);
    page->addWidget(new HairLine);
    page->addLayout(middle, 1);
    page->addWidget(new HairLine);
    page->addLayout(foot);
}

void CommandPalette::addSource(Source source)
{
    m_sources.append(std::move(source));
}

void CommandPalette::open(const QString &text)
{
    if (!isVisible())
        m_focusBefore = window()->focusWidget();
    QStringList hints = {tr("↑ ↓ choose"), tr("Enter does it"), tr("Esc leaves")};
    for (const Source &source : m_sources)
        hints.append(source.prefix + u' ' + source.name);
    m_foot->setText(hints.join(u"     "_s));
    m_items.clear();
    m_field->setText(text);
    refresh();
    place();
    show();
    raise();
    m_field->setFocus(Qt::ShortcutFocusReason);
}

void CommandPalette::closePalette()
{
    if (!isVisible())
        return;
    hide();
    if (m_focusBefore)
        m_focusBefore->setFocus(Qt::OtherFocusReason);
}

/// What there is does not change while the palette is open, but for the kind that the first letter chooses.
void CommandPalette::collect()
{
    const QString text = m_field->text();
    const auto source = std::find_if(m_sources.begin(), m_sources.end(), [&text](const Source &candidate) {
        return text.startsWith(candidate.prefix);
    });
    const QChar prefix = source == m_sources.end() ? QChar() : source->prefix;
    if (!m_items.isEmpty() && prefix == m_prefix)
        return;
    m_prefix = prefix;
    m_items = prefix.isNull() ? itemsOf(m_registry) : source->items();
}

void CommandPalette::refresh()
{
    collect();
    m_model->show(m_items, m_field->text().sliced(m_prefix.isNull() ? 0 : 1));
    const int count = m_model->rowCount();
    m_count->setText(tr("%1 of %2").arg(count).arg(m_items.size()));
    if (count > 0)
        m_list->setCurrentIndex(m_model->index(0));
    m_list->scrollToTop();
}

void CommandPalette::run()
{
    const QModelIndex current = m_list->currentIndex();
    if (!current.isValid() || !m_model->itemAt(current.row()).enabled)
        return;
    const std::function<void()> act = m_model->itemAt(current.row()).act;
    closePalette(); // first: what acts may want the focus
    if (act)
        act();
}

void CommandPalette::moveBy(int rows)
{
    const int last = m_model->rowCount() - 1;
    if (last < 0)
        return;
    const int from = std::max(0, m_list->currentIndex().row());
    int to = from + rows;
    if (rows == 1 || rows == -1) // the ends meet
        to = to < 0 ? last : to > last ? 0 : to;
    m_list->setCurrentIndex(m_model->index(std::clamp(to, 0, last)));
}

bool CommandPalette::keyInField(int key)
{
    switch (key) {
    case Qt::Key_Escape: closePalette(); return true;
    case Qt::Key_Return:
    case Qt::Key_Enter: run(); return true;
    case Qt::Key_Down: moveBy(1); return true;
    case Qt::Key_Up: moveBy(-1); return true;
    case Qt::Key_PageDown: moveBy(kRows - 1); return true;
    case Qt::Key_PageUp: moveBy(1 - kRows); return true;
    case Qt::Key_Tab:
    case Qt::Key_Backtab: return true; // the focus stays while the veil lies over everything else
    default: return false;
    }
}

bool CommandPalette::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == m_field && event->type() == QEvent::KeyPress)
        return keyInField(static_cast<QKeyEvent *>(event)->key());
    if (watched == m_field && event->type() == QEvent::ShortcutOverride) {
        event->accept(); // no action of the window acts behind the veil
        return true;
    }
    if (watched == window() && event->type() == QEvent::Resize && isVisible())
        place();
    return QWidget::eventFilter(watched, event);
}

void CommandPalette::place()
{
    resize(window()->size());
    const int height = m_card->layout()->sizeHint().height() - m_list->sizeHint().height() +
                       kRows * m_list->itemDelegate()->sizeHint({}, {}).height();
    const int width = std::min(kWidth, this->width() - 2 * space::page);
    const int top = std::clamp((this->height() - height) / 2, space::between, kTop);
    m_card->setGeometry((this->width() - width) / 2, top, width,
                        std::min(height, this->height() - 2 * space::between));
}

void CommandPalette::resizeEvent(QResizeEvent *event)
{
    QWidget::resizeEvent(event);
    if (isVisible())
        place();
}

void CommandPalette::mousePressEvent(QMouseEvent *)
{
    closePalette();
}

void CommandPalette::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    QColor veil = colour(isDark(currentScheme()) ? Role::Base : Role::Text);
    veil.setAlpha(kVeil);
    painter.fillRect(rect(), veil);
    const QRect card = m_card->geometry();
    painter.setPen(Qt::NoPen);
    for (int step = kShadow; step > 0; --step) {
        painter.setBrush(QColor(0, 0, 0, 6));
        painter.drawRoundedRect(card.adjusted(-step, -step + 2, step, step + 2), radius::palette + step,
                                radius::palette + step);
    }
    paintPanel(&painter, card, radius::palette, colour(Role::Card), colour(Role::ButtonBorder));
    const QRect sign = QStyle::visualRect(layoutDirection(), card,
                                          QRect(card.x() + space::card, card.y(), iconSize(IconUse::Row),
                                                m_field->height() + 2 * space::group));
    paintIcon(&painter, sign, u"search"_s, colour(Role::Text2), layoutDirection());
}
