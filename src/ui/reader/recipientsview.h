#pragma once

#include "message/address.h"

#include <QWidget>

#include <optional>

class Message;

/// The fields that say to whom a message went and who else has to do with it: one line of names, as many as
/// fit, with "3 more" at its end, and in full where answers go when that is elsewhere. Each person has a menu
/// (a click, Enter, the menu key); the arrow keys go from one to the next; the space bar, or a click beside
/// them, shows everybody with their addresses.
class RecipientsView : public QWidget
{
    Q_OBJECT

public:
    explicit RecipientsView(QWidget *parent = nullptr);

    void showMessage(const Message &message);

    bool isExpanded() const { return m_expanded; }
    void setExpanded(bool expanded);

    /// What is written at @p width, without the labels' own colours; for screen readers and tests.
    QString textFor(int width) const;
    /// The person that the keyboard is at; empty where it is at none.
    std::optional<Address> currentPerson() const;

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;
    bool hasHeightForWidth() const override { return true; }
    int heightForWidth(int width) const override;

signals:
    /// Another message, or folded and unfolded: the height is another one.
    void extentChanged();
    void menuWanted(const Address &person, const QPoint &globalPosition);
    /// The keyboard went to what stands there.
    void currentMoved(const QRect &place);

protected:
    bool event(QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void leaveEvent(QEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void contextMenuEvent(QContextMenuEvent *event) override;
    void focusInEvent(QFocusEvent *event) override;
    void focusOutEvent(QFocusEvent *event) override;
    void changeEvent(QEvent *event) override;

private:
    struct Field
    {
        QString label;
        QList<Address> people; ///< at most kMostNames
        QString words;         ///< instead of people
        qsizetype more = 0;    ///< people that are not in the list
        bool always = false;   ///< has a line of its own even when folded
    };
    struct Item
    {
        enum Kind { Label, Person, Words, More, Less };

        Kind kind;
        QString text;
        QRect place; ///< as from left to right
        int field = -1;
        int person = -1;

        bool isActive() const { return kind == Person || kind == More || kind == Less; }
    };
    struct Layout
    {
        QList<Item> items;
        int height = 0;
    };
    class Arranger;

    const Layout &layoutAt(int width) const;
    Layout arranged(int width) const;
    void addField(const QString &label, const QList<Address> &people, bool always = false);
    void addWords(const QString &label, const QString &words);
    void readFields(const Message &message);
    void forgetLayout();
    int itemAt(const QPoint &position) const;
    int step(int from, int direction) const;
    void setCurrent(int item);
    void activate(int item);
    QRect visual(const QRect &place) const;
    void paintItem(QPainter &painter, int index) const;

    QList<Field> m_fields;
    bool m_expanded = false;
    int m_current = -1; ///< an active item
    int m_hovered = -1;
    mutable Layout m_layout;
    mutable int m_layoutWidth = -1;
};
