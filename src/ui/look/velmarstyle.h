#pragma once

#include <QProxyStyle>

class QAbstractButton;
class QToolButton;

/// What a button is, beyond plain and its dialog's default.
enum class ButtonKind {
    Plain,     //
    Accent,    ///< filled with the accent: one a window at most; a dialog's default looks so by itself
    Dangerous, ///< red outline and text; never a default
    Ghost,     ///< only text, in the colour of links
};

void setButtonKind(QAbstractButton *button, ButtonKind kind);
ButtonKind buttonKind(const QWidget *button);

/// Marks a tree whose rows are rounded and inset by 8 px, as the one of groups: its selection has no bar.
void setRoundedRows(QWidget *view, bool rounded = true);
bool hasRoundedRows(const QWidget *view);

/// Draws every control of the program over Fusion's proportions: flat, with one radius, one border and the
/// sizes of metrics.h, in the colours of the moment. It has no state of its own but the Alt key, which shows
/// the mnemonics. Style sheets would switch it off and are used nowhere.
class VelmarStyle : public QProxyStyle
{
    Q_OBJECT

public:
    VelmarStyle();

    void drawPrimitive(PrimitiveElement element, const QStyleOption *option, QPainter *painter,
                       const QWidget *widget = nullptr) const override;
    void drawControl(ControlElement element, const QStyleOption *option, QPainter *painter,
                     const QWidget *widget = nullptr) const override;
    void drawComplexControl(ComplexControl control, const QStyleOptionComplex *option, QPainter *painter,
                            const QWidget *widget = nullptr) const override;
    void drawItemText(QPainter *painter, const QRect &rect, int flags, const QPalette &palette, bool enabled,
                      const QString &text, QPalette::ColorRole role = QPalette::NoRole) const override;

    QSize sizeFromContents(ContentsType type, const QStyleOption *option, const QSize &contents,
                           const QWidget *widget) const override;
    QRect subElementRect(SubElement element, const QStyleOption *option,
                         const QWidget *widget = nullptr) const override;
    QRect subControlRect(ComplexControl control, const QStyleOptionComplex *option, SubControl part,
                         const QWidget *widget = nullptr) const override;
    int pixelMetric(PixelMetric metric, const QStyleOption *option = nullptr,
                    const QWidget *widget = nullptr) const override;
    int styleHint(StyleHint hint, const QStyleOption *option = nullptr, const QWidget *widget = nullptr,
                  QStyleHintReturn *returned = nullptr) const override;
    QIcon standardIcon(StandardPixmap pixmap, const QStyleOption *option = nullptr,
                       const QWidget *widget = nullptr) const override;
    QPixmap standardPixmap(StandardPixmap pixmap, const QStyleOption *option = nullptr,
                           const QWidget *widget = nullptr) const override;
    QPalette standardPalette() const override;

    void polish(QWidget *widget) override;
    void polish(QApplication *application) override;
    void unpolish(QApplication *application) override;
    using QProxyStyle::polish;
    using QProxyStyle::unpolish;

    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    bool m_altHeld = false;
};
