#include "ui/look/icons.h"
#include "ui/look/metrics.h"
#include "ui/look/styleparts.h"

#include <QPainter>

void drawField(const QStyleOption *option, QPainter *painter)
{
    const bool enabled = isEnabled(option);
    paintPanel(painter, option->rect, radius::field, colour(enabled ? Role::Base : Role::Chrome),
               colour(enabled ? Role::Field : Role::Line));
    if (hasFocus(option))
        paintFocusRing(painter, option->rect, radius::field);
}

void drawComboBox(const QStyleOptionComboBox *option, QPainter *painter)
{
    const bool enabled = isEnabled(option);
    if (option->frame) {
        const Role fill = option->editable    ? Role::Base
                          : isHovered(option) ? Role::HoverChrome
                                              : Role::Button;
        paintPanel(painter, option->rect, radius::field, colour(enabled ? fill : Role::Chrome),
                   colour(enabled ? Role::Field : Role::Line));
    } else if (isHovered(option)) {
        paintPanel(painter, option->rect, radius::field, colour(Role::HoverChrome), {});
    }
    if (hasFocus(option))
        paintFocusRing(painter, option->rect, radius::field);
    paintChevron(painter, trailing(option, option->rect, kComboArrow), Qt::DownArrow,
                 colour(enabled ? Role::Text2 : Role::Disabled), iconSize(IconUse::Row) - 2);
}

void drawComboBoxLabel(const QStyleOptionComboBox *option, QPainter *painter)
{
    const QRect line = QStyle::visualRect(option->direction, option->rect,
                                          option->rect.adjusted(kFieldPadding, 0, -kComboArrow, 0));
    const int icon = option->currentIcon.isNull() ? 0 : option->iconSize.height();
    if (icon)
        paintIcon(painter, leading(option, line, icon), option->currentIcon, icon, colour(Role::Text2),
                  option->direction, isEnabled(option));
    if (option->editable)
        return;
    const int before = icon ? icon + kIconGap : 0;
    const QRect words = QStyle::visualRect(option->direction, line, line.adjusted(before, 0, 0, 0));
    const QString text = option->fontMetrics.elidedText(option->currentText, Qt::ElideRight, words.width());
    painter->save();
    painter->setPen(option->palette.color(isEnabled(option) ? QPalette::Active : QPalette::Disabled,
                                          QPalette::ButtonText));
    painter->drawText(
        words, int(QStyle::visualAlignment(option->direction, Qt::AlignLeft)) | Qt::AlignVCenter, text);
    painter->restore();
}

void drawSpinBox(const QStyleOptionSpinBox *option, QPainter *painter, const QStyle *style,
                 const QWidget *widget)
{
    if (option->frame)
        drawField(option, painter);
    if (option->buttonSymbols == QAbstractSpinBox::NoButtons)
        return;
    const auto arrow = [&](QStyle::SubControl part, Qt::ArrowType type,
                           QAbstractSpinBox::StepEnabledFlag step) {
        const QRect rect = style->subControlRect(QStyle::CC_SpinBox, option, part, widget);
        const bool live = isEnabled(option) && option->stepEnabled & step;
        const bool touched = live && isHovered(option) && option->activeSubControls == part;
        paintChevron(painter, rect, type,
                     colour(!live     ? Role::Disabled
                            : touched ? Role::Link
                                      : Role::Text2),
                     iconSize(IconUse::Row) * 3 / 4);
    };
    arrow(QStyle::SC_SpinBoxUp, Qt::UpArrow, QAbstractSpinBox::StepUpEnabled);
    arrow(QStyle::SC_SpinBoxDown, Qt::DownArrow, QAbstractSpinBox::StepDownEnabled);
}

void drawSlider(const QStyleOptionSlider *option, QPainter *painter, const QStyle *style,
                const QWidget *widget)
{
    const QRect handle = style->subControlRect(QStyle::CC_Slider, option, QStyle::SC_SliderHandle, widget);
    const QColor accent = colour(isEnabled(option) ? Role::Accent : Role::Disabled);
    QRect groove = option->rect;
    QRect done = option->rect;
    if (option->orientation == Qt::Horizontal) {
        groove = QRect(groove.x(), groove.center().y() - 1, groove.width(), 4);
        done = groove;
        if (option->upsideDown)
            done.setLeft(handle.center().x());
        else
            done.setRight(handle.center().x());
    } else {
        groove = QRect(groove.center().x() - 1, groove.y(), 4, groove.height());
        done = groove;
        if (option->upsideDown)
            done.setTop(handle.center().y());
        else
            done.setBottom(handle.center().y());
    }
    paintPanel(painter, groove, 2, colour(Role::Pressed), {});
    paintPanel(painter, done, 2, accent, {});
    QRect knob(handle.center().x() - kSliderKnob / 2 + 1, groove.y() + 2 - kSliderKnob / 2, kSliderKnob,
               kSliderKnob);
    if (option->orientation == Qt::Vertical)
        knob.moveTopLeft({groove.x() + 2 - kSliderKnob / 2, handle.center().y() - kSliderKnob / 2 + 1});
    paintPanel(painter, knob, kSliderKnob / 2.0, colour(Role::Base),
               hasFocus(option) ? accent : colour(Role::Field), hasFocus(option) ? 2 : 1);
}

QFont groupTitleFont()
{
    return fontScaled(scale::title, QFont::DemiBold);
}

void drawGroupBox(const QStyleOptionGroupBox *option, QPainter *painter, const QStyle *style,
                  const QWidget *widget)
{
    if (option->subControls & QStyle::SC_GroupBoxCheckBox) {
        QStyleOption box = *option;
        box.rect = style->subControlRect(QStyle::CC_GroupBox, option, QStyle::SC_GroupBoxCheckBox, widget);
        drawCheckBox(&box, painter);
    }
    if (option->text.isEmpty())
        return;
    const QRect words = style->subControlRect(QStyle::CC_GroupBox, option, QStyle::SC_GroupBoxLabel, widget);
    painter->save();
    painter->setFont(groupTitleFont());
    painter->setPen(colour(isEnabled(option) ? Role::Text : Role::Disabled));
    painter->drawText(words,
                      int(QStyle::visualAlignment(option->direction, Qt::AlignLeft)) | Qt::AlignVCenter |
                          mnemonicFlags(style, option, widget),
                      option->text);
    painter->restore();
    if (hasFocus(option))
        paintFocusRing(painter, words.adjusted(-4, 0, 4, 0), radius::box);
}
