#pragma once

#include <QList>
#include <QString>

#include <functional>

class Group;
class GroupStore;
class QDialog;
class QWidget;

/// Asks for a group, with a field that narrows the list while one types: several words in any order, be it
/// only the first letters of words. Those in @p recent come first.
struct GroupRequest
{
    QString title;
    QString verb;                                   ///< of the default button
    int except = 0;                                 ///< a group that is not offered
    QList<int> recent = {};                         ///< the last one first
    std::function<bool(const Group &)> offers = {}; ///< empty: all of them
    QString top = {};                               ///< the text of an entry that means 0; empty for none
};

/// Whether messages may be put into @p group by hand. What lies in the outbox is sent.
bool takesMessages(const Group &group);

/// Opens without an event loop of its own and deletes itself; @p done learns the number of the group, and
/// nothing happens when the user cancels.
QDialog *askGroup(QWidget *parent, const GroupStore &store, const GroupRequest &request,
                  std::function<void(int group)> done);
