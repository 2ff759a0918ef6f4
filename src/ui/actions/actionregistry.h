#pragma once

#include <QList>
#include <QObject>

#include <vector>

class QAction;
class QWidget;

/// One action that a window offers, as its table states it.
struct ActionRow
{
    enum Trait : unsigned {
        Plain = 0,
        Checks = 1,    ///< is on or off
        Separates = 2, ///< a line stands before it in its menu
        Hidden = 4,    ///< works by its keys and is in no list for people: a twin of something that is
        Local = 8,     ///< its keys work only in the widgets that the window adds it to
    };

    const char *name;    ///< "message.archive": unique in its window and never changed, keys are kept by it
    const char *text;    ///< as in a menu, in English, marked with QT_TRANSLATE_NOOP
    const char *icon;    ///< its name, or empty
    const char *keys;    ///< the keys at first, separated by blanks
    unsigned needs = 0;  ///< bits of the window's own: all must be there for the action to make sense
    unsigned traits = 0; ///< of Trait
};

/// Every action of one window, made from the rows of its tables: menus, bars, keys, the command palette and
/// the list of keys all come from here. The actions work wherever in the window the focus is.
class ActionRegistry : public QObject
{
    Q_OBJECT

public:
    explicit ActionRegistry(QWidget *window);

    /// Makes the action of @p row; @p context is where its text is translated. The row must outlive this.
    QAction *add(const ActionRow &row, const char *context);

    /// Null: there is none of that name.
    QAction *find(QStringView name) const;

    struct Entry
    {
        QAction *action;
        const ActionRow *row;
    };
    const std::vector<Entry> &entries() const { return m_entries; }

    /// What there is to act on: enables each action whose needs are all among the bits of @p have.
    void setHave(unsigned have);

    /// Whether keys without Ctrl and Alt that write something act. Switched off they are left to what has the
    /// focus, which seeks by them.
    void setSingleKeys(bool act);
    bool singleKeysAct() const { return m_singleKeys; }

    QWidget *window() const { return m_window; }

private:
    void setKeys(const Entry &entry) const;

    QWidget *m_window;
    std::vector<Entry> m_entries;
    bool m_singleKeys = true;
};

/// Its keys in the words of the desktop, "Ctrl+N, Ctrl+M"; empty without any.
QString keysInWords(const QAction *action);

/// A key that writes a character by itself.
bool isSingleKey(int keyCombined);
