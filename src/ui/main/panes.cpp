#include "ui/main/panes.h"

#include "config/settings.h"
#include "ui/look/metrics.h"

#include <QApplication>
#include <QPointer>
#include <QSplitter>
#include <QVBoxLayout>

#include <array>

namespace {

constexpr int kTreeMinimum = 180;
constexpr int kTreeStart = 236;
constexpr int kTreeCharacters = 28; ///< at least so many in a large font
constexpr int kListMinimum = 300;
constexpr int kListStart = 380;     ///< beside the reader, in pixels
constexpr int kListCharacters = 58; ///< and at most so many characters, so that it has two lines a message
constexpr int kListShare = 45;      ///< per cent, above it
constexpr int kReaderMinimum = 260;
constexpr int kNarrow = 900; ///< a window as wide as this has no room for the tree
constexpr int kRowsMinimum = 5;

QList<int> sizesIn(const QString &text)
{
    QList<int> sizes;
    for (const QString &word : text.split(u','))
        sizes.append(word.toInt());
    const bool isGood = sizes.size() == 2 && sizes[0] > 0 && sizes[1] > 0;
    return isGood ? sizes : QList<int>();
}

QString textOf(const QList<int> &sizes)
{
    return QString::number(sizes.value(0)) + u',' + QString::number(sizes.value(1));
}

/// Only what was really shown has sizes worth keeping.
void keepSizes(Setting id, const QSplitter &splitter)
{
    const QList<int> sizes = splitter.sizes();
    if (sizes.size() != 2 || sizes.contains(0))
        return;
    const QString text = textOf(sizes);
    if (stringSetting(id) != text)
        setStringSetting(id, text);
}

} // namespace

Panes::Panes(QWidget *tree, QWidget *tabs, QWidget *list, QWidget *reader, QWidget *welcome, QWidget *parent)
    : QWidget(parent)
    , m_tree(tree)
    , m_tabs(tabs)
    , m_list(list)
    , m_reader(reader)
    , m_welcome(welcome)
    , m_right(new QWidget)
    , m_outer(new QSplitter)
    , m_inner(new QSplitter)
    , m_box(new QVBoxLayout(this))
    , m_rightBox(new QVBoxLayout(m_right))
{
    for (QVBoxLayout *box : {m_box, m_rightBox}) {
        box->setContentsMargins(0, 0, 0, 0);
        box->setSpacing(0);
    }
    m_rightBox->addWidget(m_tabs);
    m_rightBox->addWidget(m_welcome, 1);
    for (QSplitter *splitter : {m_outer, m_inner}) {
        splitter->setChildrenCollapsible(false);
        splitter->setHandleWidth(1);
    }
    setArrangement(PaneLayout::Classic);
}

void Panes::setMinimumSizes()
{
    const bool beside = m_layout == PaneLayout::Vertical;
    const int rows = kRowsMinimum * rowHeight(RowKind::List);
    m_tree->setMinimumWidth(kTreeMinimum);
    m_list->setMinimumWidth(kListMinimum);
    m_list->setMinimumHeight(rows);
    m_reader->setMinimumWidth(beside ? kReaderMinimum : 0);
    m_reader->setMinimumHeight(rows);
}

void Panes::setArrangement(PaneLayout layout)
{
    m_layout = layout;
    const QPointer<QWidget> focus = window()->focusWidget(); // lost by what goes elsewhere
    const bool wide = layout == PaneLayout::Wide;
    const bool beside = layout == PaneLayout::Vertical;
    m_inner->setOrientation(beside ? Qt::Horizontal : Qt::Vertical);
    setMinimumSizes();
    for (QSplitter *splitter : {m_outer, m_inner})
        splitter->setParent(this); // none may come to lie in what lies in it
    m_outer->addWidget(m_tree);
    m_outer->addWidget(m_right);
    if (wide) {
        m_rightBox->addWidget(m_list, 1);
        m_inner->addWidget(m_outer);
        m_inner->addWidget(m_reader);
        m_box->addWidget(m_inner);
    } else {
        m_inner->addWidget(m_list);
        m_inner->addWidget(m_reader);
        m_rightBox->addWidget(m_inner, 1);
        m_box->addWidget(m_outer);
    }
    m_outer->setStretchFactor(0, 0);
    m_outer->setStretchFactor(1, 1);
    m_inner->setStretchFactor(0, beside ? 0 : 1);
    m_inner->setStretchFactor(1, 1);
    m_outer->show();
    useDefaultSizes();
    updateShown();
    if (focus && isAncestorOf(focus))
        focus->setFocus();
}

void Panes::updateShown()
{
    m_tree->setVisible(m_treeShown);
    m_tabs->setVisible(!m_showsWelcome);
    m_welcome->setVisible(m_showsWelcome);
    m_list->setVisible(!m_showsWelcome);
    m_reader->setVisible(m_readerShown && !m_showsWelcome);
    m_inner->setVisible(m_layout == PaneLayout::Wide || !m_showsWelcome);
}

void Panes::setReaderShown(bool shown)
{
    m_readerShown = shown;
    updateShown();
}

void Panes::showWelcome(bool shows)
{
    m_showsWelcome = shows;
    updateShown();
}

void Panes::setTreeShown(bool shown)
{
    if (m_treeShown == shown)
        return;
    m_treeShown = shown;
    if (!shown && m_tree->isAncestorOf(window()->focusWidget()))
        m_list->setFocus();
    updateShown();
    emit treeShownChanged();
}

void Panes::useDefaultSizes()
{
    const int tree = std::max(kTreeStart, columnWidth(kTreeCharacters));
    m_outer->setSizes({tree, std::max(kListMinimum, width() - tree)});
    const int list = std::min(kListStart, columnWidth(kListCharacters));
    if (m_layout == PaneLayout::Vertical)
        m_inner->setSizes({list, std::max(kReaderMinimum, width() - tree - list)});
    else
        m_inner->setSizes({kListShare, 100 - kListShare});
}

void Panes::restoreSizes()
{
    const QList<int> outer = sizesIn(stringSetting(Setting::WindowSplitter1));
    const QList<int> inner = sizesIn(stringSetting(Setting::WindowSplitter2));
    if (!outer.isEmpty())
        m_outer->setSizes(outer);
    if (!inner.isEmpty())
        m_inner->setSizes(inner);
    m_sized = !outer.isEmpty();
}

void Panes::rememberSizes() const
{
    keepSizes(Setting::WindowSplitter1, *m_outer);
    keepSizes(Setting::WindowSplitter2, *m_inner);
}

/// Before the first show nobody knows how much there is to share out.
void Panes::showEvent(QShowEvent *event)
{
    QWidget::showEvent(event);
    if (!m_sized)
        useDefaultSizes();
    m_sized = true;
}

void Panes::resizeEvent(QResizeEvent *event)
{
    QWidget::resizeEvent(event);
    const bool narrow = width() < kNarrow;
    if (narrow == m_isNarrow)
        return;
    m_isNarrow = narrow;
    setTreeShown(!narrow);
}

void Panes::focusNext(int direction)
{
    const std::array panes = {m_tree, m_showsWelcome ? m_welcome : m_list, m_reader};
    const int count = int(panes.size());
    const QWidget *focus = QApplication::focusWidget();
    int at = -1;
    for (int i = 0; i < count; ++i) {
        if (focus && (focus == panes[std::size_t(i)] || panes[std::size_t(i)]->isAncestorOf(focus)))
            at = i;
    }
    if (at < 0 && direction < 0)
        at = 0;
    for (int step = 1; step <= count; ++step) {
        QWidget *pane = panes[std::size_t((at + direction * step + 2 * count) % count)];
        if (!pane->isVisible())
            continue;
        pane->setFocus(Qt::TabFocusReason);
        return;
    }
}
