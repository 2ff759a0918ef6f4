#include "ui/look/wheel.h"

#include <QAbstractSpinBox>
#include <QComboBox>
#include <QEvent>

namespace {

class WheelFilter : public QObject
{
public:
    using QObject::QObject;

    /// Stopped and ignored, it goes on to the field's parent.
    bool eventFilter(QObject *object, QEvent *event) override
    {
        const auto *field = qobject_cast<QWidget *>(object);
        if (event->type() != QEvent::Wheel || !field || field->hasFocus())
            return false;
        event->ignore();
        return true;
    }
};

} // namespace

void keepFromWheel(QWidget *within)
{
    auto *filter = new WheelFilter(within);
    const auto keep = [filter](QWidget *field) {
        field->setFocusPolicy(Qt::StrongFocus); // the wheel does not bring the keyboard there
        field->installEventFilter(filter);
    };
    for (QComboBox *box : within->findChildren<QComboBox *>())
        keep(box);
    for (QAbstractSpinBox *box : within->findChildren<QAbstractSpinBox *>())
        keep(box);
}
