#pragma once

#include "ui/actions/paletteitems.h"

#include <QPointer>
#include <QWidget>

class PaletteModel;
class QLabel;
class QLineEdit;
class QListView;

/// Finds any action of the window by words and does it, over a veil that covers the window. Esc and a click
/// beside it close it; the focus goes back to where it was.
class CommandPalette : public QWidget
{
    Q_OBJECT

public:
    /// Covers @p registry's window.
    explicit CommandPalette(const ActionRegistry &registry);

    /// What is listed in the place of actions when the text begins with @p prefix.
    struct Source
    {
        QChar prefix;
        QString name; ///< for the line at the foot
        std::function<QList<PaletteItem>()> items;
    };
    void addSource(Source source);

    void open(const QString &text = {});
    void closePalette();

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;

private:
    void build();
    void collect();
    void refresh();
    void run();
    bool keyInField(int key);
    void moveBy(int rows);
    void place();

    const ActionRegistry &m_registry;
    QList<Source> m_sources;
    QList<PaletteItem> m_items;
    QChar m_prefix;
    QWidget *m_card;
    QLineEdit *m_field;
    QLabel *m_count;
    QListView *m_list;
    QLabel *m_foot;
    PaletteModel *m_model;
    QPointer<QWidget> m_focusBefore;
};
