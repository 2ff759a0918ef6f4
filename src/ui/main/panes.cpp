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

Panes::Panes(QWidget *tree, QWidget *list, QWidget *reader, QWidget *parent)
    : QWidget(parent)
    , m_tree(tree)
    , m_list(list)
    , m_reader(reader)
    , m_outer(new QSplitter)
    , m_inner(new QSplitter)
    , m_box(new QVBoxLayout(this))
{
    m_box->setContentsMargins(0, 0, 0, 0);
    for (QSplitter *splitter : {m_outer, m_inner}) {
        splitter->setChildrenCollapsible(false);
        splitter->setHandleWidth(1);
    }
    m_tree->setMinimumWidth(kTreeMinimum);
    setArrangement(PaneLayout::Classic);
}

void Panes::setArrangement(PaneLayout layout)
{
    m_layout = layout;
    const QPointer<QWidget> focus = window()->focusWidget(); // lost by what goes elsewhere
    const bool wide = layout == PaneLayout::Wide;
    const bool beside = layout == PaneLayout::Vertical;
    m_inner->setOrientation(beside ? Qt::Horizontal : Qt::Vertical);
    m_list->setMinimumWidth(kListMinimum);
    m_list->setMinimumHeight(kRowsMinimum * rowHeight(RowKind::List));
    m_reader->setMinimumWidth(beside ? kReaderMinimum : 0);
    m_reader->setMinimumHeight(kRowsMinimum * rowHeight(RowKind::List));
    for (QSplitter *splitter : {m_outer, m_inner})
        splitter->setParent(this); // none may come to lie in what lies in it
    m_outer->addWidget(m_tree);
    if (wide) {
        m_outer->addWidget(m_list);
        m_inner->addWidget(m_outer);
    } else {
        m_box->addWidget(m_outer);
        m_outer->addWidget(m_inner);
        m_inner->addWidget(m_list);
    }
    m_inner->addWidget(m_reader);
    if (wide)
        m_box->addWidget(m_inner);
    m_outer->setStretchFactor(0, 0);
    m_outer->setStretchFactor(1, 1);
    m_inner->setStretchFactor(0, beside ? 0 : 1);
    m_inner->setStretchFactor(1, 1);
    m_outer->show();
    m_inner->show();
    useDefaultSizes();
    if (focus && isAncestorOf(focus))
        focus->setFocus();
}

void Panes::setReaderShown(bool shown)
{
    m_reader->setVisible(shown);
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

void Panes::focusNext(int direction)
{
    const std::array panes = {m_tree, m_list, m_reader};
    const QWidget *focus = QApplication::focusWidget();
    int at = -1;
    for (int i = 0; i < int(panes.size()); ++i) {
        if (focus && (focus == panes[std::size_t(i)] || panes[std::size_t(i)]->isAncestorOf(focus)))
            at = i;
    }
    for (int step = 1; step <= int(panes.size()); ++step) {
        const int next = (at + direction * step + 2 * int(panes.size())) % int(panes.size());
        QWidget *pane = panes[std::size_t(next)];
        if (!pane->isVisible())
            continue;
        pane->setFocus(Qt::TabFocusReason);
        return;
    }
}
