#pragma once

#include "message/message.h"
#include "store/groupstore.h"
#include "support/mail.h"
#include "support/scratch.h"
#include "ui/tree/grouptree.h"

#include <QTest>

// What the tests of the tree of groups share.

constexpr qint64 kTreeNoon = 1795176000; ///< Fri, 20 Nov 2026 12:00:00 UTC

/// A store and what fills it.
class Groups
{
public:
    Groups()
    {
        if (!store.load())
            qFatal("the store of the test cannot be loaded");
    }

    Group &role(GroupRole role) { return *store.group(role); }

    Group &make(const QString &path, GroupKind kind = GroupKind::Folder)
    {
        Group *made = store.make(path, kind);
        if (!made)
            qFatal("%s cannot be made", qPrintable(path));
        return *made;
    }

    quint32 add(Group &group, Marks marks = {})
    {
        const QByteArray id = QByteArray::number(++m_last);
        return store.add(group, Message(mailText(id, "Subject " + id)), marks, 0, kTreeNoon);
    }

    /// As after a start: nothing of this was made in the run of the program.
    std::unique_ptr<GroupTree> open()
    {
        auto tree = std::make_unique<GroupTree>(store);
        tree->resize(236, 700);
        tree->show();
        tree->setFocus();
        if (!QTest::qWaitForWindowActive(tree.get()))
            qFatal("the tree cannot be shown");
        return tree;
    }

    Scratch scratch;
    GroupStore store;

private:
    int m_last = 0;
};

inline void list(const QAbstractItemModel &model, const QModelIndex &parent, const QString &indent,
                 QStringList &rows)
{
    for (int row = 0; row < model.rowCount(parent); ++row) {
        const QModelIndex index = model.index(row, 0, parent);
        rows.append(indent + index.data().toString());
        list(model, index, indent + u'.', rows);
    }
}

/// Every row that is shown, a point for each level, without those that are always there.
inline QStringList rowsOf(GroupTree &tree)
{
    QStringList rows;
    list(*tree.model(), {}, {}, rows);
    const qsizetype mail = rows.indexOf(QStringLiteral("Mail"));
    return mail < 0 ? QStringList() : rows.sliced(mail);
}

inline QString lineOf(GroupTree &tree)
{
    const GroupTreeModel &model = tree.groups();
    return model.indexOf(kHiddenLine).data().toString();
}

inline QPoint placeOf(GroupTree &tree, int number)
{
    return tree.visualRect(tree.groups().indexOf(number)).center();
}

inline void click(GroupTree &tree, int number, Qt::MouseButton button = Qt::LeftButton)
{
    QTest::mouseClick(tree.viewport(), button, {}, placeOf(tree, number));
}
