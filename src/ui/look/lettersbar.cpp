#include "ui/look/lettersbar.h"

#include <QToolBar>

void fillFromLetters(QToolBar *bar, const QString &letters, const std::function<bool(char16_t)> &add)
{
    bool separates = false;
    QAction *separator = nullptr;
    bool any = false;
    for (const QChar letter : letters) {
        if (letter == u' ') {
            separates = any;
            continue;
        }
        if (separates && !separator)
            separator = bar->addSeparator();
        if (add(letter.unicode())) {
            any = true;
            separates = false;
            separator = nullptr;
        }
    }
    if (separator)
        bar->removeAction(separator);
}
