#include "ui/compose/htmlwriter.h"

#include "html/htmlescape.h"

#include <QTextBlock>
#include <QTextDocument>
#include <QTextList>

using namespace Qt::StringLiterals;

namespace {

/// How deep a paragraph is quoted; the reader of HTML in the toolkit says so at its blocks.
int quoteDepth(const QTextBlock &block)
{
    return block.blockFormat().intProperty(QTextFormat::BlockQuoteLevel);
}

QString alignmentOf(const QTextBlockFormat &format)
{
    const Qt::Alignment alignment = format.alignment() & Qt::AlignHorizontal_Mask;
    if (alignment & Qt::AlignHCenter)
        return u" style=\"text-align: center\""_s;
    if (alignment & Qt::AlignJustify)
        return u" style=\"text-align: justify\""_s;
    if ((alignment & Qt::AlignRight) && !(alignment & Qt::AlignAbsolute))
        return u" style=\"text-align: right\""_s;
    return {};
}

/// Blanks that a reader of HTML would take away: at an end of @p text, and all but the last of several.
QString withLastingBlanks(QString text)
{
    for (qsizetype i = 0; i < text.size(); ++i) {
        const bool isAtEnd = i == 0 || i + 1 == text.size();
        if (text[i] == u' ' && (isAtEnd || text[i + 1] == u' ' || text[i - 1] == QChar::LineSeparator))
            text[i] = QChar::Nbsp;
    }
    return text;
}

class Writer
{
public:
    QString write(const QTextDocument &document)
    {
        for (QTextBlock block = document.begin(); block.isValid(); block = block.next())
            add(block);
        toDepth(0);
        return u"<!DOCTYPE html>\n<html><head><meta charset=\"utf-8\"></head><body>"_s + m_html +
               u"</body></html>"_s;
    }

private:
    void add(const QTextBlock &block)
    {
        const QTextList *list = block.textList();
        if (list != m_list)
            endList();
        toDepth(quoteDepth(block));
        if (list && list != m_list)
            beginList(list);
        const QTextBlockFormat format = block.blockFormat();
        const int heading = std::min(format.headingLevel(), 6);
        const QString tag = list ? u"li"_s : heading > 0 ? u"h%1"_s.arg(heading) : u"p"_s;
        QString inside = contents(block, heading > 0);
        if (inside.isEmpty())
            inside = QChar(QChar::Nbsp); // an empty paragraph has no height otherwise
        // line ends only here: behind a paragraph that is the last they would be read back as a blank
        m_html += u"\n<"_s + tag + alignmentOf(format) + u'>' + inside + u"</"_s + tag + u'>';
    }

    void toDepth(int depth)
    {
        if (depth != m_depth)
            endList();
        for (; m_depth > depth; --m_depth)
            m_html += u"</blockquote>"_s;
        for (; m_depth < depth; ++m_depth)
            m_html += u"<blockquote type=\"cite\">"_s;
    }

    static bool isNumbered(const QTextList *list)
    {
        return list->format().style() <= QTextListFormat::ListDecimal;
    }

    void beginList(const QTextList *list)
    {
        m_list = list;
        m_listTag = isNumbered(list) ? u"ol"_s : u"ul"_s;
        m_html += u'<' + m_listTag + u'>';
    }

    void endList()
    {
        if (m_list)
            m_html += u"</"_s + m_listTag + u'>';
        m_list = nullptr;
    }

    static QString contents(const QTextBlock &block, bool isHeading)
    {
        QString html;
        for (auto it = block.begin(); !it.atEnd(); ++it)
            if (it.fragment().isValid())
                html += fragment(it.fragment(), isHeading);
        return html;
    }

    static QString fragment(const QTextFragment &fragment, bool isHeading)
    {
        const QTextCharFormat format = fragment.charFormat();
        if (format.isImageFormat())
            return picture(format.toImageFormat());
        QString html = htmlEscaped(withLastingBlanks(fragment.text()));
        html.replace(QChar::LineSeparator, u"<br>"_s);
        html.replace(u'\t', u"<span style=\"white-space: pre\">\t</span>"_s);
        if (format.fontWeight() > QFont::Normal && !isHeading)
            html = u"<b>"_s + html + u"</b>"_s;
        if (format.fontItalic())
            html = u"<i>"_s + html + u"</i>"_s;
        if (format.fontUnderline() && !format.isAnchor())
            html = u"<u>"_s + html + u"</u>"_s;
        if (format.hasProperty(QTextFormat::ForegroundBrush) && !format.isAnchor())
            html =
                u"<span style=\"color: %1\">"_s.arg(format.foreground().color().name()) + html + u"</span>"_s;
        if (format.isAnchor() && !format.anchorHref().isEmpty())
            html = u"<a href=\"%1\">"_s.arg(htmlEscaped(format.anchorHref())) + html + u"</a>"_s;
        return html;
    }

    static QString picture(const QTextImageFormat &format)
    {
        if (!format.name().startsWith("cid:"_L1))
            return {};
        QString sizes;
        if (format.width() > 0)
            sizes += u" width=\"%1\""_s.arg(qRound(format.width()));
        if (format.height() > 0)
            sizes += u" height=\"%1\""_s.arg(qRound(format.height()));
        return u"<img src=\"%1\" alt=\"\"%2>"_s.arg(htmlEscaped(format.name()), sizes);
    }

    QString m_html;
    const QTextList *m_list = nullptr;
    QString m_listTag;
    int m_depth = 0;
};

} // namespace

QString htmlOf(const QTextDocument &document)
{
    return Writer().write(document);
}

QString plainTextOf(const QTextDocument &document)
{
    QString text;
    for (QTextBlock block = document.begin(); block.isValid(); block = block.next()) {
        const int depth = quoteDepth(block);
        QString prefix = depth > 0 ? QString(depth, u'>') + u' ' : QString();
        if (const QTextList *list = block.textList())
            prefix += list->format().style() <= QTextListFormat::ListDecimal
                          ? u"%1. "_s.arg(list->itemNumber(block) + 1)
                          : u"- "_s;
        QString line = block.text();
        line.remove(QChar::ObjectReplacementCharacter);
        if (line == QChar(QChar::Nbsp)) // as the writer marks an empty paragraph
            line.clear();
        line.replace(QChar::Nbsp, u' ');
        line.replace(QChar::LineSeparator, u'\n' + (depth > 0 ? QString(depth, u'>') + u' ' : QString()));
        text += prefix + line + u'\n';
    }
    return text;
}
