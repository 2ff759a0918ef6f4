#pragma once

#include "ui/main/views.h"

#include <QWidget>

class QSplitter;
class QVBoxLayout;

/// Tree, list and reader between two splitters, in one of three arrangements.
class Panes : public QWidget
{
    Q_OBJECT

public:
    /// Takes the three over.
    Panes(QWidget *tree, QWidget *list, QWidget *reader, QWidget *parent = nullptr);

    PaneLayout arrangement() const { return m_layout; }
    void setArrangement(PaneLayout layout);
    void setReaderShown(bool shown);

    /// The settings WindowSplitter1 (tree and the rest) and WindowSplitter2 (list and reader), to and from.
    void restoreSizes();
    void rememberSizes() const;

    /// Gives the focus to the next (previous) of the panes that are shown.
    void focusNext(int direction);

protected:
    void showEvent(QShowEvent *event) override;

private:
    void useDefaultSizes();

    QWidget *m_tree;
    QWidget *m_list;
    QWidget *m_reader;
    QSplitter *m_outer; ///< tree and the rest
    QSplitter *m_inner; ///< list and reader; around everything in the wide arrangement
    QVBoxLayout *m_box;
    PaneLayout m_layout = PaneLayout::Classic;
    bool m_sized = false;
};
