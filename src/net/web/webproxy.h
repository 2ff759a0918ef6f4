#pragma once

#include <QString>

#include <optional>

/// The proxy that fetches from the web go through: a host of the user's choice, on any network.
struct WebProxy
{
    QString host; ///< empty: none
    quint16 port = 0;

    bool isSet() const { return !host.isEmpty(); }
};

/// From `WebProxy`, "host" or "http://host", and `WebProxyPort`, of which empty means 8080. Nothing when they
/// are set to what cannot be used: then nothing may be fetched, for a proxy must not be passed by because of
/// a slip of the pen.
std::optional<WebProxy> webProxyOfSettings();
