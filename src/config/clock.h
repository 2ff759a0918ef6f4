#pragma once

#include <QDateTime>

#include <functional>

/// The time. Everything that asks for the time asks here, so that a test can set it.

/// Milliseconds since 1970-01-01 UTC.
qint64 clockMilliseconds();

/// Whole seconds since 1970-01-01 UTC.
qint64 clockSeconds();

/// The same moment in the local time zone.
QDateTime clockNow();

/// Replaces the time for as long as it lives; the one replaced comes back afterwards.
class ClockOverride
{
public:
    /// @p milliseconds gives the milliseconds since 1970-01-01 UTC each time it is called.
    explicit ClockOverride(std::function<qint64()> milliseconds);
    ~ClockOverride();
    ClockOverride(const ClockOverride &) = delete;
    ClockOverride &operator=(const ClockOverride &) = delete;

private:
    std::function<qint64()> m_previous;
};
