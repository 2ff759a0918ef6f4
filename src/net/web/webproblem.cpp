#include "net/web/webproblem.h"

#include <QCoreApplication>

#include <array>

namespace {

struct Row
{
    WebProblem problem;
    const char *text;
};

constexpr std::array kTexts = {
    Row{WebProblem::None, ""},
    Row{WebProblem::Disabled, QT_TRANSLATE_NOOP("WebProblem", "Fetching pictures is switched off")},
    Row{WebProblem::Offline, QT_TRANSLATE_NOOP("WebProblem", "There is no connection to the network")},
    Row{WebProblem::BadAddress, QT_TRANSLATE_NOOP("WebProblem", "This is no address of the web")},
    Row{WebProblem::BadProxy, QT_TRANSLATE_NOOP("WebProblem", "The web proxy is not set up right")},
    Row{WebProblem::Forbidden, QT_TRANSLATE_NOOP("WebProblem", "The address leads into a private network")},
    Row{WebProblem::NoSuchHost, QT_TRANSLATE_NOOP("WebProblem", "The server was not found")},
    Row{WebProblem::NoConnection, QT_TRANSLATE_NOOP("WebProblem", "The server cannot be reached")},
    Row{WebProblem::ProxyRefused, QT_TRANSLATE_NOOP("WebProblem", "The web proxy would not connect")},
    Row{WebProblem::NotTrusted, QT_TRANSLATE_NOOP("WebProblem", "The server could not prove who it is")},
    Row{WebProblem::TooSlow, QT_TRANSLATE_NOOP("WebProblem", "The server took too long")},
    Row{WebProblem::BadAnswer, QT_TRANSLATE_NOOP("WebProblem", "The server's answer makes no sense")},
    Row{WebProblem::CutShort, QT_TRANSLATE_NOOP("WebProblem", "The connection was lost")},
    Row{WebProblem::Refused, QT_TRANSLATE_NOOP("WebProblem", "The server does not have it")},
    Row{WebProblem::Redirections, QT_TRANSLATE_NOOP("WebProblem", "The server sends from place to place")},
    Row{WebProblem::Downgrade,
        QT_TRANSLATE_NOOP("WebProblem", "The server leads away from its encrypted place")},
    Row{WebProblem::NoPicture, QT_TRANSLATE_NOOP("WebProblem", "This is no picture that can be shown")},
    Row{WebProblem::TooLarge, QT_TRANSLATE_NOOP("WebProblem", "The picture is too large")},
    Row{WebProblem::TooMuch, QT_TRANSLATE_NOOP("WebProblem", "The pictures of the message are too large")},
    Row{WebProblem::TooMany, QT_TRANSLATE_NOOP("WebProblem", "The message has too many pictures")},
};
static_assert(kTexts.size() == std::size_t(WebProblem::TooMany) + 1);
static_assert([] {
    for (std::size_t i = 0; i < kTexts.size(); ++i) {
        if (kTexts[i].problem != WebProblem(i))
            return false;
    }
    return true;
}());

} // namespace

QString webProblemText(WebProblem problem)
{
    return QCoreApplication::translate("WebProblem", kTexts[std::size_t(problem)].text);
}
