#include "net/socket/socketerror.h"

#include <array>

using namespace Qt::StringLiterals;

namespace {

constexpr int kNetwork = int(QAbstractSocket::NetworkError);

constexpr int number(SocketError error)
{
    return int(error);
}

/// Only those where the number changes: others keep theirs, and none of them may pass for one of the four.
struct Row
{
    QAbstractSocket::SocketError error;
    int connecting;
    int connected;
};
constexpr std::array kRows = {
    Row{QAbstractSocket::ConnectionRefusedError, number(SocketError::Refused), number(SocketError::Read)},
    Row{QAbstractSocket::HostNotFoundError, number(SocketError::HostNotFound), number(SocketError::Read)},
    Row{QAbstractSocket::SocketAccessError, kNetwork, kNetwork}, // a firewall's word
    Row{QAbstractSocket::SocketTimeoutError, int(QAbstractSocket::SocketTimeoutError),
        number(SocketError::Read)},
    Row{QAbstractSocket::NetworkError, kNetwork, number(SocketError::Read)},
};

constexpr std::array kTexts = {"Connection refused", "Host not found", "Error when reading"};
static_assert(kTexts.size() == std::size_t(SocketError::Read) + 1);

} // namespace

std::optional<int> socketErrorCode(QAbstractSocket::SocketError error, SocketPhase phase)
{
    if (error == QAbstractSocket::RemoteHostClosedError)
        return {};
    for (const Row &row : kRows) {
        if (row.error == error)
            return phase == SocketPhase::Connecting ? row.connecting : row.connected;
    }
    return int(error);
}

QString socketErrorText(int code)
{
    return code >= 0 && code < int(kTexts.size()) ? QLatin1StringView(kTexts[std::size_t(code)])
                                                  : u"Unknown error"_s;
}
