#include "ui/list/dateheadings.h"

#include <QCoreApplication>
#include <QLocale>

#include <algorithm>
#include <limits>

using namespace Qt::StringLiterals;

namespace {

constexpr int kOldestYear = 1971; ///< what is before it has most likely no date at all
constexpr int kDaysOfAWeek = 7;

} // namespace

DateHeadings::DateHeadings(const QDateTime &now)
    : m_day(now.date())
{
    const QLocale locale;
    add(m_day.addDays(1), QCoreApplication::translate("DateHeadings", "Later"));
    add(m_day, QCoreApplication::translate("DateHeadings", "Today"));
    add(m_day.addDays(-1), QCoreApplication::translate("DateHeadings", "Yesterday"));
    QDate last = m_day;
    for (int ago = 2; ago < kDaysOfAWeek; ++ago) {
        last = m_day.addDays(-ago);
        add(last, locale.standaloneDayName(last.dayOfWeek()));
    }
    const QDate month(m_day.year(), m_day.month(), 1);
    if (month < last)
        add(month, QCoreApplication::translate("DateHeadings", "Earlier this month"));
    for (int number = m_day.month() - 1; number >= 1; --number)
        add(QDate(m_day.year(), number, 1), locale.standaloneMonthName(number));
    for (int year = m_day.year() - 1; year >= kOldestYear; --year)
        add(QDate(year, 1, 1), QString::number(year));
    m_spans.push_back(
        {std::numeric_limits<qint64>::min(), QCoreApplication::translate("DateHeadings", "Older")});
}

/// A span that would begin after the one before it is empty: that one holds the days already.
void DateHeadings::add(const QDate &first, const QString &text)
{
    const qint64 begin = first.startOfDay().toSecsSinceEpoch();
    if (m_spans.empty() || begin < m_spans.back().begin)
        m_spans.push_back({begin, text});
}

int DateHeadings::spanOf(qint64 date) const
{
    const auto span = std::partition_point(m_spans.begin(), m_spans.end(),
                                           [date](const Span &one) { return one.begin > date; });
    return int(span - m_spans.begin());
}
