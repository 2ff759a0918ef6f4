#pragma once

#include <QString>
#include <QStringView>

/// Appends @p text to @p out as HTML, fit for content and for attribute values in double quotes. Characters
/// that a text document keeps for itself (object replacement, frame marks) and control characters go.
inline void appendEscaped(QString &out, QStringView text)
{
    for (const QChar c : text) {
        switch (c.unicode()) {
        case u'<': out += u"&lt;"; break;
        case u'>': out += u"&gt;"; break;
        case u'&': out += u"&amp;"; break;
        case u'"': out += u"&quot;"; break;
        case u'\xFFFC':
        case u'\xFDD0':
        case u'\xFDD1': break;
        default:
            if (c >= u' ' || c == u'\n' || c == u'\t')
                out += c;
        }
    }
}

inline QString htmlEscaped(QStringView text)
{
    QString out;
    out.reserve(text.size() + text.size() / 8);
    appendEscaped(out, text);
    return out;
}
