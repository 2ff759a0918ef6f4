#include "ui/look/recolour.h"

#include "ui/look/metrics.h"

#include <QApplication>
#include <QVariant>
#include <QWidget>

namespace {

constexpr char kSurface[] = "velmarSurface";
constexpr char kTextRole[] = "velmarTextRole";
constexpr char kFontFactor[] = "velmarFontFactor";
constexpr char kFontWeight[] = "velmarFontWeight";

constexpr QPalette::ColorRole kTextRoles[] = {QPalette::WindowText, QPalette::Text, QPalette::ButtonText};

void applyPalette(QWidget *widget)
{
    QPalette palette;
    const QVariant surface = widget->property(kSurface);
    if (surface.isValid())
        palette = surfacePalette(Role(surface.toInt()));
    const QVariant text = widget->property(kTextRole);
    if (text.isValid())
        for (const QPalette::ColorRole role : kTextRoles)
            for (const QPalette::ColorGroup group : {QPalette::Active, QPalette::Inactive})
                palette.setColor(group, role, colour(Role(text.toInt())));
    widget->setPalette(palette);
}

void applyFont(QWidget *widget)
{
    widget->setFont(fontScaled(widget->property(kFontFactor).toDouble(),
                               QFont::Weight(widget->property(kFontWeight).toInt())));
}

} // namespace

QPalette surfacePalette(Role background)
{
    QPalette palette; // a fresh one: what is not set here goes on coming from the application
    palette.setColor(QPalette::Window, colour(background));
    palette.setColor(QPalette::Base, colour(background));
    return palette;
}

void setSurface(QWidget *widget, Role background)
{
    widget->setProperty(kSurface, int(background));
    widget->setAutoFillBackground(true);
    applyPalette(widget);
}

void setTextRole(QWidget *widget, Role text)
{
    widget->setProperty(kTextRole, int(text));
    applyPalette(widget);
}

void rememberFont(QWidget *widget, double factor, QFont::Weight weight)
{
    widget->setProperty(kFontFactor, factor);
    widget->setProperty(kFontWeight, int(weight));
    applyFont(widget);
}

void recolourWidgets()
{
    const QWidgetList widgets = QApplication::allWidgets();
    for (QWidget *widget : widgets) {
        if (widget->property(kSurface).isValid() || widget->property(kTextRole).isValid())
            applyPalette(widget);
        if (widget->property(kFontFactor).isValid())
            applyFont(widget);
        widget->update();
    }
}
