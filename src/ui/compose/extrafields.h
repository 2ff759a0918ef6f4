#pragma once

#include "compose/composition.h"

#include <QWidget>

#include <vector>

class QGridLayout;
class QLineEdit;
class QToolButton;

/// Header lines of the user's own, a row each of name and value; an empty row waits at the end. Line breaks
/// cannot get into them.
class ExtraFields : public QWidget
{
    Q_OBJECT

public:
    explicit ExtraFields(QWidget *parent = nullptr);

    void setFields(const QList<ExtraHeader> &fields);

    /// Those that have a name, whether or not it can be one.
    QList<ExtraHeader> fields() const;

    /// Why one of them cannot be sent, and nothing where all can.
    QString problem() const;
    void focusProblem();

    /// The width of the names; the column of labels above takes it over, so that the values begin where
    /// other fields do.
    static int nameWidth();

signals:
    void changed();

protected:
    void paintEvent(QPaintEvent *event) override;
    void changeEvent(QEvent *event) override;

private:
    struct Row
    {
        QLineEdit *name;
        QLineEdit *value;
        QToolButton *remove;
    };

    void addRow(const ExtraHeader &field);
    void removeRow(const QLineEdit *name);
    void rowChanged(const QLineEdit *name);
    static void fit(const Row &row);

    QGridLayout *m_grid;
    std::vector<Row> m_rows;
};
