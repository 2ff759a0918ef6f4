#include "ui/reader/bodyview.h"

#include "html/urls.h"
#include "ui/look/metrics.h"
#include "ui/look/styleparts.h"
#include "ui/reader/bodydocument.h"
#include "ui/reader/bodyformat.h"
#include "ui/reader/bodystyle.h"
#include "ui/reader/linktexts.h"

#include <QAbstractTextDocumentLayout>
#include <QApplication>
#include <QClipboard>
#include <QContextMenuEvent>
#include <QMenu>
#include <QMimeData>
#include <QMouseEvent>
#include <QPainter>
#include <QPointer>
#include <QScrollBar>
#include <QTextBlock>
#include <QTextFrame>
#include <QWheelEvent>

using namespace Qt::StringLiterals;

namespace {

constexpr int kBarWidth = 3;
constexpr int kMargin = 24;
constexpr int kSurelyLong = 30'000; ///< characters that no window shows at once

int quoteLevel(const QTextBlock &block)
{
    return block.blockFormat().intProperty(bodyformat::QuoteLevel);
}

bool isFromRight(const QTextBlock &block)
{
    return block.blockFormat().boolProperty(bodyformat::FromRight);
}

} // namespace

BodyView::BodyView(QWidget *parent)
    : QTextBrowser(parent)
{
    setObjectName(u"body"_s);
    setAccessibleName(tr("Message text"));
    setFrameShape(QFrame::NoFrame);
    setOpenLinks(false);
    setOpenExternalLinks(false);
    setUndoRedoEnabled(false);
    connect(this, &QTextBrowser::anchorClicked, this,
            [this](const QUrl &url) { emit linkClicked(url.toString(QUrl::FullyEncoded)); });
}

void BodyView::showDocument(BodyDocument *document, const BodyStyle &style, int wrapWidth)
{
    m_wrapWidth = wrapWidth;
    setColours(style);
    nameLink({});
    setExtraSelections({}); // they would outlive the document that they are in
    const QPointer<QTextDocument> old = this->document();
    document->setParent(this);
    // a bar that appears when all is laid out would have it laid out once more
    const bool isLong = document->characterCount() > kSurelyLong;
    setVerticalScrollBarPolicy(isLong ? Qt::ScrollBarAlwaysOn : Qt::ScrollBarAsNeeded);
    fitWidth(document);
    setDocument(document); // deletes the one that the view came with, but none of ours
    delete old;
}

void BodyView::setColours(const BodyStyle &style)
{
    QPalette colours; // the application's, but for what the settings say
    colours.setColor(QPalette::Base, style.background);
    colours.setColor(QPalette::Text, style.marks); // what stands before the items of lists has no other
    setPalette(colours);
    m_rule = style.line;
    if (style.coloured)
        m_bars.assign(style.quotes.begin(), style.quotes.end());
    else
        m_bars.assign(1, style.line);
}

/// A plain text stands in a column as wide as the wrap width, at the leading edge.
void BodyView::fitWidth(QTextDocument *document) const
{
    QTextFrame *root = document->rootFrame();
    QTextFrameFormat format = root->frameFormat();
    const int room = viewport()->width() - 2 * kMargin;
    const int spare = m_wrapWidth > 0 ? std::max(0, room - m_wrapWidth) : 0;
    const bool fromRight = isRightToLeft();
    const double left = kMargin + (fromRight ? spare : 0);
    const double right = kMargin + (fromRight ? 0 : spare);
    if (format.leftMargin() == left && format.rightMargin() == right)
        return;
    format.setLeftMargin(left);
    format.setRightMargin(right);
    root->setFrameFormat(format);
}

void BodyView::resizeEvent(QResizeEvent *event)
{
    fitWidth(document());
    QTextBrowser::resizeEvent(event);
}

BodyView::Anchor::Anchor(BodyView &view)
    : m_view(view)
    , m_holds(view.verticalScrollBar()->value() > 0)
{
    if (!m_holds)
        return;
    m_line = view.cursorForPosition({kMargin, 0});
    m_top = view.cursorRect(m_line).top();
}

BodyView::Anchor::~Anchor()
{
    if (!m_holds || m_line.document() != m_view.document())
        return;
    QScrollBar *bar = m_view.verticalScrollBar();
    bar->setValue(bar->value() + m_view.cursorRect(m_line).top() - m_top);
}

QVariant BodyView::loadResource(int type, const QUrl &name)
{
    Q_UNUSED(name); // the document answers for its pictures before anybody asks here
    return type == QTextDocument::ImageResource ? QVariant(MessageImages::nothing())
                                                : QVariant(QByteArray(""));
}

void BodyView::doSetSource(const QUrl &, QTextDocument::ResourceType)
{
    // a view of one message goes nowhere
}

QRectF BodyView::seenRect(const QRect &rect) const
{
    return QRectF(rect).translated(horizontalScrollBar()->value(), verticalScrollBar()->value());
}

void BodyView::paintEvent(QPaintEvent *event)
{
    {
        QPainter painter(viewport());
        painter.translate(-horizontalScrollBar()->value(), -verticalScrollBar()->value());
        paintCards(painter, seenRect(event->rect()));
    }
    QTextBrowser::paintEvent(event);
    QPainter painter(viewport());
    painter.translate(-horizontalScrollBar()->value(), -verticalScrollBar()->value());
    paintBlocks(painter, seenRect(event->rect()));
}

void BodyView::paintCards(QPainter &painter, const QRectF &seen) const
{
    QList<QTextFrame *> frames = document()->rootFrame()->childFrames();
    while (!frames.isEmpty()) {
        const QTextFrame *frame = frames.takeFirst(); // the outer ones first
        const QTextFrameFormat format = frame->frameFormat();
        if (!format.hasProperty(bodyformat::Surface))
            continue;
        const QRectF rect = document()
                                ->documentLayout()
                                ->frameBoundingRect(const_cast<QTextFrame *>(frame))
                                .adjusted(0, format.topMargin(), 0, -format.bottomMargin());
        if (rect.intersects(seen))
            paintPanel(&painter, rect.toAlignedRect(), radius::card,
                       format.colorProperty(bodyformat::Surface), format.colorProperty(bodyformat::Outline));
        frames += frame->childFrames();
    }
}

void BodyView::paintBlocks(QPainter &painter, const QRectF &seen) const
{
    const QAbstractTextDocumentLayout *layout = document()->documentLayout();
    const int first = std::max(0, layout->hitTest(QPointF(kMargin, seen.top()), Qt::FuzzyHit));
    for (QTextBlock block = document()->findBlock(first); block.isValid(); block = block.next()) {
        if (!block.isVisible())
            continue;
        const QTextBlockFormat format = block.blockFormat();
        const QRectF rect = layout->blockBoundingRect(block);
        if (rect.top() > seen.bottom())
            return;
        if (format.hasProperty(bodyformat::RuleAbove))
            painter.fillRect(QRectF(rect.left(), std::round(rect.top()), rect.width(), 1), m_rule);
        if (format.hasProperty(bodyformat::QuoteLevel))
            paintBars(painter, block);
    }
}

/// A bar reaches to the next block that is quoted as deeply: margins are no part of a block's rectangle.
void BodyView::paintBars(QPainter &painter, const QTextBlock &block) const
{
    const QAbstractTextDocumentLayout *layout = document()->documentLayout();
    const QRectF rect = layout->blockBoundingRect(block);
    QTextBlock next = block.next();
    while (next.isValid() && !next.isVisible())
        next = next.next();
    const int shared = next.isValid() && isFromRight(next) == isFromRight(block) ? quoteLevel(next) : 0;
    const QTextLine line = block.layout()->lineCount() ? block.layout()->lineAt(0) : QTextLine();
    const double natural = line.isValid() ? line.ascent() + line.descent() : rect.height();
    const double below = line.isValid() ? std::max(0.0, line.height() - natural) : 0;
    for (int level = 1; level <= quoteLevel(block); ++level) {
        const double bottom = level <= shared ? layout->blockBoundingRect(next).top() : rect.bottom() - below;
        const double offset = (level - 1) * bodyformat::kQuoteStep;
        // the rectangle has the margin at its left inside it, and the one at its right outside
        const double x = isFromRight(block)
                             ? rect.right() + block.blockFormat().rightMargin() - offset - kBarWidth
                             : rect.left() + offset;
        painter.fillRect(QRectF(x, rect.top(), kBarWidth, bottom - rect.top()),
                         m_bars[std::size_t(level - 1) % m_bars.size()]);
    }
}

/// What is under the mouse or has the focus; the browser's own signal does not come for every document.
void BodyView::nameLink(const QString &target)
{
    const QString safe = safeTarget(target);
    const QString words = safe.isEmpty() || safe.startsWith(u'#') ? QString() : linkInWords(safe);
    if (words == m_named)
        return;
    m_named = words;
    emit linkHovered(words);
}

bool BodyView::focusNextPrevChild(bool next)
{
    const bool moved = QTextBrowser::focusNextPrevChild(next);
    const QTextCursor cursor = textCursor();
    QTextCursor inside(cursor.document());
    inside.setPosition(cursor.selectionEnd());
    nameLink(cursor.hasSelection() && hasFocus() ? inside.charFormat().anchorHref() : QString());
    return moved;
}

void BodyView::mouseMoveEvent(QMouseEvent *event)
{
    QTextBrowser::mouseMoveEvent(event);
    nameLink(anchorAt(event->position().toPoint()));
}

void BodyView::leaveEvent(QEvent *event)
{
    QTextBrowser::leaveEvent(event);
    nameLink({});
}

void BodyView::wheelEvent(QWheelEvent *event)
{
    if (!(event->modifiers() & Qt::ControlModifier))
        return QTextBrowser::wheelEvent(event);
    const int delta = event->angleDelta().y();
    if (delta != 0)
        emit zoomRequested(delta > 0 ? 1 : -1);
    event->accept();
}

void BodyView::contextMenuEvent(QContextMenuEvent *event)
{
    auto *menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    const QString target = safeTarget(anchorAt(event->pos()));
    if (!target.isEmpty() && !target.startsWith(u'#')) {
        menu->addAction(tr("&Open link"), this, [this, target] { emit linkClicked(target); });
        menu->addAction(tr("Copy &link address"), this,
                        [target] { QApplication::clipboard()->setText(withoutTracking(target)); });
        menu->addAction(tr("Copy link &text"), this,
                        [words = linkText(event->pos())] { QApplication::clipboard()->setText(words); });
        menu->addSeparator();
    }
    QAction *copying = menu->addAction(tr("&Copy"), this, &QTextEdit::copy);
    copying->setEnabled(textCursor().hasSelection());
    menu->addAction(tr("Select &all"), this, &QTextEdit::selectAll);
    menu->popup(event->globalPos());
}

/// What the link at @p position shows.
QString BodyView::linkText(const QPoint &position) const
{
    const QTextBlock block = cursorForPosition(position).block();
    const QString target = anchorAt(position);
    QString words;
    for (auto at = block.begin(); !at.atEnd(); ++at)
        if (at.fragment().charFormat().anchorHref() == target)
            words += at.fragment().text();
    return words.remove(u'\x200B').remove(QChar::ObjectReplacementCharacter).simplified();
}

QString BodyView::plainText(int from, int to) const
{
    QString out;
    for (QTextBlock block = document()->findBlock(from); block.isValid() && block.position() <= to;
         block = block.next()) {
        const QTextBlockFormat format = block.blockFormat();
        const int start = std::max(from - block.position(), 0);
        const int end = std::min(to - block.position(), block.length() - 1);
        if (format.hasProperty(bodyformat::FoldId) && m_foldText)
            out += m_foldText(format.intProperty(bodyformat::FoldId));
        else
            out += QStringView(block.text()).sliced(start, std::max(0, end - start));
        if (to > block.position() + block.length() - 1 && !format.boolProperty(bodyformat::Continued) &&
            !format.hasProperty(bodyformat::FoldId))
            out += u'\n';
    }
    out.remove(u'\x200B'); // places to break long words, put there by us
    out.remove(QChar::ObjectReplacementCharacter);
    return out.replace(QChar::LineSeparator, u'\n').replace(QChar::Nbsp, u' ');
}

QMimeData *BodyView::createMimeDataFromSelection() const
{
    auto *data = new QMimeData;
    const QTextCursor cursor = textCursor();
    data->setText(plainText(cursor.selectionStart(), cursor.selectionEnd()));
    return data;
}
