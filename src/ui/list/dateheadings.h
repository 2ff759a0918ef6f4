#pragma once

#include <QDateTime>
#include <QString>

#include <vector>

/// The spans of time under which a list by date is divided, as they are on one day: later, today, yesterday,
/// the weekdays of the last week, the rest of the month, the months of the year, the years.
class DateHeadings
{
public:
    /// @p now in the zone of the user.
    explicit DateHeadings(const QDateTime &now);

    /// The span that @p date (seconds since 1970 UTC) is in; spans are numbered from the newest, 0.
    int spanOf(qint64 date) const;
    QString text(int span) const { return m_spans[std::size_t(span)].text; }

    /// When it begins: that stays the same when yesterday becomes a weekday.
    qint64 begin(int span) const { return m_spans[std::size_t(span)].begin; }

    const QDate &day() const { return m_day; }

private:
    void add(const QDate &first, const QString &text);

    struct Span
    {
        qint64 begin;
        QString text;
    };
    QDate m_day;
    std::vector<Span> m_spans; ///< newest first
};
