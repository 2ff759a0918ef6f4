#include "ui/actions/palettelist.h"

#include "ui/look/colours.h"
#include "ui/look/icons.h"
#include "ui/look/metrics.h"
#include "ui/look/styleparts.h"

#include <QPainter>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

constexpr int kCapPadding = 5;
constexpr int kMostNames = 3000; ///< UTF-16 units painted of a name

/// "Shift" and "C" of "Shift+C"; a plus may be the key itself.
QStringList capsOf(const QKeySequence &key)
{
    QString text = key.toString(QKeySequence::NativeText);
    const bool plus = text.endsWith(u"++");
    if (plus)
        text.chop(1);
    QStringList caps = text.split(u'+', Qt::SkipEmptyParts);
    if (plus || text == u"+")
        caps.append(u"+"_s);
    return caps;
}

/// What a row has still to give, from the leading to the trailing edge.
struct Rest
{
    const QStyleOptionViewItem &option;
    QRect rect;

    QRect lead(int width)
    {
        const QRect part = leading(&option, rect, std::min(width, rect.width()));
        rest(trailing(&option, rect, std::max(0, rect.width() - width)));
        return part;
    }
    QRect trail(int width)
    {
        const QRect part = trailing(&option, rect, std::min(width, rect.width()));
        rest(leading(&option, rect, std::max(0, rect.width() - width)));
        return part;
    }
    void rest(const QRect &left) { rect = left; }
};

void paintCaps(QPainter *painter, Rest &rest, const QKeySequence &key)
{
    const QFont font = fontScaled(rest.option.font, scale::section);
    const QFontMetrics metrics(font);
    const QStringList caps = capsOf(key);
    const int height = metrics.height() + 2;
    for (auto cap = caps.crbegin(); cap != caps.crend(); ++cap) {
        const int width = std::max(height, metrics.horizontalAdvance(*cap) + 2 * kCapPadding);
        QRect box = rest.trail(width);
        box = QRect(box.x(), box.center().y() - height / 2, width, height);
        paintPanel(painter, box, radius::box, colour(Role::Base), colour(Role::ButtonBorder));
        painter->setFont(font);
        painter->setPen(colour(Role::Text2));
        painter->drawText(box, Qt::AlignCenter | Qt::TextSingleLine, *cap);
        rest.trail(space::inner);
    }
}

void paintPlain(QPainter *painter, Rest &rest, const QString &text, const QFont &font, const QColor &ink)
{
    const QFontMetrics metrics(font);
    const QString shown = metrics.elidedText(text, Qt::ElideRight, rest.rect.width());
    painter->setFont(font);
    painter->setPen(ink);
    painter->drawText(rest.lead(metrics.horizontalAdvance(shown)), Qt::AlignVCenter | Qt::TextSingleLine,
                      shown);
}

/// In visual order only where the text runs as the window does; else the whole name is painted at once.
void paintName(QPainter *painter, Rest &rest, const QString &name, QList<MatchedPiece> pieces,
               const QColor &ink)
{
    const QFont plain = rest.option.font;
    if (name.isRightToLeft() || rest.option.direction == Qt::RightToLeft)
        return paintPlain(painter, rest, name.left(kMostNames), plain, ink);
    QFont bold = plain;
    bold.setWeight(QFont::DemiBold);
    std::sort(pieces.begin(), pieces.end(),
              [](const MatchedPiece &a, const MatchedPiece &b) { return a.start < b.start; });
    qsizetype at = 0;
    for (const MatchedPiece &piece : pieces) {
        if (piece.start < at)
            continue;
        paintPlain(painter, rest, name.sliced(at, piece.start - at), plain, ink);
        paintPlain(painter, rest, name.sliced(piece.start, piece.length), bold, ink);
        at = piece.start + piece.length;
    }
    paintPlain(painter, rest, name.sliced(at).left(kMostNames), plain, ink);
}

} // namespace

void PaletteModel::show(const QList<PaletteItem> &items, const QString &typed)
{
    beginResetModel();
    m_items = items;
    m_matches = matchItems(items, typed);
    endResetModel();
}

int PaletteModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(m_matches.size());
}

QVariant PaletteModel::data(const QModelIndex &index, int role) const
{
    if (!index.isValid())
        return {};
    const PaletteItem &item = itemAt(index.row());
    if (role == Qt::DisplayRole)
        return item.name;
    if (role != Qt::AccessibleTextRole)
        return {};
    QStringList words = {item.name};
    if (!item.where.isEmpty())
        words.append(item.where);
    if (!item.keys.isEmpty())
        words.append(item.keys.first().toString(QKeySequence::NativeText));
    return words.join(u", "_s);
}

Qt::ItemFlags PaletteModel::flags(const QModelIndex &index) const
{
    if (!index.isValid())
        return {};
    const Qt::ItemFlags flags = Qt::ItemIsSelectable | Qt::ItemNeverHasChildren;
    return itemAt(index.row()).enabled ? flags | Qt::ItemIsEnabled : flags;
}

PaletteDelegate::PaletteDelegate(const PaletteModel &model, QObject *parent)
    : QStyledItemDelegate(parent)
    , m_model(model)
{}

QSize PaletteDelegate::sizeHint(const QStyleOptionViewItem &, const QModelIndex &) const
{
    return {0, textHeight() + 14};
}

void PaletteDelegate::paint(QPainter *painter, const QStyleOptionViewItem &option,
                            const QModelIndex &index) const
{
    const PaletteItem &item = m_model.itemAt(index.row());
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    Rest rest{option, option.rect.adjusted(0, 1, 0, -1)};
    if (option.state & QStyle::State_Selected)
        paintPanel(painter, rest.rect, radius::field, colour(Role::Selection),
                   isHighContrast(currentScheme()) ? colour(Role::Text) : QColor(), 2);
    rest.lead(space::group);
    const QRect sign = rest.lead(iconSize(IconUse::Row));
    if (!item.icon.isNull())
        paintIcon(painter, sign, item.icon, iconSize(IconUse::Row),
                  colour(item.enabled ? Role::Text2 : Role::Disabled), option.direction, item.enabled);
    rest.lead(space::group);
    rest.trail(space::group);
    if (!item.keys.isEmpty())
        paintCaps(painter, rest, item.keys.first());
    paintName(painter, rest, item.name, m_model.piecesAt(index.row()),
              colour(item.enabled ? Role::Text : Role::Disabled));
    rest.lead(space::group);
    paintPlain(painter, rest, item.where, fontScaled(option.font, scale::small),
               colour(item.enabled ? Role::Text2 : Role::Disabled));
    painter->restore();
}
