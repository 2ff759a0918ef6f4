#include "ui/look/avatar.h"

#include "ui/look/colours.h"
#include "ui/look/metrics.h"
#include "ui/look/styleparts.h"

#include <QApplication>
#include <QPainter>
#include <QTextBoundaryFinder>

using namespace Qt::StringLiterals;

namespace {

/// The first letter or digit with what is written on top of it.
QString firstLetter(const QString &word)
{
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, word);
    qsizetype start = 0;
    for (qsizetype end = finder.toNextBoundary(); end > 0; end = finder.toNextBoundary()) {
        const QString letter = word.mid(start, end - start);
        const QList<uint> points = letter.toUcs4();
        if (!points.isEmpty() && QChar::isLetterOrNumber(points.first()))
            return letter.toUpper();
        start = end;
    }
    return {};
}

} // namespace

QString initialsOf(const QString &name, const QString &address)
{
    QStringList letters;
    const QStringList words = name.left(200).split(u' ', Qt::SkipEmptyParts);
    for (const QString &word : words)
        if (const QString letter = firstLetter(word); !letter.isEmpty())
            letters.append(letter);
    if (letters.size() > 1)
        return letters.first() + letters.last();
    if (letters.size() == 1)
        return letters.first();
    const QString letter = firstLetter(address.left(200));
    return letter.isEmpty() ? u"?"_s : letter;
}

void paintAvatar(QPainter *painter, const QRect &rect, const QString &name, const QString &address)
{
    const HueColours colours = hueColours(hueFor(address.isEmpty() ? name : address));
    paintPanel(painter, rect, rect.width() / 2.0, colours.background,
               isHighContrast(currentScheme()) ? colour(Role::Line) : QColor());
    painter->save();
    QFont font = QApplication::font();
    font.setPixelSize(std::max(1, qRound(rect.height() * 0.38)));
    font.setWeight(QFont::DemiBold);
    painter->setFont(font);
    painter->setPen(colours.text);
    painter->drawText(rect, Qt::AlignCenter, initialsOf(name, address));
    painter->restore();
}

Avatar::Avatar(int size, QWidget *parent)
    : QWidget(parent)
    , m_size(size)
{
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

void Avatar::setPerson(const QString &name, const QString &address)
{
    m_name = name;
    m_address = address;
    update();
}

QSize Avatar::sizeHint() const
{
    const int side = qRound(m_size * iconFactor());
    return {side, side};
}

void Avatar::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    paintAvatar(&painter, rect(), m_name, m_address);
}
