#pragma once

#include "config/reporter.h"

#include <QAbstractListModel>
#include <QDateTime>

#include <deque>

class QDialog;
class QWidget;

/// What was reported in this run, the newest first, so that it can be read again when its box is closed.
class Notices : public QAbstractListModel
{
    Q_OBJECT

public:
    using QAbstractListModel::QAbstractListModel;

    void add(ReportLevel level, const QString &text);

    /// How many nobody has looked at in the list yet, and the gravest level among them.
    int unseen() const { return m_unseen; }
    ReportLevel gravest() const { return m_gravest; }

    /// Opens the list over @p window, without an event loop of its own; all are seen then.
    QDialog *showList(QWidget *window);

    int rowCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;

signals:
    void unseenChanged();

private:
    struct Notice
    {
        ReportLevel level;
        QString text;
        QDateTime time;
    };

    QString asText() const;
    void clear();

    std::deque<Notice> m_notices;
    int m_unseen = 0;
    ReportLevel m_gravest = ReportLevel::Information;
};
