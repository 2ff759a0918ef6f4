#include "ui/reader/sourcetext.h"

#include "message/charset.h"
#include "ui/look/messagebar.h"
#include "ui/look/metrics.h"
#include "ui/reader/findbar.h"
#include "ui/texts/sizetext.h"

#include <QFontDatabase>
#include <QPlainTextEdit>
#include <QTimer>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype kSlice = 128 * 1024;

/// The end of the piece of at most @p most bytes that begins at @p from: behind a line end where there is
/// one, never inside a character.
qsizetype pieceEnd(const QByteArray &text, qsizetype from, qsizetype most)
{
    qsizetype end = std::min(text.size(), from + most);
    if (end == text.size())
        return end;
    const qsizetype lineEnd = QByteArrayView(text).sliced(from, end - from).lastIndexOf('\n');
    if (lineEnd >= 0)
        return from + lineEnd + 1;
    while (end > from + 1 && (uchar(text[end]) & 0xC0) == 0x80)
        --end;
    return end;
}

/// Control characters as the pictures that Unicode has for them; what would change the direction or hide
/// itself as "\uFFFD".
QChar visible(QChar c)
{
    if (c == u'\n' || c == u'\t')
        return c;
    if (c < u' ')
        return QChar(0x2400 + c.unicode());
    if (c == u'\x7F')
        return QChar(0x2421);
    if (c == QChar::ParagraphSeparator || c == QChar::LineSeparator)
        return u' ';
    const bool turns = (c >= u'\x202A' && c <= u'\x202E') || (c >= u'\x2066' && c <= u'\x2069');
    return c.category() == QChar::Other_Control || turns ? QChar::ReplacementCharacter : c;
}

QString shown(const QString &text)
{
    QString out;
    out.reserve(text.size());
    qsizetype column = 0;
    for (const QChar c : text) {
        column = c == u'\n' ? 0 : column + 1;
        if (column > SourceText::kLongestLine && !c.isLowSurrogate()) {
            out += u'\n';
            column = 1;
        }
        out += visible(c);
    }
    return out;
}

} // namespace

SourceText::SourceText(const QByteArray &text, QWidget *parent)
    : QWidget(parent)
    , m_text(text)
    , m_isUtf8(isUtf8(text))
    , m_view(new QPlainTextEdit(this))
    , m_find(new FindBar(m_view, this))
    , m_bar(new MessageBar(this))
    , m_slices(new QTimer(this))
{
    m_view->setReadOnly(true);
    m_view->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    m_view->setUndoRedoEnabled(false);
    m_view->setLineWrapMode(QPlainTextEdit::NoWrap);
    m_view->setFrameShape(QFrame::NoFrame);
    m_view->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    m_view->document()->setDocumentMargin(space::card);
    m_view->setAccessibleName(tr("Text"));
    setFocusProxy(m_view);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(m_bar);
    layout->addWidget(m_view, 1);
    layout->addWidget(m_find);
    connect(m_bar, &MessageBar::firstClicked, this, &SourceText::showAll);
    connect(m_slices, &QTimer::timeout, this, [this] { appendSlice(kSlice); });
    appendSlice(kFirstLook);
    m_view->moveCursor(QTextCursor::Start);
    if (m_shown < m_text.size())
        m_bar->showMessage(
            MessageBar::Kind::Information,
            tr("The first %1 of %2 are shown.").arg(sizeText(m_shown), sizeText(m_text.size())),
            tr("Show all"));
}

void SourceText::setWrapped(bool wrapped)
{
    m_view->setLineWrapMode(wrapped ? QPlainTextEdit::WidgetWidth : QPlainTextEdit::NoWrap);
}

bool SourceText::isWrapped() const
{
    return m_view->lineWrapMode() == QPlainTextEdit::WidgetWidth;
}

void SourceText::find()
{
    m_find->open();
}

void SourceText::findNext()
{
    m_find->findNext();
}

void SourceText::findPrevious()
{
    m_find->findPrevious();
}

void SourceText::showAll()
{
    m_bar->hide();
    m_slices->start(0);
}

void SourceText::appendSlice(qsizetype most)
{
    const qsizetype end = pieceEnd(m_text, m_shown, most);
    const QByteArrayView piece = QByteArrayView(m_text).sliced(m_shown, end - m_shown);
    QTextCursor cursor(m_view->document());
    cursor.movePosition(QTextCursor::End);
    cursor.insertText(shown(m_isUtf8 ? QString::fromUtf8(piece) : QString::fromLatin1(piece)));
    m_shown = end;
    if (m_shown < m_text.size())
        return;
    m_slices->stop();
    m_find->refresh();
}
