#pragma once

#include "store/group.h"

#include <QPointer>
#include <QTimer>

#include <functional>

/// Looks in a group for the other pieces of a message that was sent in several (RFC 2046 section 5.2.2), in
/// short slices. They have the sender of the one that is known and stand in the same group.
class PieceSearch : public QObject
{
    Q_OBJECT

public:
    /// Whole texts of messages whose Content-Type carries the id, the known one among them.
    using Found = std::function<void(const QList<QByteArray> &texts)>;

    explicit PieceSearch(QObject *parent = nullptr);

    /// Looks for the pieces with @p id beside @p article and calls @p found once, later. What was looked for
    /// before is given up, without a call.
    void start(Group &group, quint32 article, const QByteArray &id, Found found);
    void stop();

private:
    void slice();
    void look(const Overview &overview);
    void end();

    QTimer m_timer;
    QPointer<Group> m_group;
    QByteArray m_id;
    QString m_sender;
    Found m_found;
    QList<QByteArray> m_texts;
    qint64 m_bytes = 0; ///< of m_texts
    int m_next = 0;     ///< row
    int m_read = 0;     ///< whole messages
};
