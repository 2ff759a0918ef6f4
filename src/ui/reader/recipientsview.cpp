#include "ui/reader/recipientsview.h"

#include "message/message.h"
#include "ui/look/colours.h"
#include "ui/look/metrics.h"
#include "ui/look/styleparts.h"
#include "ui/reader/cardtexts.h"
#include "ui/reader/personactions.h"
#include "ui/texts/harmless.h"

#include <QHelpEvent>
#include <QKeyEvent>
#include <QPainter>
#include <QToolTip>

using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype kMostNames = 200; ///< of one field; a list of thousands is no reading
constexpr int kRing = 2;              ///< room for the focus ring around the text
constexpr int kNarrowest = 4;         ///< labels beside people take at most one of so many parts of the width
constexpr int kIndent = 2;            ///< of the first letter, as in the lines above

QString domainOf(const Address &address)
{
    return address.address.section(u'@', -1).toLower();
}

/// Whether answers go where the message does not come from.
bool leadsElsewhere(const QList<Address> &replyTo, const QList<Address> &from)
{
    return std::any_of(replyTo.begin(), replyTo.end(), [&](const Address &reply) {
        return std::none_of(from.begin(), from.end(),
                            [&](const Address &sender) { return domainOf(sender) == domainOf(reply); });
    });
}

/// "authors-list" of "Authors <authors-list.tidewater.example>" (RFC 2919), the words in front if there are
/// any.
QString listName(const Message &message)
{
    const QString field = harmlessLine(message.header("List-Id"), 200);
    const qsizetype open = field.lastIndexOf(u'<');
    if (open < 0)
        return field;
    QString words = field.first(open).trimmed();
    if (words.size() > 1 && words.startsWith(u'"') && words.endsWith(u'"'))
        words = words.sliced(1, words.size() - 2).trimmed();
    return words.isEmpty() ? field.sliced(open + 1).remove(u'>').trimmed() : words;
}

QString moreText(qsizetype count)
{
    return RecipientsView::tr("%1 more").arg(QLocale().toString(count));
}

} // namespace

/// Puts the items where they belong.
class RecipientsView::Arranger
{
public:
    Arranger(const RecipientsView &view, int width)
        : m_view(view)
        , m_metrics(view.fontMetrics())
        , m_width(std::max(width - kRing, columnWidth(8)))
        , m_line(m_metrics.height() + 2 * kRing)
        , m_column(kIndent)
        , m_needsMarks(view.isRightToLeft())
    {}

    Layout folded()
    {
        line();
        for (int field = 0; field < m_view.m_fields.size(); ++field)
            if (m_view.m_fields[field].always)
                whole(field,
                      kIndent + m_metrics.horizontalAdvance(m_view.m_fields[field].label) + space::between);
        m_layout.height = m_top;
        return std::move(m_layout);
    }

    Layout unfolded()
    {
        int column = 0;
        for (const Field &field : m_view.m_fields)
            column = std::max(column, m_metrics.horizontalAdvance(field.label));
        for (int field = 0; field < m_view.m_fields.size(); ++field)
            whole(field, kIndent + column + space::group);
        add(Item::Less, tr("Show less"), -1, -1, m_column, textWidth(tr("Show less")));
        m_layout.height = m_top + m_line;
        return std::move(m_layout);
    }

private:
    QString lean(const QString &text) const { return m_needsMarks ? text : withoutIdleMarks(text); }
    int textWidth(const QString &text) const { return m_metrics.horizontalAdvance(text) + 1; }

    void add(Item::Kind kind, const QString &text, int field, int person, int left, int width)
    {
        m_layout.items.append({kind, text, QRect(left, m_top, width, m_line), field, person});
    }

    /// Names are added as long as they and "99 more" fit; the first one of all is shown in any case.
    void line()
    {
        qsizetype left = 0;
        for (const Field &field : m_view.m_fields)
            left += field.always ? 0 : std::max<qsizetype>(1, field.people.size()) + field.more;
        const int reserve = space::between + textWidth(moreText(left));
        bool any = false;
        for (int at = 0; at < m_view.m_fields.size(); ++at) {
            const Field &field = m_view.m_fields[at];
            if (field.always)
                continue;
            const int names = int(std::max<qsizetype>(1, field.people.size()));
            for (int person = 0; person < names; ++person) {
                if (!name(at, person, left > 1 ? reserve : 0, any))
                    return more(left);
                any = true;
                --left;
            }
            if (field.more > 0)
                return more(left);
        }
        m_top += any ? m_line : 0;
    }

    /// False: there is no room for it on the line.
    bool name(int at, int person, int reserve, bool any)
    {
        const Field &field = m_view.m_fields[at];
        const bool isWords = field.people.isEmpty();
        const bool last = isWords || person == field.people.size() - 1;
        const QString text = isWords ? field.words
                                     : lean(shortPerson(field.people[person])) +
                                           (last && field.more == 0 ? QString() : u","_s);
        const int before = m_left == 0 ? 0 : person == 0 ? space::group : space::inner;
        const int label = person == 0 ? textWidth(field.label) + space::between : 0;
        const int room = m_width - m_left - before - label;
        const int width = textWidth(text);
        if (any && width + reserve > room)
            return false;
        m_left += m_left == 0 ? kIndent : before;
        if (person == 0)
            add(Item::Label, field.label, at, -1, m_left, label - space::between);
        m_left += label;
        add(isWords ? Item::Words : Item::Person, text, at, person, m_left,
            std::min(width, std::max(room - reserve, columnWidth(4))));
        m_left += m_layout.items.last().place.width();
        return true;
    }

    void more(qsizetype count)
    {
        m_left += m_left == 0 ? 0 : space::between;
        add(Item::More, moreText(count), -1, -1, m_left, textWidth(moreText(count)));
        m_top += m_line;
    }

    /// A field with everybody in it, in lines beside its label.
    void whole(int at, int column)
    {
        const Field &field = m_view.m_fields[at];
        add(Item::Label, field.label, at, -1, kIndent, column - kIndent - space::inner);
        if (column * kNarrowest > m_width) { // the label stands above instead
            column = kIndent;
            m_top += m_line;
        }
        m_left = column;
        m_column = column;
        if (field.people.isEmpty())
            flow(Item::Words, field.words, at, -1);
        for (int person = 0; person < field.people.size(); ++person) {
            const Address &address = field.people[person];
            const bool last = person == field.people.size() - 1 && field.more == 0;
            flow(Item::Person, lean(personText(address.name, address.address)) + (last ? QString() : u","_s),
                 at, person);
        }
        if (field.more > 0)
            flow(Item::Words, moreText(field.more), at, -1);
        m_top += m_line;
    }

    void flow(Item::Kind kind, const QString &text, int field, int person)
    {
        const int width = textWidth(text);
        if (m_left > m_column && m_left + width > m_width) {
            m_left = m_column;
            m_top += m_line;
        }
        const int room = m_width - m_left;
        add(kind, text, field, person, m_left, std::min(width, room));
        if (width > room) {
            QRect &place = m_layout.items.last().place;
            const int flags = wrapFlags(m_metrics, text, room);
            place.setHeight(m_metrics.boundingRect(QRect(0, 0, room, 1 << 16), flags, text).height() +
                            2 * kRing);
            m_top += place.height() - m_line;
        }
        m_left += std::min(width, room) + space::inner;
    }

    const RecipientsView &m_view;
    QFontMetrics m_metrics;
    int m_width;
    int m_line;
    int m_top = 0;
    int m_left = 0;
    int m_column;
    bool m_needsMarks;
    Layout m_layout;
};

RecipientsView::RecipientsView(QWidget *parent)
    : QWidget(parent)
{
    setObjectName(u"recipients"_s);
    QSizePolicy policy(QSizePolicy::Expanding, QSizePolicy::Preferred);
    policy.setHeightForWidth(true);
    setSizePolicy(policy);
    setMouseTracking(true);
}

void RecipientsView::addField(const QString &label, const QList<Address> &people, bool always)
{
    if (!people.isEmpty())
        m_fields.append({label,
                         people.first(std::min(people.size(), kMostNames)),
                         {},
                         std::max<qsizetype>(0, people.size() - kMostNames),
                         always});
}

void RecipientsView::addWords(const QString &label, const QString &words)
{
    if (!words.isEmpty())
        m_fields.append({label, {}, words});
}

void RecipientsView::readFields(const Message &message)
{
    const QList<Address> from = message.addresses("From");
    m_fields.clear();
    addField(tr("To"), message.addresses("To"));
    addField(tr("Cc"), message.addresses("Cc"));
    addField(tr("Bcc"), message.addresses("Bcc"));
    addWords(tr("Newsgroups"), harmlessLine(message.newsgroups()));
    addWords(tr("List"), listName(message));
    if (from.size() > 1)
        addField(tr("Also from"), from.sliced(1), true);
    const QList<Address> sender = message.addresses("Sender");
    if (sender.size() == 1 && !from.isEmpty() &&
        sender.first().address.compare(from.first().address, Qt::CaseInsensitive) != 0)
        addField(tr("Sent by"), sender);
    if (const QList<Address> replyTo = message.addresses("Reply-To"); leadsElsewhere(replyTo, from))
        addField(tr("Replies go to"), replyTo, true);
}

void RecipientsView::showMessage(const Message &message)
{
    readFields(message);
    m_expanded = false;
    m_current = -1;
    m_hovered = -1;
    setVisible(!m_fields.isEmpty());
    setFocusPolicy(m_fields.isEmpty() ? Qt::NoFocus : Qt::TabFocus);
    forgetLayout();
    setAccessibleName(textFor(1 << 20));
    setAccessibleDescription({});
    emit extentChanged();
}

void RecipientsView::setExpanded(bool expanded)
{
    const std::optional<Address> person = currentPerson();
    m_expanded = expanded;
    m_hovered = -1;
    forgetLayout();
    const QList<Item> &items = layoutAt(width()).items;
    m_current = -1;
    for (int at = 0; person && at < items.size() && m_current < 0; ++at)
        if (items[at].kind == Item::Person && m_fields[items[at].field].people[items[at].person] == *person)
            m_current = at;
    if (m_current < 0 && hasFocus())
        m_current = step(-1, 1);
    emit extentChanged();
}

void RecipientsView::forgetLayout()
{
    m_layoutWidth = -1;
    updateGeometry();
    update();
}

RecipientsView::Layout RecipientsView::arranged(int width) const
{
    Arranger arranger(*this, width);
    return m_expanded ? arranger.unfolded() : arranger.folded();
}

const RecipientsView::Layout &RecipientsView::layoutAt(int width) const
{
    if (width != m_layoutWidth) {
        m_layout = arranged(width);
        m_layoutWidth = width;
    }
    return m_layout;
}

QString RecipientsView::textFor(int width) const
{
    QString text;
    int top = -1;
    const Layout layout = arranged(width);
    for (const Item &item : layout.items) {
        const bool newLine = item.kind == Item::Label && top >= 0 && item.place.top() != top;
        text += text.isEmpty()             ? QString()
                : newLine                  ? u"\n"_s
                : item.kind == Item::Label ? u"  "_s
                : item.kind == Item::Less  ? u"\n"_s
                                           : u" "_s;
        text += item.text;
        top = item.place.top();
    }
    return text;
}

std::optional<Address> RecipientsView::currentPerson() const
{
    const QList<Item> &items = layoutAt(width()).items;
    if (m_current < 0 || m_current >= items.size() || items[m_current].kind != Item::Person)
        return {};
    return m_fields[items[m_current].field].people[items[m_current].person];
}

QSize RecipientsView::sizeHint() const
{
    return {columnWidth(40), heightForWidth(std::max(width(), columnWidth(40)))};
}

QSize RecipientsView::minimumSizeHint() const
{
    return {columnWidth(8), fontMetrics().height() + 2 * kRing};
}

int RecipientsView::heightForWidth(int wanted) const
{
    return wanted == width() ? layoutAt(wanted).height : arranged(wanted).height;
}

QRect RecipientsView::visual(const QRect &place) const
{
    return QStyle::visualRect(layoutDirection(), rect(), place);
}

void RecipientsView::paintEvent(QPaintEvent *event)
{
    QPainter painter(this);
    const Layout &layout = layoutAt(width());
    for (int at = 0; at < layout.items.size(); ++at)
        if (visual(layout.items[at].place).adjusted(-4, -2, 4, 2).intersects(event->rect()))
            paintItem(painter, at);
}

void RecipientsView::paintItem(QPainter &painter, int index) const
{
    const Item &item = m_layout.items[index];
    const QRect place = visual(item.place);
    const bool isLink = item.kind == Item::More || item.kind == Item::Less;
    QFont drawn = font();
    drawn.setUnderline(index == m_hovered);
    painter.setFont(drawn);
    painter.setPen(colour(isLink                                                           ? Role::Link
                          : item.kind != Item::Label && (m_expanded || index == m_hovered) ? Role::Text
                                                                                           : Role::Text2));
    const QRect inner = place.adjusted(0, kRing, 0, -kRing);
    if (inner.height() > fontMetrics().height())
        painter.drawText(inner, wrapFlags(fontMetrics(), item.text, inner.width()), item.text);
    else // on one base line, whatever fonts a name needs
        painter.drawText(inner.left(), inner.top() + fontMetrics().ascent(),
                         fontMetrics().elidedText(item.text, Qt::ElideRight, inner.width() + 1));
    if (hasFocus() && index == m_current)
        paintFocusRing(&painter, place.adjusted(-kRing, 0, kRing, 0), radius::box);
}

int RecipientsView::itemAt(const QPoint &position) const
{
    const QList<Item> &items = layoutAt(width()).items;
    for (int at = 0; at < items.size(); ++at)
        if (items[at].isActive() && visual(items[at].place).adjusted(-2, 0, 2, 0).contains(position))
            return at;
    return -1;
}

/// The active item next to @p from; -1 when there is none.
int RecipientsView::step(int from, int direction) const
{
    const QList<Item> &items = layoutAt(width()).items;
    int at = from < 0 && direction < 0 ? int(items.size()) : from;
    do
        at += direction;
    while (at >= 0 && at < items.size() && !items[at].isActive());
    return at >= 0 && at < items.size() ? at : -1;
}

void RecipientsView::setCurrent(int item)
{
    if (item < 0)
        return;
    m_current = item;
    const Item &now = layoutAt(width()).items[item];
    setAccessibleDescription(now.text);
    emit currentMoved(visual(now.place));
    update();
}

void RecipientsView::activate(int item)
{
    const QList<Item> &items = layoutAt(width()).items;
    if (item < 0 || item >= items.size() || !items[item].isActive())
        return;
    const Item chosen = items[item];
    if (chosen.kind == Item::More || chosen.kind == Item::Less)
        return setExpanded(!m_expanded);
    const QRect place = visual(chosen.place);
    emit menuWanted(m_fields[chosen.field].people[chosen.person],
                    mapToGlobal(isRightToLeft() ? place.bottomRight() : place.bottomLeft()));
}

bool RecipientsView::event(QEvent *event)
{
    if (event->type() != QEvent::ToolTip)
        return QWidget::event(event);
    const auto *help = static_cast<QHelpEvent *>(event);
    const int item = itemAt(help->pos());
    const Item *found = item < 0 ? nullptr : &m_layout.items[item];
    if (found && found->kind == Item::Person)
        QToolTip::showText(help->globalPos(), personToolTip(m_fields[found->field].people[found->person]),
                           this);
    else
        QToolTip::hideText();
    return true;
}

void RecipientsView::mouseMoveEvent(QMouseEvent *event)
{
    const int item = itemAt(event->pos());
    setCursor(m_fields.isEmpty() ? Qt::ArrowCursor : Qt::PointingHandCursor);
    if (item == m_hovered)
        return;
    m_hovered = item;
    update();
}

void RecipientsView::leaveEvent(QEvent *)
{
    m_hovered = -1;
    update();
}

/// Another width has other items on its line.
void RecipientsView::resizeEvent(QResizeEvent *)
{
    const QList<Item> &items = layoutAt(width()).items;
    if (m_current >= items.size() || (m_current >= 0 && !items[m_current].isActive()))
        m_current = hasFocus() ? step(-1, 1) : -1;
    m_hovered = -1;
}

void RecipientsView::mouseReleaseEvent(QMouseEvent *event)
{
    if (event->button() != Qt::LeftButton || !rect().contains(event->pos()))
        return;
    const int item = itemAt(event->pos());
    if (item < 0)
        return setExpanded(!m_expanded);
    setCurrent(item);
    activate(item);
}

void RecipientsView::keyPressEvent(QKeyEvent *event)
{
    const int forward = isRightToLeft() ? -1 : 1;
    switch (event->key()) {
    case Qt::Key_Right: return setCurrent(step(m_current, forward));
    case Qt::Key_Left: return setCurrent(step(m_current, -forward));
    case Qt::Key_Down: return setCurrent(step(m_current, 1));
    case Qt::Key_Up: return setCurrent(step(m_current, -1));
    case Qt::Key_Home: return setCurrent(step(-1, 1));
    case Qt::Key_End: return setCurrent(step(int(layoutAt(width()).items.size()), -1));
    case Qt::Key_Return:
    case Qt::Key_Enter: return activate(m_current);
    case Qt::Key_Space: return setExpanded(!m_expanded);
    default: QWidget::keyPressEvent(event);
    }
}

void RecipientsView::contextMenuEvent(QContextMenuEvent *event)
{
    if (event->reason() == QContextMenuEvent::Keyboard)
        return activate(m_current);
    const int item = itemAt(event->pos());
    if (item >= 0 && m_layout.items[item].kind == Item::Person)
        emit menuWanted(m_fields[m_layout.items[item].field].people[m_layout.items[item].person],
                        event->globalPos());
    else
        event->ignore();
}

void RecipientsView::focusInEvent(QFocusEvent *event)
{
    const bool fromBehind = event->reason() == Qt::BacktabFocusReason;
    if (m_current < 0)
        setCurrent(fromBehind ? step(-1, -1) : step(-1, 1));
    update();
}

void RecipientsView::focusOutEvent(QFocusEvent *)
{
    update();
}

void RecipientsView::changeEvent(QEvent *event)
{
    QWidget::changeEvent(event);
    if (event->type() == QEvent::FontChange)
        forgetLayout();
}
