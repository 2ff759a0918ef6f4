#include "ui/reader/sourcewindow.h"

#include "ui/look/messagebar.h"
#include "ui/look/metrics.h"
#include "ui/reader/findbar.h"

#include <QAction>
#include <QFontDatabase>
#include <QKeyEvent>
#include <QLocale>
#include <QPlainTextEdit>
#include <QStringDecoder>
#include <QTimer>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype kSlice = 128 * 1024;

bool isValidUtf8(const QByteArray &text)
{
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    const QString decoded = decoder(text);
    return !decoder.hasError();
}

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

QString shown(const QString &text)
{
    QString out;
    out.reserve(text.size());
    qsizetype column = 0;
    for (const QChar c : text) {
        column = c == u'\n' ? 0 : column + 1;
        if (column > SourceWindow::kLongestLine && !c.isLowSurrogate()) {
            out += u'\n';
            column = 1;
        }
        if (c < u' ' && c != u'\n' && c != u'\t')
            out += QChar(0x2400 + c.unicode());
        else
            out += c == QChar::ParagraphSeparator || c == QChar::LineSeparator ? QChar(u' ') : c;
    }
    return out;
}

} // namespace

SourceWindow::SourceWindow(const QByteArray &text, const QString &subject, QWidget *parent)
    : QWidget(parent, Qt::Window)
    , m_text(text)
    , m_isUtf8(isValidUtf8(text))
    , m_view(new QPlainTextEdit(this))
    , m_find(new FindBar(m_view, this))
    , m_bar(new MessageBar(this))
    , m_slices(new QTimer(this))
{
    setObjectName(u"source"_s);
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowTitle(subject.isEmpty() ? tr("Source") : tr("Source of “%1”").arg(subject));
    m_view->setReadOnly(true);
    m_view->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    m_view->setUndoRedoEnabled(false);
    m_view->setLineWrapMode(QPlainTextEdit::NoWrap);
    m_view->setFrameShape(QFrame::NoFrame);
    m_view->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    m_view->document()->setDocumentMargin(space::card);
    m_view->setAccessibleName(tr("Message source"));
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(m_bar);
    layout->addWidget(m_view, 1);
    layout->addWidget(m_find);
    resize(columnWidth(96), textHeight() * 36);
    setUpActions();
    connect(m_bar, &MessageBar::firstClicked, this, &SourceWindow::showAll);
    connect(m_slices, &QTimer::timeout, this, [this] { appendSlice(kSlice); });
    appendSlice(kFirstLook);
    m_view->moveCursor(QTextCursor::Start);
    if (m_shown < m_text.size())
        m_bar->showMessage(MessageBar::Kind::Information,
                           tr("The first %1 of %2 are shown.")
                               .arg(QLocale().formattedDataSize(m_shown, 1, QLocale::DataSizeSIFormat),
                                    QLocale().formattedDataSize(m_text.size(), 1, QLocale::DataSizeSIFormat)),
                           tr("Show all"));
}

void SourceWindow::setUpActions()
{
    const auto add = [this](const QKeySequence &key, auto slot) {
        auto *action = new QAction(this);
        action->setShortcut(key);
        connect(action, &QAction::triggered, m_find, slot);
        addAction(action);
    };
    add(QKeySequence::Find, &FindBar::open);
    add(Qt::Key_F3, &FindBar::findNext);
    add(Qt::SHIFT | Qt::Key_F3, &FindBar::findPrevious);
    auto *close = new QAction(this);
    close->setShortcut(Qt::CTRL | Qt::Key_W);
    connect(close, &QAction::triggered, this, &QWidget::close);
    addAction(close);
}

void SourceWindow::showAll()
{
    m_bar->hide();
    m_slices->start(0);
}

void SourceWindow::appendSlice(qsizetype most)
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

void SourceWindow::keyPressEvent(QKeyEvent *event)
{
    if (event->key() != Qt::Key_Escape)
        return QWidget::keyPressEvent(event);
    close();
}
