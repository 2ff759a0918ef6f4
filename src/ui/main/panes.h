#pragma once

#include "ui/main/views.h"

#include <QWidget>

class QSplitter;
class QStackedLayout;
class QVBoxLayout;

/// Tree, tabs, list and reader between two splitters, in one of three arrangements. A window narrower than
/// 900 pixels has no tree unless the user asks for it.
class Panes : public QWidget
{
    Q_OBJECT

public:
    /// Takes all of them over. @p welcome stands in the place of everything but the tree when it is shown.
    Panes(QWidget *tree, QWidget *tabs, QWidget *list, QWidget *reader, QWidget *welcome,
          QWidget *parent = nullptr);

    PaneLayout arrangement() const { return m_layout; }
    void setArrangement(PaneLayout layout);
    void setReaderShown(bool shown);
    void showWelcome(bool shows);
    bool showsWelcome() const { return m_showsWelcome; }

    /// Shows the tree, or hides it, until the window becomes narrow or wide the next time.
    void setTreeShown(bool shown);
    bool treeIsShown() const { return m_treeShown; }

    /// The settings WindowSplitter1 (tree and the rest) and WindowSplitter2 (list and reader), to and from.
    void restoreSizes();
    void rememberSizes() const;

    /// Gives the focus to the next (previous) of the panes that are shown.
    void focusNext(int direction);

signals:
    void treeShownChanged();

protected:
    void showEvent(QShowEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;

private:
    void setMinimumSizes();
    void useDefaultSizes();
    void updateShown();

    QWidget *m_tree;
    QWidget *m_tabs;
    QWidget *m_list;
    QWidget *m_reader;
    QWidget *m_welcome;
    QWidget *m_right;   ///< tabs above list and reader; in the wide arrangement above the list
    QSplitter *m_outer; ///< tree and the rest
    QSplitter *m_inner; ///< list and reader; around everything in the wide arrangement
    QVBoxLayout *m_box;
    QVBoxLayout *m_rightBox;
    PaneLayout m_layout = PaneLayout::Classic;
    bool m_readerShown = true;
    bool m_treeShown = true;
    bool m_isNarrow = false;
    bool m_showsWelcome = false;
    bool m_sized = false;
};
