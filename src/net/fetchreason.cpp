#include "net/fetchreason.h"

QString fetchMessage(AccountFetchReason reason, const QString &account, const QString &detail)
{
    const QString message = QLatin1String(kFetchReasons[std::size_t(reason)].message);
    if (message.isEmpty())
        return {};
    return message.contains(QLatin1String("%2")) ? message.arg(account, detail) : message.arg(account);
}
