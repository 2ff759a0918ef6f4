#pragma once

#include "ui/main/grouptabs.h"
#include "ui/main/groupviewer.h"

#include <QObject>
#include <QStackedWidget>

#include <memory>
#include <vector>

/// Shows one of several widgets, and gives the focus on to it.
class PaneStack : public QStackedWidget
{
    Q_OBJECT

public:
    explicit PaneStack(const QString &name);

    void bringUp(QWidget *widget);

protected:
    void focusInEvent(QFocusEvent *event) override;
};

/// The tabs of a window and what each of them shows. There is always at least one.
class Viewers : public QObject
{
    Q_OBJECT

public:
    /// @p surroundings must outlive this.
    explicit Viewers(const ViewerSurroundings &surroundings, QObject *parent);
    ~Viewers() override;

    /// For the window, which owns them.
    GroupTabs *tabs() const { return m_tabs; }
    PaneStack *lists() const { return m_lists; }
    PaneStack *readers() const { return m_readers; }

    GroupViewer &current() const { return *m_viewers[std::size_t(m_tabs->currentIndex())]; }
    int count() const { return int(m_viewers.size()); }
    const std::vector<std::unique_ptr<GroupViewer>> &all() const { return m_viewers; }

    /// The tab that shows @p place comes to the front; without one the current tab shows it from now on.
    void show(int place);

    /// A new tab behind the current one, in front, unless one shows @p place already.
    void openTab(int place);

    void closeTab(int index);
    void closeOthers(int index);
    bool canReopen() const { return !m_closed.isEmpty(); }
    void reopenTab();

    /// Tab number @p index, or the next (previous) one, round about.
    void select(int index);
    void step(int direction);

    /// Opens the tabs as they were; nothing is read before a tab comes to the front.
    void restore(const TabsText &text);
    TabsText text() const;

    /// A group is gone: its tab goes too, the last one shows @p instead.
    void forget(int place, int instead);

    void setReading(bool reading);

signals:
    void currentChanged(); ///< another tab, or another group in it
    void changed();        ///< something in the current tab
    void openWanted(MessageRef message);
    void messageMenuWanted(const QPoint &globalPosition);
    void spacePressed();
    void added(GroupViewer *viewer); ///< its widgets are there and shown

private:
    GroupViewer &add(int index, int place);
    int indexOf(const GroupViewer *viewer) const;
    int indexOfPlace(int place) const;
    void moved(int from, int to);
    void bringUp();
    void describe(GroupViewer &viewer);
    void describeAll();
    void showMenu(int index, const QPoint &position);

    ViewerSurroundings m_surroundings;
    GroupTabs *m_tabs;
    PaneStack *m_lists;
    PaneStack *m_readers;
    std::vector<std::unique_ptr<GroupViewer>> m_viewers; ///< in the order of the tabs
    GroupViewer *m_front = nullptr;
    QList<int> m_closed; ///< the last one last
    bool m_reading = true;
};
