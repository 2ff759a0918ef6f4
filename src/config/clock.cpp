#include "config/clock.h"

namespace {

std::function<qint64()> &source()
{
    static std::function<qint64()> s_source = &QDateTime::currentMSecsSinceEpoch;
    return s_source;
}

} // namespace

qint64 clockMilliseconds()
{
    return source()();
}

qint64 clockSeconds()
{
    return clockMilliseconds() / 1000;
}

QDateTime clockNow()
{
    return QDateTime::fromMSecsSinceEpoch(clockMilliseconds());
}

ClockOverride::ClockOverride(std::function<qint64()> milliseconds)
    : m_previous(std::exchange(source(), std::move(milliseconds)))
{}

ClockOverride::~ClockOverride()
{
    source() = std::move(m_previous);
}
