#include "identity/oneline.h"

QString oneLineOf(const QString &text)
{
    QString line = QString::fromUtf8(text.toUtf8()); // half a surrogate pair is no character
    for (QChar &c : line) {
        const QChar::Category category = c.category();
        if (category == QChar::Other_Control || category == QChar::Separator_Line ||
            category == QChar::Separator_Paragraph)
            c = u' ';
    }
    return line.trimmed();
}
