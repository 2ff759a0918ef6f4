#include "ui/main/webpictures.h"

#include "engine/engine.h"
#include "engine/imagesenders.h"
#include "engine/remoteimages.h"

#include <QObject>
#include <QUrl>

namespace {

/// The requests of one message; they go with it.
class PictureSession : public RemoteContent::Session
{
public:
    explicit PictureSession(RemoteImages &images)
        : m_images(images)
        , m_budget(std::make_shared<RemoteImageBudget>())
    {}

    void fetch(const QString &url, Done done) override
    {
        RemoteImageRequest *request = m_images.fetch(QUrl(url), m_budget, &m_requests);
        QObject::connect(request, &RemoteImageRequest::finished, request, [request, done = std::move(done)] {
            const QByteArray file = request->bytes();
            request->deleteLater();
            done(file); // may destroy the session
        });
    }

private:
    RemoteImages &m_images;
    std::shared_ptr<RemoteImageBudget> m_budget;
    QObject m_requests;
};

} // namespace

RemoteContent::Availability WebPictures::availability() const
{
    switch (RemoteImages::availability()) {
    case RemoteImages::Availability::Disabled: return Availability::Disabled;
    case RemoteImages::Availability::Offline: return Availability::Offline;
    case RemoteImages::Availability::Available: break;
    }
    return Availability::Available;
}

bool WebPictures::isTrusted(const QString &sender) const
{
    return m_engine.imageSenders().contains(sender);
}

void WebPictures::trust(const QString &sender)
{
    m_engine.imageSenders().add(sender);
}

std::unique_ptr<RemoteContent::Session> WebPictures::open()
{
    return std::make_unique<PictureSession>(m_engine.remoteImages());
}
