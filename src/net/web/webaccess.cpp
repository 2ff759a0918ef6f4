#include "net/web/webaccess.h"

#include <QHostInfo>
#include <QSslSocket>

#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;

namespace {

/// A range of addresses, its first bits.
template <typename Bits>
struct Range
{
    Bits first;
    int prefix;
};

/// The special-purpose registry of IPv4 and what is no unicast.
constexpr std::array kSpecialIPv4 = {
    Range<quint32>{0x00000000, 8},  // 0.0.0.0/8, "this network"
    Range<quint32>{0x0A000000, 8},  // 10.0.0.0/8, private
    Range<quint32>{0x64400000, 10}, // 100.64.0.0/10, behind the NAT of a provider
    Range<quint32>{0x7F000000, 8},  // 127.0.0.0/8, this machine
    Range<quint32>{0xA9FE0000, 16}, // 169.254.0.0/16, this link; where clouds keep their keys
    Range<quint32>{0xAC100000, 12}, // 172.16.0.0/12, private
    Range<quint32>{0xC0000000, 24}, // 192.0.0.0/24, protocols
    Range<quint32>{0xC0000200, 24}, // 192.0.2.0/24, documentation
    Range<quint32>{0xC0586300, 24}, // 192.88.99.0/24, relays of 6to4
    Range<quint32>{0xC0A80000, 16}, // 192.168.0.0/16, private
    Range<quint32>{0xC6120000, 15}, // 198.18.0.0/15, benchmarks
    Range<quint32>{0xC6336400, 24}, // 198.51.100.0/24, documentation
    Range<quint32>{0xCB007100, 24}, // 203.0.113.0/24, documentation
    Range<quint32>{0xE0000000, 3},  // 224.0.0.0 and above: multicast, reserved, broadcast
};

/// The same within 2000::/3, by the upper half of the address. All else of IPv6 is not global unicast.
constexpr std::array kSpecialIPv6 = {
    Range<quint64>{0x2001000000000000, 23}, // protocols, Teredo and benchmarks among them
    Range<quint64>{0x20010DB800000000, 32}, // documentation
    Range<quint64>{0x2002000000000000, 16}, // 6to4: the address of its gateway is inside
    Range<quint64>{0x3FFF000000000000, 20}, // documentation
};
constexpr Range<quint64> kGlobalUnicast = {0x2000000000000000, 3};

/// RFC 6052: 64:ff9b::/96, the IPv4 address in its last four bytes.
constexpr quint64 kNat64Upper = 0x0064FF9B00000000;

template <typename Bits>
bool lies(Bits address, const Range<Bits> &range)
{
    const int rest = int(sizeof(Bits)) * 8 - range.prefix;
    return (address >> rest) == (range.first >> rest);
}

template <typename Bits, std::size_t Count>
bool liesInAny(Bits address, const std::array<Range<Bits>, Count> &ranges)
{
    return std::any_of(ranges.begin(), ranges.end(), [&](const auto &range) { return lies(address, range); });
}

bool isGlobalIPv6(const Q_IPV6ADDR &bytes)
{
    quint64 halves[2] = {};
    for (int i = 0; i < 16; ++i)
        halves[i / 8] = halves[i / 8] << 8 | bytes[i];
    const auto [upper, lower] = halves;
    if (upper == kNat64Upper && lower >> 32 == 0)
        return !liesInAny(quint32(lower), kSpecialIPv4);
    return lies(upper, kGlobalUnicast) && !liesInAny(upper, kSpecialIPv6);
}

} // namespace

bool isGlobalAddress(const QHostAddress &address)
{
    switch (address.protocol()) {
    case QAbstractSocket::IPv4Protocol: return !liesInAny(address.toIPv4Address(), kSpecialIPv4);
    case QAbstractSocket::IPv6Protocol:
        return address.scopeId().isEmpty() && isGlobalIPv6(address.toIPv6Address());
    default: return false;
    }
}

bool PublicPolicy::permitsAddress(const QHostAddress &address) const
{
    return isGlobalAddress(address);
}

bool PublicPolicy::permitsPort(quint16 port) const
{
    constexpr std::array kPorts = {80, 443, 8080, 8443};
    return std::find(kPorts.begin(), kPorts.end(), port) != kPorts.end();
}

void SystemResolver::resolve(const QString &name, QObject *context, Answer answer)
{
    QHostInfo::lookupHost(name, context,
                          [answer = std::move(answer)](const QHostInfo &info) { answer(info.addresses()); });
}

WebAccess WebAccess::toTheWorld()
{
    QSslConfiguration tls = QSslConfiguration::defaultConfiguration();
    tls.setProtocol(QSsl::TlsV1_2OrLater);
    tls.setPeerVerifyMode(QSslSocket::VerifyPeer);
    return {std::make_shared<SystemResolver>(), std::make_shared<PublicPolicy>(), tls, {}};
}
