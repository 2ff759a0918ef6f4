#pragma once

#include "store/group.h"

#include <QPointer>
#include <QTimer>

#include <functional>

/// Looks in a group for the pieces of a message that was sent in several (RFC 2046 section 5.2.2), in short
/// slices from its making on. They have one sender.
class PieceSearch : public QObject
{
    Q_OBJECT

public:
    /// Whole texts of messages whose Content-Type carries the id.
    using Found = std::function<void(const QList<QByteArray> &texts)>;

    /// For the pieces with @p id among the messages whose From, as Group::texts() tells it, is @p sender.
    /// Calls @p found once, later; not when this goes before.
    PieceSearch(Group &group, QByteArray id, QString sender, Found found, QObject *parent = nullptr);

private:
    void slice();
    void look(const Overview &overview);

    QTimer m_timer;
    QPointer<Group> m_group;
    QByteArray m_id;
    QString m_sender;
    Found m_found;
    QList<QByteArray> m_texts;
    qint64 m_bytes = 0; ///< of m_texts
    int m_next = 0;     ///< row, from the last
    int m_read = 0;     ///< whole messages
};
