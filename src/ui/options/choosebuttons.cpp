#include "ui/options/choosebuttons.h"

#include "ui/look/colours.h"
#include "ui/look/metrics.h"
#include "ui/look/storedcolours.h"

#include <QColorDialog>
#include <QFontDialog>
#include <QIconEngine>
#include <QLocale>
#include <QMenu>
#include <QPainter>

using namespace Qt::StringLiterals;

namespace {

QColor colourOf(int stored)
{
    return QColor(QRgb(stored) & 0xFFFFFF);
}

QFont fontOf(const QString &description)
{
    QFont font;
    font.fromString(description);
    return font;
}

QString wordsOf(const QFont &font)
{
    return font.pointSizeF() > 0
               ? ChooseButton::tr("%1, %2 pt").arg(font.family(), QLocale().toString(font.pointSizeF()))
               : font.family();
}

/// A square of the colour in the frame of fields.
class SampleEngine : public QIconEngine
{
public:
    explicit SampleEngine(const QColor &sample)
        : m_sample(sample)
    {}

    void paint(QPainter *painter, const QRect &rect, QIcon::Mode, QIcon::State) override
    {
        painter->save();
        painter->setRenderHint(QPainter::Antialiasing);
        painter->setPen(colour(Role::Field));
        painter->setBrush(m_sample);
        painter->drawRoundedRect(QRectF(rect).adjusted(0.5, 0.5, -0.5, -0.5), radius::box, radius::box);
        painter->restore();
    }
    QPixmap pixmap(const QSize &size, QIcon::Mode mode, QIcon::State state) override
    {
        QPixmap picture(size);
        picture.fill(Qt::transparent);
        QPainter painter(&picture);
        paint(&painter, picture.rect(), mode, state);
        return picture;
    }
    QIconEngine *clone() const override { return new SampleEngine(m_sample); }

private:
    QColor m_sample;
};

} // namespace

ChooseButton::ChooseButton(QWidget *parent)
    : QPushButton(parent)
{
    setAutoDefault(false);
    auto *menu = new QMenu(this);
    menu->addAction(tr("Automatic"), this, [this] { takeAutomatic(); });
    menu->addAction(tr("Choose…"), this, [this] { choose(); });
    setMenu(menu);
}

QString ChooseButton::searched() const
{
    return tr("Automatic");
}

FontButton::FontButton(const QString &automatic, QWidget *parent)
    : ChooseButton(parent)
    , m_automatic(automatic)
{
    setChosen(automatic);
}

void FontButton::setChosen(const QString &font)
{
    m_font = font;
    setText(font == m_automatic ? tr("Automatic") : wordsOf(fontOf(font)));
    emit changed();
}

void FontButton::choose()
{
    auto *dialog = new QFontDialog(m_font == m_automatic ? QFont() : fontOf(m_font), this);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    connect(dialog, &QFontDialog::fontSelected, this,
            [this](const QFont &font) { setChosen(font.toString()); });
    dialog->open();
}

ColourButton::ColourButton(int automatic, QWidget *parent)
    : ChooseButton(parent)
    , m_automatic(automatic)
{
    setChosen(automatic);
}

void ColourButton::setChosen(int colour)
{
    m_colour = colour;
    const bool isAutomatic = colour == m_automatic;
    setText(isAutomatic ? tr("Automatic") : colourOf(colour).name().toUpper());
    setIcon(isAutomatic ? QIcon() : QIcon(new SampleEngine(colourOf(colour))));
    emit changed();
}

void ColourButton::choose()
{
    auto *dialog = new QColorDialog(colourOf(m_colour), this);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    connect(dialog, &QColorDialog::colorSelected, this,
            [this](const QColor &colour) { setChosen(storedColour(colour)); });
    dialog->open();
}
