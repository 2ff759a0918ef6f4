#pragma once

#include "ui/options/optionrow.h"

#include <QListWidget>

/// The pages with, during a search, how many settings of each are found; pages without are dimmed, and can be
/// opened all the same.
class PageList : public QListWidget
{
    Q_OBJECT

public:
    explicit PageList(QWidget *parent = nullptr);

    OptionPage page() const { return OptionPage(std::max(0, currentRow())); }
    void setPage(OptionPage page) { setCurrentRow(int(page)); }

    /// @p hits by page.
    void setHits(const QList<int> &hits);
    /// No search: every page as it is.
    void clearHits();

    /// All the width that the titles, a count and the margins need.
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }
};
