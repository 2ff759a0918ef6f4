#include "ui/look/fixedfont.h"

#include "ui/look/metrics.h"

#include <QFontDatabase>
#include <QWidget>

void setFixedFont(QWidget *widget)
{
    const QFont application = fontScaled(1);
    QFont fixed = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    if (application.pointSizeF() > 0)
        fixed.setPointSizeF(application.pointSizeF());
    else
        fixed.setPixelSize(application.pixelSize());
    widget->setFont(fixed);
}
