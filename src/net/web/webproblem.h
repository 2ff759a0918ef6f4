#pragma once

#include <QString>

/// Why nothing was fetched.
enum class WebProblem {
    None,
    Disabled,
    Offline,
    BadAddress,
    BadProxy,
    Forbidden,
    NoSuchHost,
    NoConnection,
    ProxyRefused,
    NotTrusted,
    TooSlow,
    BadAnswer,
    CutShort,
    Refused,
    Redirections,
    Downgrade,
    NoPicture,
    TooLarge,
    TooMuch,
    TooMany,
};

/// For people, a sentence without its full stop; empty for None.
QString webProblemText(WebProblem problem);
