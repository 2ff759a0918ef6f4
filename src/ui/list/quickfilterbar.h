#pragma once

#include "ui/list/listfilter.h"

#include <QWidget>

#include <array>

class MessageList;
class QAction;
class QMenu;
class QToolButton;
class SearchField;

/// Narrows a list of messages: to what is unread, flagged, has attachments, and to words as they are typed.
/// Where there is no room for all of it, it is one button with a menu. Stands at the far end of a bar.
class QuickFilterBar : public QWidget
{
    Q_OBJECT

public:
    /// @p list must outlive this.
    explicit QuickFilterBar(MessageList &list, QWidget *parent = nullptr);

    /// The keyboard goes to the field, or to the menu where that is all there is.
    void focusField();

    /// Shows everything again.
    void clear();

    /// What the list is narrowed to, for the status line: "14 of 1,284 shown"; empty when it is not.
    QString words() const;

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void changeEvent(QEvent *event) override;

private:
    QAction *newToggle(const QString &icon, const QString &name, bool ListFilter::*part);
    void createMenu();
    void change(const ListFilter &filter);
    void showFilter(const ListFilter &filter);
    void arrange();
    void leave();
    int fullWidth() const;

    struct Toggle
    {
        QAction *action;
        QToolButton *button;
        bool ListFilter::*part;
    };

    MessageList &m_list;
    std::array<Toggle, 3> m_toggles;
    SearchField *m_field;
    SearchField *m_menuField;
    QToolButton *m_menuButton;
    QMenu *m_menu;
    bool m_showing = false;
};
