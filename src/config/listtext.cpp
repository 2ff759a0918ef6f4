#include "config/listtext.h"

QString escapedText(QStringView text)
{
    QString out;
    out.reserve(text.size());
    for (const QChar c : text) {
        switch (c.unicode()) {
        case u'\\': out += u"\\\\"; break;
        case u'\t': out += u"\\t"; break;
        case u'\n': out += u"\\n"; break;
        case u'\r': out += u"\\r"; break;
        default: out += c;
        }
    }
    return out;
}

QString unescapedText(QStringView text)
{
    QString out;
    out.reserve(text.size());
    for (qsizetype i = 0; i < text.size(); ++i) {
        const char16_t next = text[i] == u'\\' && i + 1 < text.size() ? text[i + 1].unicode() : u'\0';
        switch (next) {
        case u'\\': out += u'\\'; break;
        case u't': out += u'\t'; break;
        case u'n': out += u'\n'; break;
        case u'r': out += u'\r'; break;
        default: out += text[i]; continue;
        }
        ++i;
    }
    return out;
}

QString escapedTextList(const QStringList &texts)
{
    QStringList escaped;
    escaped.reserve(texts.size());
    for (const QString &text : texts)
        escaped += escapedText(text);
    return escapedText(escaped.join(u'\t'));
}

QStringList unescapedTextList(QStringView text)
{
    if (text.isEmpty())
        return {};
    QStringList texts = unescapedText(text).split(u'\t');
    for (QString &piece : texts)
        piece = unescapedText(piece);
    return texts;
}
