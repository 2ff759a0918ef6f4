#include "ui/reader/recipientsview.h"

#include "message/message.h"
#include "ui/look/colours.h"
#include "ui/look/metrics.h"
#include "ui/look/styleparts.h"
#include "ui/texts/harmless.h"

#include <QKeyEvent>
#include <QPainter>
#include <QStyleOption>

using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype kMostNames = 200; ///< of one field; a list of thousands is no reading
constexpr int kRing = 2;              ///< room for the focus ring around the text

QString fullName(const Address &address)
{
    const ShownPerson shown = shownPerson(address);
    if (shown.name == shown.address)
        return isolatedAddress(shown.address);
    return isolatedName(shown.name) + u" <"_s + isolatedAddress(shown.address) + u'>';
}

} // namespace

RecipientsView::RecipientsView(QWidget *parent)
    : QWidget(parent)
{
    setObjectName(u"recipients"_s);
    QSizePolicy policy(QSizePolicy::Expanding, QSizePolicy::Preferred);
    policy.setHeightForWidth(true);
    setSizePolicy(policy);
}

void RecipientsView::showMessage(const Message &message)
{
    struct Row
    {
        const char *field;
        QString label;
    };
    const Row rows[] = {{"To", tr("To")}, {"Cc", tr("Cc")}, {"Bcc", tr("Bcc")}, {"Reply-To", tr("Reply to")}};
    m_fields.clear();
    for (const Row &row : rows) {
        const QList<Address> addresses = message.addresses(row.field);
        if (addresses.isEmpty() ||
            (QByteArrayView(row.field) == "Reply-To" && addresses == message.addresses("From")))
            continue;
        Field field{row.label, {}, {}, std::max<qsizetype>(0, addresses.size() - kMostNames)};
        for (const Address &address : addresses.first(std::min(addresses.size(), kMostNames))) {
            field.shortNames.append(shortPerson(address));
            field.fullNames.append(fullName(address));
        }
        m_fields.append(field);
    }
    if (const QString groups = harmlessLine(message.newsgroups()); !groups.isEmpty())
        m_fields.append({tr("Newsgroups"), {groups}, {groups}, 0});
    m_expanded = false;
    setVisible(!m_fields.isEmpty());
    setFocusPolicy(canExpand() ? Qt::TabFocus : Qt::NoFocus);
    setCursor(canExpand() ? Qt::PointingHandCursor : Qt::ArrowCursor);
    setAccessibleName(textFor(1 << 20));
    updateGeometry();
    update();
    emit extentChanged();
}

bool RecipientsView::canExpand() const
{
    return !m_fields.isEmpty();
}

void RecipientsView::setExpanded(bool expanded)
{
    m_expanded = expanded;
    updateGeometry();
    update();
    emit extentChanged();
}

/// Names are added as long as they and "99 more" fit; the first one of all is shown in any case.
QList<RecipientsView::Piece> RecipientsView::lineFor(int width) const
{
    const QFontMetrics metrics = fontMetrics();
    const auto moreText = [](qsizetype count) { return tr("%1 more").arg(QLocale().toString(count)); };
    qsizetype left = 0;
    for (const Field &field : m_fields)
        left += field.shortNames.size() + field.more;
    const int reserve = metrics.horizontalAdvance(u", "_s + moreText(left));
    QList<Piece> pieces;
    int used = 0;
    for (const Field &field : m_fields) {
        bool first = true;
        for (const QString &name : field.shortNames) {
            const QString text = (first ? QString() : u", "_s) + name;
            const int label = first ? metrics.horizontalAdvance(field.label) + 2 * space::between : 0;
            const int wanted = label + metrics.horizontalAdvance(text);
            if (!pieces.isEmpty() && used + wanted + (left > 1 ? reserve : 0) > width)
                return pieces << Piece{(first ? u"  "_s : u", "_s) + moreText(left), false};
            if (first)
                pieces.append({field.label, true});
            pieces.append({text, false});
            used += wanted;
            first = false;
            --left;
        }
        if (field.more > 0)
            return pieces << Piece{u", "_s + moreText(left), false};
    }
    return pieces;
}

QString RecipientsView::fullText(const Field &field) const
{
    QString text = field.fullNames.join(u", "_s);
    if (field.more > 0)
        text += u", "_s + tr("%1 more").arg(QLocale().toString(field.more));
    return text;
}

QString RecipientsView::textFor(int width) const
{
    QStringList texts;
    if (m_expanded) {
        for (const Field &field : m_fields)
            texts.append(field.label + u' ' + fullText(field));
        return texts.join(u'\n');
    }
    QString text;
    for (const Piece &piece : lineFor(width))
        text += piece.isLabel ? (text.isEmpty() ? QString() : u"  "_s) + piece.text + u' ' : piece.text;
    return text;
}

int RecipientsView::labelWidth() const
{
    int widest = 0;
    for (const Field &field : m_fields)
        widest = std::max(widest, fontMetrics().horizontalAdvance(field.label));
    return widest + space::between;
}

QSize RecipientsView::sizeHint() const
{
    return {columnWidth(40), heightForWidth(std::max(width(), columnWidth(40)))};
}

QSize RecipientsView::minimumSizeHint() const
{
    return {columnWidth(8), fontMetrics().height() + 2 * kRing};
}

int RecipientsView::heightForWidth(int width) const
{
    if (!m_expanded)
        return fontMetrics().height() + 2 * kRing;
    int height = 2 * kRing;
    const QRect room(0, 0, std::max(40, width - labelWidth()), 1 << 20);
    for (const Field &field : m_fields)
        height += fontMetrics().boundingRect(room, Qt::TextWordWrap, fullText(field)).height();
    return height;
}

void RecipientsView::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    const QRect place = rect().adjusted(0, kRing, 0, -kRing);
    if (m_expanded)
        paintAll(painter, place);
    else
        paintLine(painter, place);
    if (hasFocus())
        paintFocusRing(&painter, rect().adjusted(0, 0, 0, 0), radius::box);
}

void RecipientsView::paintLine(QPainter &painter, const QRect &place) const
{
    int at = 0;
    for (const Piece &piece : lineFor(place.width())) {
        if (piece.isLabel && at > 0)
            at += space::between;
        const int room = place.width() - at;
        const QString text = fontMetrics().elidedText(piece.text, Qt::ElideRight, room);
        const int width = fontMetrics().horizontalAdvance(text);
        const QRect spot(place.left() + at, place.top(), width + 2, place.height());
        painter.setPen(colour(Role::Text2));
        painter.drawText(QStyle::visualRect(layoutDirection(), place, spot),
                         Qt::AlignLeading | Qt::AlignVCenter | Qt::TextSingleLine, text);
        at += width + (piece.isLabel ? space::between : 0);
    }
}

void RecipientsView::paintAll(QPainter &painter, const QRect &place) const
{
    const int label = labelWidth();
    int top = place.top();
    for (const Field &field : m_fields) {
        const QString text = fullText(field);
        QRect spot(place.left() + label, top, place.width() - label, 1 << 20);
        spot.setHeight(fontMetrics().boundingRect(spot, Qt::TextWordWrap, text).height());
        painter.setPen(colour(Role::Text2));
        painter.drawText(QStyle::visualRect(layoutDirection(), place,
                                            QRect(place.left(), top, label, fontMetrics().height())),
                         Qt::AlignLeading | Qt::AlignTop, field.label);
        painter.setPen(colour(Role::Text));
        painter.drawText(QStyle::visualRect(layoutDirection(), place, spot),
                         Qt::AlignLeading | Qt::AlignTop | Qt::TextWordWrap, text);
        top += spot.height();
    }
}

void RecipientsView::mouseReleaseEvent(QMouseEvent *event)
{
    if (event->button() == Qt::LeftButton && rect().contains(event->pos()) && canExpand())
        setExpanded(!m_expanded);
}

void RecipientsView::keyPressEvent(QKeyEvent *event)
{
    if (canExpand() &&
        (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter || event->key() == Qt::Key_Space))
        return setExpanded(!m_expanded);
    QWidget::keyPressEvent(event);
}

void RecipientsView::focusInEvent(QFocusEvent *)
{
    update();
}

void RecipientsView::focusOutEvent(QFocusEvent *)
{
    update();
}
