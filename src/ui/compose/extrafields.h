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

    /// How wide the names are, so that the values begin where other fields do.
    void setNameWidth(int width);

signals:
    void changed();

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
    void fit(QLineEdit *name) const;

    QGridLayout *m_grid;
    std::vector<Row> m_rows;
    int m_nameWidth = 0;
};
