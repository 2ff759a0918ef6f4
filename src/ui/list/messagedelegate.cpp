#include "ui/list/messagedelegate.h"

#include "config/settings.h"
#include "ui/look/colours.h"
#include "ui/look/icons.h"
#include "ui/look/metrics.h"
#include "ui/look/rows.h"
#include "ui/look/storedcolours.h"
#include "ui/look/styleparts.h"
#include "ui/texts/messagetexts.h"

#include <QPainter>

using namespace Qt::StringLiterals;

namespace {

constexpr int kLeading = 6;   ///< in a cell, as in the header above it
constexpr int kTrailing = 12; //
constexpr int kIndent = 18;
constexpr int kIndentTwoLines = 16;
constexpr int kDeepestShown = 12; ///< levels further down stand below each other
constexpr int kGutter = 30;
constexpr int kDot = 8;
constexpr int kGoodScore = 25;
constexpr int kTags = 2;        ///< pills in a row
constexpr int kPillPadding = 7; ///< before and behind the name in it

int chevronWidth()
{
    return iconSize(IconUse::Row);
}

} // namespace

/// What the painting of one row hands from step to step; @c rest shrinks as its ends are used.
struct MessageDelegate::Row
{
    QPainter *painter;
    const QStyleOptionViewItem &option;
    const ShownMessage &item;
    QRect rest;

    bool isUnread() const { return !item.overview.has(Mark::Read); }
    QColor ink() const { return isUnread() ? shownColour(Setting::WindowTextColour) : shownReadRowColour(); }
    QColor dim() const { return isUnread() ? ink() : colour(Role::Text2); }
    QFont font(double factor = 1) const
    {
        return fontScaled(option.font, factor, isUnread() ? QFont::DemiBold : QFont::Normal);
    }

    QRect takeLeading(int width)
    {
        const QRect part = leading(&option, rest, width);
        rest = trailing(&option, rest, std::max(0, rest.width() - width));
        return part;
    }
    QRect takeTrailing(int width)
    {
        const QRect part = trailing(&option, rest, width);
        rest = leading(&option, rest, std::max(0, rest.width() - width));
        return part;
    }

    void text(const QRect &rect, const QString &words, const QFont &font, const QColor &ink,
              Qt::Alignment side = Qt::AlignLeading) const
    {
        painter->setFont(font);
        painter->setPen(ink);
        const QString shown = QFontMetrics(font).elidedText(words, Qt::ElideRight, rect.width());
        painter->setLayoutDirection(Qt::LayoutDirectionAuto); // the words have their own, the window the side
        painter->drawText(rect,
                          int(QStyle::visualAlignment(option.direction, side)) | Qt::AlignAbsolute |
                              Qt::AlignVCenter | Qt::TextSingleLine,
                          shown);
        painter->setLayoutDirection(option.direction);
    }
    void icon(const QRect &rect, const QString &name, const QColor &ink) const
    {
        paintIcon(painter, rect, name, ink, option.direction);
    }
    QRect square(const QRect &rect) const
    {
        QRect box(0, 0, iconSize(IconUse::Row), iconSize(IconUse::Row));
        box.moveCenter(rect.center());
        return box;
    }

    void state(const QRect &rect) const
    {
        if (isUnread()) {
            QRect dot(0, 0, kDot, kDot);
            dot.moveCenter(rect.center());
            painter->setPen(Qt::NoPen);
            painter->setBrush(colour(Role::Accent));
            painter->drawEllipse(dot);
        } else if (item.overview.has(Mark::Replied)) {
            icon(square(rect), u"replied"_s, colour(Role::Text2));
        } else if (item.overview.has(Mark::Forwarded)) {
            icon(square(rect), u"forwarded"_s, colour(Role::Text2));
        }
    }
    /// The first tags as pills at the trailing end, on the line that @p atLine makes of a rectangle.
    template <typename AtLine>
    void tags(const AtLine &atLine)
    {
        const QFont small = fontScaled(option.font, scale::tag);
        const QFontMetrics metrics(small);
        for (qsizetype i = std::min<qsizetype>(item.tags.size(), kTags) - 1; i >= 0; --i) {
            const int width = metrics.horizontalAdvance(item.tags[i].name) + 2 * kPillPadding;
            if (width * 2 > rest.width())
                continue;
            QRect pill = atLine(takeTrailing(width));
            const int height = metrics.height() + 2;
            pill = QRect(pill.x(), pill.center().y() - height / 2, pill.width(), height);
            const HueColours colours = hueColours(item.tags[i].hue);
            paintPanel(painter, pill, height / 2.0, colours.background, {});
            text(pill, item.tags[i].name, small, colours.text, Qt::AlignHCenter);
            takeTrailing(i > 0 ? space::inner : space::between);
        }
    }
    void chevron(const QRect &rect) const
    {
        if (!item.hasAnswers)
            return;
        const Qt::ArrowType folded = option.direction == Qt::RightToLeft ? Qt::LeftArrow : Qt::RightArrow;
        paintChevron(painter, rect, item.isExpanded ? Qt::DownArrow : folded, colour(Role::Text2),
                     iconSize(IconUse::Row) * 3 / 4);
    }
};

MessageDelegate::MessageDelegate(const MessageListModel &model, QObject *parent)
    : QStyledItemDelegate(parent)
    , m_model(model)
{}

QSize MessageDelegate::sizeHint(const QStyleOptionViewItem &, const QModelIndex &index) const
{
    if (m_model.isHeading(index.row()))
        return {0, rowHeight(RowKind::Heading)};
    return {0, rowHeight(m_twoLines ? RowKind::TwoLines : RowKind::List)};
}

QRect MessageDelegate::chevronRect(const QRect &rect, int depth, Qt::LayoutDirection direction) const
{
    const int shift = std::min(depth, kDeepestShown) * kIndent;
    const QRect logical = m_twoLines
                              ? QRect(rect.x(), rect.y() + rect.height() / 2, kGutter, rect.height() / 2)
                              : QRect(rect.x() + kLeading + shift, rect.y(), chevronWidth(), rect.height());
    return QStyle::visualRect(direction, rect, logical);
}

void MessageDelegate::paint(QPainter *painter, const QStyleOptionViewItem &option,
                            const QModelIndex &index) const
{
    if (m_model.isHeading(index.row()))
        return; // the view has it drawn over all columns
    const ShownMessage item = m_row ? *m_row : m_model.item(index.row());
    Row row{painter, option, item, option.rect};
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    paintRowState(painter, option, option.widget);
    if (m_twoLines)
        paintTwoLines(row);
    else
        paintCell(row, MessageColumn(index.column()));
    paintRowFocus(painter, option, option.widget);
    painter->restore();
}

void MessageDelegate::paintCell(Row &row, MessageColumn column) const
{
    const QRect words = row.rest.adjusted(kLeading, 0, -kLeading, 0);
    const QRect value = row.rest.adjusted(kLeading, 0, -kTrailing, 0);
    const QRect number = QStyle::visualRect(row.option.direction, row.rest, value);
    const Overview &overview = row.item.overview;
    switch (column) {
    case MessageColumn::State: return row.state(row.rest);
    case MessageColumn::Flag:
        if (overview.has(Mark::Flagged))
            row.icon(row.square(row.rest), u"flag-fill"_s, colour(Role::Flag));
        return;
    case MessageColumn::Subject: return paintSubject(row);
    case MessageColumn::Clip:
        if (overview.has(Mark::Attachments))
            row.icon(row.square(row.rest), u"attach"_s, row.dim());
        return;
    case MessageColumn::From: return row.text(words, row.item.people, row.font(), row.ink());
    case MessageColumn::Score:
        return row.text(number, scoreText(overview.score()), row.font(scale::small),
                        overview.score() >= kGoodScore ? colour(Role::Good) : colour(Role::Text2),
                        Qt::AlignTrailing);
    case MessageColumn::Date:
    case MessageColumn::Size:
    case MessageColumn::Thread:
        return row.text(number, columnText(row.item, column), row.font(scale::small), row.dim(),
                        Qt::AlignTrailing);
    }
}

void MessageDelegate::paintSubject(Row &row) const
{
    row.takeLeading(kLeading + std::min(row.item.depth, kDeepestShown) * kIndent);
    row.chevron(row.takeLeading(chevronWidth()));
    row.takeLeading(1);
    row.takeTrailing(kLeading);
    paintSigns(row);
    row.text(row.rest, row.item.subject, row.font(), row.ink());
}

/// What stands at the trailing end of the subject: tags, how many there are in the thread, whether it is
/// watched.
void MessageDelegate::paintSigns(Row &row) const
{
    row.tags([](const QRect &rect) { return rect; });
    if (row.item.hasAnswers && !row.item.isExpanded && !m_threadColumn) {
        const QFont font = fontScaled(row.option.font, scale::section);
        const QString words = threadText(row.item.thread);
        const int width = QFontMetrics(font).horizontalAdvance(words) + 1;
        if (width * 2 < row.rest.width()) {
            row.text(row.takeTrailing(width), words, font, colour(Role::Text2));
            row.takeTrailing(space::between);
        }
    }
    if (row.item.overview.has(Mark::Watched) || row.item.overview.has(Mark::Ignored)) {
        const QString name = row.item.overview.has(Mark::Watched) ? u"watched"_s : u"ignored"_s;
        row.icon(row.square(row.takeTrailing(iconSize(IconUse::Row))), name, colour(Role::Text2));
        row.takeTrailing(space::between);
    }
}

void MessageDelegate::paintTwoLines(Row &row) const
{
    const int line = textHeight() + 3;
    const int first = row.rest.y() + (row.rest.height() - 2 * line) / 2;
    const QRect all = row.rest;
    const auto atLine = [&](const QRect &part, int number) {
        return QRect(part.x(), first + number * line, part.width(), line);
    };
    const QRect gutter = row.takeLeading(kGutter);
    if (!(row.option.state & QStyle::State_Selected))
        row.painter->fillRect(QRect(row.rest.x(), all.bottom(), row.rest.width(), 1), colour(Role::Line));
    row.state(atLine(gutter, 0));
    row.chevron(atLine(gutter, 1));
    row.takeLeading(std::min(row.item.depth, kDeepestShown) * kIndentTwoLines);
    row.takeTrailing(kTrailing);
    const QRect both = row.rest;

    const QFont small = row.font(scale::small);
    const QString date = shortDate(row.item.overview.date());
    row.text(atLine(row.takeTrailing(QFontMetrics(small).horizontalAdvance(date) + 1), 0), date, small,
             colour(row.isUnread() ? Role::Link : Role::Text2), Qt::AlignTrailing);
    row.takeTrailing(space::between);
    row.text(atLine(row.rest, 0), row.item.people, row.font(), row.ink());

    row.rest = both;
    const auto sign = [&](const QString &name, Role role) {
        row.icon(row.square(atLine(row.takeTrailing(iconSize(IconUse::Row)), 1)), name, colour(role));
        row.takeTrailing(space::inner);
    };
    if (row.item.overview.has(Mark::Flagged))
        sign(u"flag-fill"_s, Role::Flag);
    if (row.item.overview.has(Mark::Attachments))
        sign(u"attach"_s, Role::Text2);
    if (row.item.overview.has(Mark::Watched))
        sign(u"watched"_s, Role::Text2);
    row.tags([&](const QRect &rect) { return atLine(rect, 1); });
    if (row.item.hasAnswers && !row.item.isExpanded) {
        const QString words = threadText(row.item.thread);
        const QFont font = fontScaled(row.option.font, scale::section);
        row.text(atLine(row.takeTrailing(QFontMetrics(font).horizontalAdvance(words) + 1), 1), words, font,
                 colour(Role::Text2));
        row.takeTrailing(space::between);
    }
    row.text(atLine(row.rest, 1), row.item.subject, row.font(), row.ink());
}

void MessageDelegate::paintHeading(QPainter *painter, const QStyleOptionViewItem &option, int place) const
{
    const ShownHeading heading = m_model.heading(place);
    const QColor ink = shownColour(Setting::GroupingColourFG);
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    painter->fillRect(option.rect, shownColour(Setting::GroupingColourBG));
    const bool toLeft = option.direction == Qt::RightToLeft;
    const Qt::ArrowType folded = toLeft ? Qt::LeftArrow : Qt::RightArrow;
    paintChevron(painter, leading(&option, option.rect, kGutter + 2),
                 heading.isFolded ? folded : Qt::DownArrow, ink, iconSize(IconUse::Row) * 3 / 4);
    const QRect rest = trailing(&option, option.rect, option.rect.width() - kGutter);
    const QString words =
        heading.isFolded ? heading.text + u"   "_s + QString::number(heading.messages) : heading.text;
    painter->setFont(fontScaled(option.font, scale::small, QFont::DemiBold));
    painter->setPen(ink);
    painter->drawText(
        trailing(&option, leading(&option, rest, rest.width() - kTrailing), rest.width() - kTrailing),
        int(QStyle::visualAlignment(option.direction, Qt::AlignLeading)) | Qt::AlignVCenter |
            Qt::TextSingleLine,
        words);
    painter->restore();
}
