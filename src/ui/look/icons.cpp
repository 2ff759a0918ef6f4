#include "ui/look/icons.h"

#include <QDir>
#include <QFile>
#include <QGuiApplication>
#include <QIconEngine>
#include <QPainter>
#include <QPixmapCache>
#include <QSvgRenderer>

#include <algorithm>
#include <optional>

using namespace Qt::StringLiterals;

namespace {

constexpr const char *kMirrored[] = {
    "align-left", "align-right", "chevron-left", "chevron-right", "forward", "forwarded", "redo",
    "replied",    "reply",       "reply-all",    "send",          "sent",    "undo",
};

QString pathOf(const QString &name)
{
    return u":/icons/"_s + name + u".svg"_s;
}

QByteArray drawing(const QString &name, const QColor &colour, const QColor &accent)
{
    QFile file(pathOf(name));
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return file.readAll()
        .replace("currentColor", colour.name().toLatin1())
        .replace("ACCENT", accent.name().toLatin1());
}

QPixmap render(const QByteArray &svg, int pixels, bool mirrored)
{
    QPixmap pixmap(pixels, pixels);
    pixmap.fill(Qt::transparent);
    QSvgRenderer renderer(svg);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    if (mirrored) {
        painter.translate(pixels, 0);
        painter.scale(-1, 1);
    }
    renderer.render(&painter, QRectF(0, 0, pixels, pixels));
    return pixmap;
}

/// The bar under the letter of the colour icon keeps the accent, except where that is the ground or all is
/// grey.
QColor accentBeside(const QColor &colour)
{
    const bool plain = colour == ::colour(Role::OnAccent) || colour == ::colour(Role::Disabled);
    return plain ? colour : ::colour(Role::Accent);
}

/// Names and a role, no pixels: those are made when it is painted, in the colours of that moment.
class IconEngine : public QIconEngine
{
public:
    IconEngine(QString name, std::optional<Role> role)
        : m_name(std::move(name))
        , m_role(role)
    {}

    QIconEngine *clone() const override { return new IconEngine(*this); }
    QString key() const override { return u"velmar"_s; }
    QString iconName() override { return m_role ? QString() : m_name; }
    bool isNull() override { return false; }

    QColor colourFor(QIcon::Mode mode, QIcon::State state) const
    {
        if (mode == QIcon::Disabled)
            return colour(Role::Disabled);
        if (m_role)
            return colour(*m_role);
        return colour(mode == QIcon::Selected || state == QIcon::On ? Role::Link : Role::Text2);
    }

    void paint(QPainter *painter, const QRect &rect, QIcon::Mode mode, QIcon::State state) override
    {
        paintIcon(painter, rect, m_name, colourFor(mode, state), QGuiApplication::layoutDirection());
    }

    QPixmap pixmap(const QSize &size, QIcon::Mode mode, QIcon::State state) override
    {
        return scaledPixmap(size, mode, state, 1);
    }

    QPixmap scaledPixmap(const QSize &size, QIcon::Mode mode, QIcon::State state, qreal scale) override
    {
        QPixmap pixmap = iconPixmap(m_name, std::min(size.width(), size.height()), 1, colourFor(mode, state),
                                    QGuiApplication::layoutDirection());
        pixmap.setDevicePixelRatio(scale);
        return pixmap;
    }

    QSize actualSize(const QSize &size, QIcon::Mode, QIcon::State) override
    {
        const int side = std::min(size.width(), size.height());
        return {side, side};
    }

private:
    QString m_name;
    std::optional<Role> m_role;
};

QRect middleOf(const QRect &rect, int side)
{
    return {rect.x() + (rect.width() - side) / 2, rect.y() + (rect.height() - side) / 2, side, side};
}

QIcon madeIcon(const QString &name, std::optional<Role> role)
{
    return iconExists(name) ? QIcon(new IconEngine(name, role)) : QIcon();
}

} // namespace

QIcon icon(const QString &name)
{
    return madeIcon(name, {});
}

QIcon icon(const QString &name, Role role)
{
    return madeIcon(name, role);
}

bool iconExists(const QString &name)
{
    return !name.isEmpty() && QFile::exists(pathOf(name));
}

QStringList iconNames()
{
    QStringList names = QDir(u":/icons"_s).entryList({u"*.svg"_s}, QDir::Files, QDir::Name);
    for (QString &name : names)
        name.chop(4);
    return names;
}

bool iconIsMirrored(const QString &name)
{
    return std::any_of(std::begin(kMirrored), std::end(kMirrored),
                       [&](const char *mirrored) { return name == QLatin1StringView(mirrored); });
}

QPixmap iconPixmap(const QString &name, int size, qreal devicePixelRatio, const QColor &colour,
                   Qt::LayoutDirection direction)
{
    const int pixels = qRound(size * devicePixelRatio);
    if (pixels <= 0)
        return {};
    const bool mirrored = direction == Qt::RightToLeft && iconIsMirrored(name);
    const QColor accent = accentBeside(colour);
    const QString key = u"velmar/%1/%2/%3/%4/%5"_s.arg(name)
                            .arg(pixels)
                            .arg(colour.rgba(), 0, 16)
                            .arg(accent.rgba(), 0, 16)
                            .arg(int(mirrored));
    QPixmap pixmap;
    if (!QPixmapCache::find(key, &pixmap)) {
        const QByteArray svg = drawing(name, colour, accent);
        if (svg.isEmpty())
            return {};
        pixmap = render(svg, pixels, mirrored);
        QPixmapCache::insert(key, pixmap);
    }
    pixmap.setDevicePixelRatio(devicePixelRatio);
    return pixmap;
}

void paintIcon(QPainter *painter, const QRect &rect, const QString &name, const QColor &colour,
               Qt::LayoutDirection direction)
{
    const int side = std::min(rect.width(), rect.height());
    const QPixmap pixmap = iconPixmap(name, side, painter->device()->devicePixelRatioF(), colour, direction);
    if (!pixmap.isNull())
        painter->drawPixmap(middleOf(rect, side).topLeft(), pixmap);
}

void paintIcon(QPainter *painter, const QRect &rect, const QIcon &icon, int size, const QColor &colour,
               Qt::LayoutDirection direction, bool enabled)
{
    const QRect square = middleOf(rect, size);
    const QString name = icon.name();
    if (iconExists(name))
        paintIcon(painter, square, name, enabled ? colour : ::colour(Role::Disabled), direction);
    else
        icon.paint(painter, square, Qt::AlignCenter, enabled ? QIcon::Normal : QIcon::Disabled);
}
