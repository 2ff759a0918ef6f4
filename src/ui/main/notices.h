#pragma once

#include "config/reporter.h"

#include <QAbstractListModel>
#include <QDateTime>

#include <deque>
#include <functional>

class QDialog;
class QWidget;

/// What was reported in this run, the newest first, so that it can be read again when its box is closed. Of
/// an account in trouble it holds one row, however often a fetch fails, and none once the account works.
class Notices : public QAbstractListModel
{
    Q_OBJECT

public:
    using QAbstractListModel::QAbstractListModel;

    void add(ReportLevel level, const QString &text);

    /// What is wrong with @p account now, in the place of what was said of it before and of a box that said
    /// @p boxed. The same words again call nobody who has read them.
    void addTrouble(int account, const QString &text, const QString &boxed);
    void endTrouble(int account);

    /// How many nobody has looked at in the list yet, and the gravest level among them.
    int unseen() const;
    ReportLevel gravest() const;

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
        int account = 0; ///< whose trouble it is; 0: nobody's
        bool isSeen = false;
    };

    void put(const Notice &notice);
    bool take(const std::function<bool(const Notice &)> &isMeant);
    QString asText() const;
    void clear();

    std::deque<Notice> m_notices;
};
