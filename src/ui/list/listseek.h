#pragma once

#include "ui/list/messagelistmodel.h"

#include <QElapsedTimer>
#include <QTimer>

/// Seeks the message whose text begins with what is typed, in short slices: letters that follow each other
/// quickly are one word.
class ListSeek : public QObject
{
    Q_OBJECT

public:
    /// @p model must outlive this.
    explicit ListSeek(MessageListModel &model, QObject *parent = nullptr);

    /// @p letters were typed while @p from was the current place. Senders are sought in a list sorted by
    /// them, else subjects.
    void type(const QString &letters, int from);
    void stop();

signals:
    void found(int place);

private:
    void slice();
    bool begins(int place) const;

    MessageListModel &m_model;
    QString m_word; ///< folded
    QElapsedTimer m_typed;
    QTimer m_timer;
    int m_from = 0;
    int m_looked = 0; ///< places looked at
};
