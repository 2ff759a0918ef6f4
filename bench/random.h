#pragma once

#include <QtGlobal>

#include <cmath>

/// Numbers that are the same for one seed on every machine, which the standard distributions do not promise.
class Random
{
public:
    explicit Random(quint64 seed)
        : m_state(seed)
    {}

    /// 64 random bits (Steele, Lea and Flood, "Fast splittable pseudorandom number generators").
    quint64 bits()
    {
        quint64 z = m_state += 0x9e3779b97f4a7c15;
        z = (z ^ z >> 30) * 0xbf58476d1ce4e5b9;
        z = (z ^ z >> 27) * 0x94d049bb133111eb;
        return z ^ z >> 31;
    }

    /// From 0 up to, not including, 1.
    double unit() { return double(bits() >> 11) / double(1ULL << 53); }

    /// From 0 up to, not including, @p end, which is positive.
    qsizetype below(qsizetype end) { return qsizetype(bits() % quint64(end)); }

    bool chance(double probability) { return unit() < probability; }

    /// Of the normal distribution with mean 0 and deviation 1 (Box and Muller).
    double normal()
    {
        const double radius = std::sqrt(-2 * std::log(1 - unit()));
        return radius * std::cos(2 * 3.14159265358979323846 * unit());
    }

    template <typename List>
    const auto &oneOf(const List &list)
    {
        return list[std::size_t(below(qsizetype(std::size(list))))];
    }

private:
    quint64 m_state;
};
