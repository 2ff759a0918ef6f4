#include "ui/compose/plainform.h"

#include "compose/quotemarks.h"
#include "html/urls.h"
#include "ui/compose/composeformat.h"

#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocument>
#include <QTextList>
#include <QTextTable>

using namespace Qt::StringLiterals;
using namespace composeformat;

namespace {

constexpr int kMostIndent = 8;  ///< list levels
constexpr int kRuleLength = 40; ///< characters

/// A number as the list shows it.
QString itemMark(const QTextBlock &block, const QTextList &list)
{
    const QTextListFormat format = list.format();
    const QString indent(2 * std::clamp(format.indent() - 1, 0, kMostIndent), u' ');
    if (format.style() > QTextListFormat::ListDecimal)
        return indent + u"- "_s;
    if (format.style() < QTextListFormat::ListDecimal)
        return indent + list.itemText(block) + u' ';
    return indent + u"%1. "_s.arg(std::max(1, format.intProperty(ListStart)) + list.itemNumber(block));
}

/// Whether a link shows where it goes.
bool shows(const QString &words, const QString &target)
{
    const QString shown = words.trimmed();
    if (shown.isEmpty() || target.startsWith(u'#'))
        return true;
    const qsizetype at = target.indexOf(shown, 0, Qt::CaseInsensitive);
    return at >= 0 && target.size() - shown.size() <= qsizetype(sizeof("https:///"));
}

QString lineOf(const QTextBlock &block)
{
    QString line;
    QString words;
    QString target;
    const auto endLink = [&] {
        if (!target.isEmpty() && !shows(words, target))
            line += u" <"_s + target + u'>';
        words.clear();
        target.clear();
    };
    for (auto it = block.begin(); !it.atEnd(); ++it) {
        const QTextCharFormat format = it.fragment().charFormat();
        const QString link = format.isAnchor() ? format.anchorHref() : QString();
        if (link != target)
            endLink();
        target = link;
        const QString text =
            format.isImageFormat() ? format.stringProperty(QTextFormat::ImageAltText) : it.fragment().text();
        words += text;
        line += text;
    }
    endLink();
    line.remove(QChar::ObjectReplacementCharacter);
    line.replace(QChar::Nbsp, u' ');
    return line;
}

class PlainWriter
{
public:
    QString write(const QTextDocument &document)
    {
        flow(document.rootFrame()->begin(), 0);
        return m_text;
    }

private:
    void flow(QTextFrame::iterator at, int outer)
    {
        const auto onFrame = [&](const QTextFrame &frame) {
            const int level = outer + quoteLevel(frame.frameFormat());
            if (const auto *table = qobject_cast<const QTextTable *>(&frame))
                rows(*table, level);
            else
                flow(frame.begin(), level);
        };
        forEachIn(at, onFrame, [&](const QTextBlock &block) { paragraph(block, outer); });
    }

    void paragraph(const QTextBlock &block, int outer)
    {
        const QTextBlockFormat format = block.blockFormat();
        const int level = outer + quoteLevel(format);
        QString line = lineOf(block);
        if (format.hasProperty(QTextFormat::BlockTrailingHorizontalRulerWidth))
            line += (line.isEmpty() ? u""_s : u"\n"_s) + QString(kRuleLength, u'_');
        const QTextList *list = block.textList();
        const QString mark = list ? itemMark(block, *list) : QString();
        line.replace(QChar::LineSeparator, u'\n');
        line.replace(u'\n', u'\n' + prefix(level) + QString(mark.size(), u' '));
        m_text += prefix(level) + mark + line + u'\n';
    }

    /// Rows whose cells are a line each stand in a line; of others each cell stands by itself.
    void rows(const QTextTable &table, int level)
    {
        for (int row = 0; row < table.rows(); ++row) {
            QStringList cells;
            bool areLines = true;
            for (int column = 0; column < table.columns(); ++column) {
                const QTextTableCell cell = table.cellAt(row, column);
                if (cell.row() != row || cell.column() != column)
                    continue;
                PlainWriter inside;
                inside.flow(cell.begin(), 0);
                while (inside.m_text.endsWith(u'\n'))
                    inside.m_text.chop(1);
                areLines = areLines && !inside.m_text.contains(u'\n');
                if (!inside.m_text.trimmed().isEmpty())
                    cells += inside.m_text;
            }
            if (cells.isEmpty())
                continue;
            QString text = cells.join(areLines ? u"  "_s : u"\n"_s);
            text.replace(u'\n', u'\n' + prefix(level));
            m_text += prefix(level) + text + u'\n';
        }
    }

    QString prefix(int level) const { return level > 0 ? m_marks.prefixOf(level) : QString(); }

    QuoteMarks m_marks;
    QString m_text;
};

bool hasLooks(const QTextCharFormat &format)
{
    constexpr int kLooks[] = {QTextFormat::ForegroundBrush, QTextFormat::BackgroundBrush,
                              QTextFormat::FontPixelSize,   QTextFormat::FontPointSize,
                              QTextFormat::FontFamilies,    QTextFormat::FontStrikeOut};
    const auto has = [&format](int property) { return format.hasProperty(property); };
    return format.isImageFormat() || format.fontWeight() > QFont::Normal || format.fontItalic() ||
           (format.fontUnderline() && !format.isAnchor()) ||
           format.intProperty(QTextFormat::FontSizeAdjustment) != 0 ||
           format.verticalAlignment() != QTextCharFormat::AlignNormal ||
           std::any_of(std::begin(kLooks), std::end(kLooks), has);
}

bool hasLooks(const QTextBlock &block)
{
    const QTextBlockFormat format = block.blockFormat();
    return block.textList() || format.headingLevel() > 0 || format.nonBreakableLines() ||
           ownIndent(format) > 0 || format.hasProperty(QTextFormat::BackgroundBrush) ||
           format.hasProperty(QTextFormat::BlockTrailingHorizontalRulerWidth) ||
           (format.alignment() & (Qt::AlignHCenter | Qt::AlignRight | Qt::AlignJustify));
}

/// Puts @p line at @p cursor, its addresses as links.
void insertLine(QTextCursor &cursor, const QString &line)
{
    qsizetype done = 0;
    for (const UrlRange &url : findUrls(line)) {
        cursor.insertText(line.sliced(done, url.start - done), QTextCharFormat());
        QTextCharFormat link;
        link.setAnchor(true);
        link.setAnchorHref(url.target);
        link.setFontUnderline(true);
        cursor.insertText(line.sliced(url.start, url.length), link);
        done = url.start + url.length;
    }
    cursor.insertText(line.sliced(done), QTextCharFormat());
}

} // namespace

QString plainTextOf(const QTextDocument &document)
{
    return PlainWriter().write(document);
}

bool hasFormatting(const QTextDocument &document)
{
    if (!document.rootFrame()->childFrames().isEmpty())
        return true;
    for (QTextBlock block = document.begin(); block.isValid(); block = block.next()) {
        if (hasLooks(block))
            return true;
        for (auto it = block.begin(); !it.atEnd(); ++it)
            if (hasLooks(it.fragment().charFormat()))
                return true;
    }
    return false;
}

void fillWithPlain(QTextDocument &document, const QString &text)
{
    const QuoteMarks marks;
    QStringView rest(text);
    QTextCursor cursor(&document);
    cursor.beginEditBlock();
    cursor.select(QTextCursor::Document);
    cursor.removeSelectedText();
    for (bool isFirst = true; isFirst || !rest.isEmpty(); isFirst = false) {
        const QStringView line = takeTextLine(rest);
        const int depth = marks.depthOf(line);
        const int level = depth > kDeepestQuote ? 0 : depth; // deeper than anybody writes: it stays text
        QTextBlockFormat format;
        setQuoteLevel(format, level);
        if (isFirst) {
            cursor.setBlockFormat(format);
            cursor.setBlockCharFormat({});
        } else {
            cursor.insertBlock(format, {});
        }
        insertLine(cursor, line.sliced(level > 0 ? marks.prefixLength(line) : 0).toString());
    }
    cursor.endEditBlock();
}
