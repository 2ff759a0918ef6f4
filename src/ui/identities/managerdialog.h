#pragma once

#include <QDialog>
#include <QKeySequence>
#include <QVariant>

#include <functional>
#include <vector>

class AskingBar;
class DialogFooter;
class EmptyState;
class QListView;
class QPushButton;
class QStandardItemModel;
class QVBoxLayout;

/// What one object looks like in the list of its manager.
struct ManagerRow
{
    QVariant key; ///< what it is found again by
    QString icon;
    QString name;
    QString summary;    ///< the second line
    QString state = {}; ///< at the trailing edge
};

/// A list of objects and the buttons for what one does with them. Enter in the list presses the button that
/// edits. It deletes itself when it is closed.
class ManagerDialog : public QDialog
{
    Q_OBJECT

public:
    /// Chooses the row of that key.
    void select(const QVariant &key);

protected:
    ManagerDialog(const QString &title, QWidget *parent);

    enum class Needs { Nothing, ARow };

    /// Adds a button below the others. @p key does the same while the list has the keyboard.
    QPushButton *addButton(const QString &text, const char *name, Needs needs, std::function<void()> deed,
                           const QKeySequence &key = {});
    void addGap();

    /// The buttons that every manager begins with, and what an empty list offers: its button, like "New…",
    /// does what @p add does.
    struct Usual
    {
        std::function<void()> add;
        std::function<void()> edit;
        std::function<void()> copy;
        std::function<void()> remove;
    };
    void addUsualButtons(const Usual &usual);

    /// What stands in the place of an empty list.
    void setEmpty(const QString &title, const QString &sentence, const QString &button);

    /// Puts @p rows into the list. The chosen one stays; where it is gone, the row in its place.
    void setRows(const std::vector<ManagerRow> &rows);

    int currentRow() const; ///< -1: none
    QVariant currentKey() const;
    QString currentName() const;
    int rowCount() const;

    /// Asks before something is lost; "Keep it" is the default.
    void askBeforeDelete(const QString &title, const QString &loss, const QString &verb,
                         std::function<void()> deed);

    AskingBar *notice() const { return m_notice; }
    QListView *list() const { return m_list; }
    DialogFooter *footer() const { return m_footer; }

    /// Enables what can be done now; called whenever the chosen row or the list has changed.
    virtual void showState();

private:
    void build();

    QStandardItemModel *m_model;
    QListView *m_list;
    EmptyState *m_empty;
    AskingBar *m_notice;
    QVBoxLayout *m_buttons;
    DialogFooter *m_footer;
    QPushButton *m_edit = nullptr;
    QList<QPushButton *> m_forOne;
    std::function<void()> m_whenEmpty;
};
