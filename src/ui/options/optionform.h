#pragma once

#include "ui/options/optionrow.h"

#include <QHash>
#include <QWidget>

class HitLabel;
class OptionControl;
class QGridLayout;

/// One page of options: titles, labels that end in one column, controls. It keeps the values that it was
/// given, so that it knows which were changed here.
class OptionForm : public QWidget
{
    Q_OBJECT

public:
    explicit OptionForm(OptionPage page, QWidget *parent = nullptr);

    OptionPage page() const { return m_page; }

    /// Shows what is stored now in every control that was not changed here.
    void load();
    bool isChanged() const;
    /// Hands over what was changed here, and nothing else. Not on the disk yet.
    void store();

    bool hasDefaults() const;
    using Values = QHash<OptionControl *, QVariant>;
    /// Shows the defaults; what stood in the controls that are different now.
    Values showDefaults();
    void show(const Values &values);
    using QWidget::show;

    /// Marks what has all of @p words and returns how many rows and titles that are.
    int setHits(const QStringList &words);
    OptionControl *firstHit() const { return m_firstHit; }

    /// The widest label, for one column on every page.
    int labelWidth() const;
    void setLabelWidth(int width);

signals:
    void changed();

private:
    struct Line
    {
        HitLabel *label; ///< null: that of the line above
        OptionControl *control;
    };
    void addTitle(const OptionRow &row);
    void addRow(const OptionRow &row, QString *mnemonics);

    OptionPage m_page;
    QGridLayout *m_grid;
    QList<HitLabel *> m_titles;
    QList<Line> m_lines;
    QHash<OptionControl *, QVariant> m_loaded;
    OptionControl *m_firstHit = nullptr;
};
