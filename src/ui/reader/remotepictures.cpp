#include "ui/reader/remotepictures.h"

#include "message/headerblock.h"

using namespace Qt::StringLiterals;

namespace {
constexpr int kGathering = 60; ///< ms: each arrival lays the text out anew
}

RemotePictures::RemotePictures(QObject *parent)
    : QObject(parent)
    , m_files(std::make_shared<RemoteFiles>())
    , m_gather(this)
{
    m_gather.setSingleShot(true);
    m_gather.setInterval(kGathering);
    connect(&m_gather, &QTimer::timeout, this, [this] { emit arrived(std::exchange(m_news, {})); });
}

RemotePictures::~RemotePictures() = default;

void RemotePictures::setMessage(const Message &message, bool doubtful)
{
    m_session.reset();
    m_gather.stop();
    m_news.clear();
    m_asked.clear();
    m_files = std::make_shared<RemoteFiles>();
    m_sender = soleSender(message);
    m_shown = !doubtful && !m_sender.isEmpty() && availability() == RemoteContent::Availability::Available &&
              m_content->isTrusted(m_sender) && !failedSenderCheck(message);
}

RemoteContent::Availability RemotePictures::availability() const
{
    return m_content ? m_content->availability() : RemoteContent::Availability::Disabled;
}

void RemotePictures::allowAlways()
{
    if (m_content && !m_sender.isEmpty())
        m_content->trust(m_sender);
    allowOnce();
}

void RemotePictures::show(const QStringList &urls)
{
    if (!m_shown || availability() != RemoteContent::Availability::Available)
        return;
    if (!m_session && !urls.isEmpty())
        m_session = m_content->open();
    for (const QString &url : urls) {
        if (m_asked.contains(url))
            continue;
        m_asked.insert(url);
        m_session->fetch(url, [this, url](const QByteArray &file) {
            if (file.isEmpty())
                m_files->missing.insert(url);
            else
                m_files->here.insert(url, file);
            m_news.append(url);
            if (!m_gather.isActive())
                m_gather.start();
        });
    }
}

QString soleSender(const Message &message)
{
    const HeaderFields fields(message.headerBlock());
    int found = 0;
    for (qsizetype at = 0; at < fields.count() && found < 2; ++at)
        found += fields.at(at).name.compare("from", Qt::CaseInsensitive) == 0 ? 1 : 0;
    const QList<Address> senders = message.addresses("From");
    if (found != 1 || senders.size() != 1)
        return {};
    const QString address = senders.first().address.trimmed().toLower();
    const qsizetype at = address.indexOf(u'@');
    const bool usable = at > 0 && at < address.size() - 1 && address.lastIndexOf(u'@') == at &&
                        std::none_of(address.begin(), address.end(), [](QChar c) {
                            return c.isSpace() || c.category() == QChar::Other_Control;
                        });
    return usable ? address : QString();
}

bool failedSenderCheck(const Message &message)
{
    const HeaderFields fields(message.headerBlock());
    for (qsizetype at = 0; at < fields.count(); ++at) {
        const HeaderFields::Field field = fields.at(at);
        if (field.name.compare("authentication-results", Qt::CaseInsensitive) == 0 &&
            field.value.toByteArray().toLower().replace(' ', "").contains("dmarc=fail"))
            return true;
    }
    return false;
}
