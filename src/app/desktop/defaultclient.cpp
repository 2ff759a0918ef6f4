#include "app/desktop/defaultclient.h"

#include "config/reporter.h"
#include "config/settings.h"

#include <QPointer>

namespace {

struct Offer
{
    Platform::Handler handler;
    Setting ask;
    const char *question;
};

constexpr std::array kOffers = {
    Offer{
        Platform::Handler::Mail, Setting::AskDefaultMailClient,
        "Velmar is not currently set up as your default mail client.\nDo you want to make it your default?"},
    Offer{
        Platform::Handler::News, Setting::AskDefaultNewsClient,
        "Velmar is not currently set up as your default news client.\nDo you want to make it your default?"},
};

} // namespace

DefaultClient::DefaultClient(Platform &platform, QObject *parent)
    : QObject(parent)
    , m_platform(platform)
{}

void DefaultClient::start(bool newsInUse, bool configBesideProgram)
{
    m_newsInUse = newsInUse;
    m_at = configBesideProgram ? kOffers.size() : 0;
    next();
}

void DefaultClient::next()
{
    if (m_at == kOffers.size()) {
        emit finished();
        return;
    }
    const Offer &offer = kOffers[m_at++];
    if (!boolSetting(offer.ask) || (offer.handler == Platform::Handler::News && !m_newsInUse))
        return next();
    m_platform.askDefaultHandler(offer.handler,
                                 [guard = QPointer(this), &offer](std::optional<bool> isDefault) {
                                     if (guard && isDefault == false)
                                         emit guard->questionRaised(QString::fromLatin1(offer.question));
                                     else if (guard)
                                         guard->next();
                                 });
}

void DefaultClient::answer(bool makeDefault)
{
    if (!makeDefault)
        return next();
    m_platform.becomeDefaultHandler(kOffers[m_at - 1].handler, [guard = QPointer(this)](bool registered) {
        if (!guard)
            return;
        if (!registered) {
            report(ReportLevel::Warning, "Failed to create registry entries");
            guard->m_at = kOffers.size();
        }
        guard->next();
    });
}
