#include "ui/compose/htmlreader.h"

#include "compose/quotemarks.h"
#include "ui/compose/composeformat.h"

#include <QGuiApplication>
#include <QPalette>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocument>
#include <QTextList>
#include <QTextTable>

#include <optional>
#include <vector>

using namespace Qt::StringLiterals;
using namespace composeformat;

// The toolkit's reader forgets which paragraphs a quotation has. What all that stands inside an element
// inherits are the formats of characters: so the level is written into the spacing between words (and, for a
// table, between letters), as more pixels than anybody wants, read back from there, and taken away again.

namespace {

constexpr int kFirstMark = 10'000; ///< pixels; any other spacing is meant as one
constexpr int kSignatureBit = 64;
constexpr int kQuoteMargin = 40; ///< pixels that each quotation is given here
constexpr qsizetype kMostOpen = 10'000;

QString marking(QLatin1StringView property, int level, bool isSignature)
{
    const int mark = kFirstMark + level + (isSignature ? kSignatureBit : 0);
    return property + u':' + QString::number(mark) + u"px;"_s;
}

struct Tag
{
    QString name; ///< lower case
    bool isClosing = false;
    QStringView text; ///< with its brackets
};

struct Span
{
    qsizetype from = -1;
    qsizetype size = 0;
};

/// Where the tag that begins @p html ends; -1: nowhere.
qsizetype endOfTag(QStringView html)
{
    QChar quote;
    for (qsizetype i = 1; i < html.size(); ++i) {
        const QChar c = html[i];
        if (!quote.isNull())
            quote = c == quote ? QChar() : quote;
        else if (c == u'>')
            return i;
        else if ((c == u'"' || c == u'\'') && html[i - 1] == u'=')
            quote = c;
    }
    return -1;
}

/// The value of an attribute in quotes, without them.
Span valueOf(QStringView tag, QStringView name)
{
    for (qsizetype at = 0; (at = tag.indexOf(name, at, Qt::CaseInsensitive)) >= 0; ++at) {
        const qsizetype from = at + name.size() + 2;
        if (at == 0 || !tag[at - 1].isSpace() || from > tag.size() || tag[from - 2] != u'=')
            continue;
        const QChar quote = tag[from - 1];
        if (quote != u'"' && quote != u'\'')
            continue;
        if (const qsizetype end = tag.indexOf(quote, from); end >= 0)
            return {from, end - from};
    }
    return {};
}

/// Writes the marks into HTML.
class Marker
{
public:
    QString run(QStringView html)
    {
        m_out.reserve(html.size() + html.size() / 8);
        for (qsizetype at; (at = html.indexOf(u'<')) >= 0;) {
            m_out += html.first(at);
            html = html.sliced(at);
            const qsizetype end = endOfTag(html);
            if (end < 0)
                break;
            add(tagOf(html.first(end + 1)));
            html = html.sliced(end + 1);
        }
        m_out += html;
        return std::move(m_out);
    }

private:
    struct Open
    {
        bool isCell;
        int level; ///< outside
    };

    static Tag tagOf(QStringView text)
    {
        Tag tag{{}, text.size() > 1 && text[1] == u'/', text};
        for (qsizetype i = tag.isClosing ? 2 : 1; i < text.size() && text[i].isLetterOrNumber(); ++i)
            tag.name += text[i].toLower();
        return tag;
    }

    void add(const Tag &tag)
    {
        const bool isCell = tag.name == "td"_L1 || tag.name == "th"_L1;
        if (tag.name == "blockquote"_L1)
            return quotation(tag);
        if (tag.name == "table"_L1)
            table(tag);
        else if (isCell)
            return cell(tag);
        else if (tag.name == "ol"_L1 && !tag.isClosing)
            return list(tag);
        if (tag.name == "div"_L1 || tag.name == "table"_L1)
            return signature(tag);
        m_out += tag.text;
    }

    void quotation(const Tag &tag)
    {
        m_level = std::max(0, m_level + (tag.isClosing ? -1 : 1));
        if (tag.isClosing) {
            m_out += tag.text;
            return;
        }
        const int shown = std::min(m_level, kDeepestQuote);
        const int margin = m_level > kDeepestQuote ? 0 : kQuoteMargin;
        addWith(tag, marking("word-spacing"_L1, shown, m_signatureDivs > 0) +
                         u"margin:0 0 0 %1px;padding:0"_s.arg(margin));
    }

    void table(const Tag &tag)
    {
        while (!m_open.empty() && m_open.back().isCell && tag.isClosing)
            close();
        if (tag.isClosing && !m_open.empty())
            close();
        else if (!tag.isClosing && qsizetype(m_open.size()) < kMostOpen)
            m_open.push_back({false, m_level});
    }

    void cell(const Tag &tag)
    {
        if (!m_open.empty() && m_open.back().isCell)
            close();
        if (tag.isClosing) {
            m_out += tag.text;
            return;
        }
        m_open.push_back({true, m_level});
        const bool isSigned = m_signatureDivs > 0;
        addWith(tag, marking("letter-spacing"_L1, std::min(m_level, kDeepestQuote), isSigned) +
                         marking("word-spacing"_L1, 0, isSigned));
        m_level = 0;
    }

    void close()
    {
        m_level = m_open.back().level;
        m_open.pop_back();
    }

    /// The reader of this toolkit numbers every list from 1, but keeps what stands before the numbers.
    void list(const Tag &tag)
    {
        const Span value = valueOf(tag.text, u"start");
        bool ok = false;
        const int start = value.from < 0 ? 1 : tag.text.sliced(value.from, value.size).toInt(&ok);
        if (ok && start > 1)
            addWith(tag, u"-qt-list-number-prefix:'%1';"_s.arg(start));
        else
            m_out += tag.text;
    }

    void signature(const Tag &tag)
    {
        if (tag.name != "div"_L1 || (m_signatureDivs > 0 && tag.isClosing)) {
            m_signatureDivs -= tag.name == "div"_L1;
            m_out += tag.text;
            return;
        }
        const Span value = tag.isClosing ? Span() : valueOf(tag.text, u"class");
        const bool begins =
            value.from >= 0 && tag.text.sliced(value.from, value.size) == kSignatureClass && m_level == 0;
        m_signatureDivs += begins || (m_signatureDivs > 0);
        if (begins)
            addWith(tag, marking("word-spacing"_L1, 0, true));
        else
            m_out += tag.text;
    }

    void addWith(const Tag &tag, const QString &style)
    {
        const Span old = valueOf(tag.text, u"style");
        const qsizetype at = old.from < 0 ? 1 + tag.name.size() : old.from + old.size;
        m_out += tag.text.first(at);
        m_out += old.from < 0 ? u" style=\""_s + style + u'"' : u';' + style;
        m_out += tag.text.sliced(at);
    }

    QString m_out;
    int m_level = 0;
    int m_signatureDivs = 0; ///< open ones since that of the signature, itself included
    std::vector<Open> m_open;
};

struct Mark
{
    int level = 0;
    bool isSignature = false;
};

Mark markIn(const QTextFormat &format, int property)
{
    const int value = qRound(format.doubleProperty(property)) - kFirstMark;
    if (value <= 0 || value >= 2 * kSignatureBit)
        return {};
    return {value % kSignatureBit, value >= kSignatureBit};
}

/// Turns the marks in a document into properties.
class Settler
{
public:
    explicit Settler(QTextDocument &document)
        : m_document(document)
        , m_cursor(&document)
    {}

    void run()
    {
        m_cursor.beginEditBlock();
        for (QTextBlock block = m_document.begin(); block.isValid(); block = block.next())
            settle(block);
        settleFrame(m_document.rootFrame());
        clearMarks();
        m_cursor.endEditBlock();
    }

private:
    void settle(const QTextBlock &block)
    {
        trim(block);
        settleLinks(block);
        const auto first = block.begin();
        const QTextCharFormat text = first.atEnd() ? block.charFormat() : first.fragment().charFormat();
        const Mark mark = markIn(text, QTextFormat::FontWordSpacing);
        QTextBlockFormat format = block.blockFormat();
        const double indent = std::max(0.0, format.leftMargin() - mark.level * kQuoteMargin);
        setQuoteLevel(format, mark.level, indent);
        if (mark.isSignature)
            format.setProperty(IsSignature, true);
        if (format != block.blockFormat()) {
            m_cursor.setPosition(block.position());
            m_cursor.setBlockFormat(format);
        }
        if (QTextList *list = block.textList())
            settleList(*list);
    }

    /// A line end that closes a paragraph, and the blank that keeps an empty one open.
    void trim(const QTextBlock &block)
    {
        const QString text = block.text();
        if (!text.endsWith(QChar::LineSeparator) && text != QChar(QChar::Nbsp))
            return;
        m_cursor.setPosition(block.position() + int(text.size()));
        m_cursor.deletePreviousChar();
    }

    /// The colour that every link is given by itself is none of the text.
    void settleLinks(const QTextBlock &block)
    {
        const QBrush usual = QGuiApplication::palette().link();
        QList<QTextFragment> links;
        for (auto it = block.begin(); !it.atEnd(); ++it)
            if (const QTextCharFormat format = it.fragment().charFormat();
                format.isAnchor() && format.foreground() == usual)
                links.append(it.fragment());
        for (const QTextFragment &link : links) {
            QTextCharFormat format = link.charFormat();
            format.clearForeground();
            const int from = link.position();
            const int end = from + link.length();
            m_cursor.setPosition(from);
            m_cursor.setPosition(end, QTextCursor::KeepAnchor);
            m_cursor.setCharFormat(format);
        }
    }

    static void settleList(QTextList &list)
    {
        QTextListFormat format = list.format();
        if (format.numberPrefix().isEmpty())
            return;
        format.setProperty(ListStart, format.numberPrefix().toInt());
        format.setNumberPrefix({});
        list.setFormat(format);
    }

    void settleFrame(QTextFrame *frame)
    {
        if (auto *table = qobject_cast<QTextTable *>(frame)) {
            settleTable(*table);
            for (int row = 0; row < table->rows(); ++row)
                for (int column = 0; column < table->columns(); ++column)
                    if (const QTextTableCell cell = table->cellAt(row, column);
                        cell.row() == row && cell.column() == column)
                        settleFlow(cell.begin());
        } else {
            settleFlow(frame->begin());
        }
    }

    void settleFlow(QTextFrame::iterator at)
    {
        QTextBlock before;
        bool isAfterFrame = false;
        for (; !at.atEnd(); ++at) {
            if (QTextFrame *frame = at.currentFrame()) {
                markFiller(before);
                settleFrame(frame);
                before = {};
                isAfterFrame = true;
                continue;
            }
            before = at.currentBlock();
            if (isAfterFrame)
                markFiller(before);
            isAfterFrame = false;
        }
    }

    void markFiller(const QTextBlock &block)
    {
        const auto ruler = QTextFormat::BlockTrailingHorizontalRulerWidth;
        if (!block.isValid() || block.length() > 1 || block.blockFormat().hasProperty(ruler))
            return;
        m_cursor.setPosition(block.position());
        QTextBlockFormat format;
        format.setProperty(IsFiller, true);
        m_cursor.mergeBlockFormat(format);
    }

    static void settleTable(QTextTable &table)
    {
        const Mark mark = markIn(table.cellAt(0, 0).format(), QTextFormat::FontLetterSpacing);
        QTextTableFormat format = table.format();
        const double own = std::max(0.0, format.leftMargin() - mark.level * kQuoteMargin);
        format.setLeftMargin(mark.level * kQuoteStep + own);
        format.setRightMargin(0);
        if (mark.level > 0)
            format.setProperty(QuoteLevel, mark.level);
        if (mark.isSignature)
            format.setProperty(IsSignature, true);
        table.setFormat(format);
    }

    void clearMarks()
    {
        QTextCharFormat none;
        none.setFontWordSpacing(0);
        none.setFontLetterSpacing(0);
        m_cursor.setPosition(0);
        m_cursor.mergeBlockCharFormat(none);
        m_cursor.select(QTextCursor::Document);
        m_cursor.mergeCharFormat(none);
    }

    QTextDocument &m_document;
    QTextCursor m_cursor;
};

} // namespace

void fillWithHtml(QTextDocument &document, const QString &html)
{
    document.setUndoRedoEnabled(false);
    document.setHtml(Marker().run(html));
    Settler(document).run();
    document.setUndoRedoEnabled(true);
    document.setModified(false);
}
