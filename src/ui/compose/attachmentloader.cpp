#include "ui/compose/attachmentloader.h"

#include "config/reporter.h"
#include "message/contenttypes.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFileInfo>

#include <limits>

namespace {

constexpr qint64 kSlice = 1024 * 1024;       ///< bytes
constexpr qint64 kMostBytes = 1024 * kSlice; ///< of one file: no server takes what is larger
constexpr int kSliceTime = 6;                ///< milliseconds, after which events have their turn

} // namespace

/// Only what is a file has an end: a device or a pipe would be read for ever.
AttachmentReading::AttachmentReading(const QString &path)
    : m_file(path)
    , m_isReadable(QFileInfo(path).isFile() && m_file.open(QIODevice::ReadOnly) &&
                   m_file.size() <= kMostBytes)
{
    if (!m_isReadable)
        return;
    m_size = m_file.size();
    m_attachment.name = QFileInfo(path).fileName();
    m_attachment.contentType = contentTypeOf(m_attachment.name);
    m_attachment.data.reserve(m_size);
}

AttachmentReading::State AttachmentReading::readOn()
{
    const QByteArray bytes = m_isReadable ? m_file.read(kSlice) : QByteArray();
    m_attachment.data += bytes;
    const bool hasFailed = m_file.error() != QFileDevice::NoError || m_attachment.data.size() > kMostBytes;
    if (m_isReadable && !hasFailed)
        return bytes.isEmpty() ? State::Read : State::Reading;
    report(ReportLevel::Warning, "%s",
           qPrintable(QCoreApplication::translate("ComposeAttachments", "Unable to attach file '%1'")
                          .arg(m_file.fileName())));
    return State::Failed;
}

AttachmentLoader::AttachmentLoader(QObject *parent)
    : QObject(parent)
{
    m_timer.setInterval(0);
    connect(&m_timer, &QTimer::timeout, this, &AttachmentLoader::slice);
}

void AttachmentLoader::add(const QStringList &paths)
{
    const bool wasBusy = isBusy();
    m_waiting += paths;
    if (!wasBusy)
        slice();
}

void AttachmentLoader::stop()
{
    m_timer.stop();
    m_waiting.clear();
    m_reading.reset();
    emit finished();
}

void AttachmentLoader::finishNow()
{
    if (isBusy())
        readFor(std::numeric_limits<qint64>::max());
}

void AttachmentLoader::slice()
{
    readFor(kSliceTime);
}

void AttachmentLoader::readFor(qint64 milliseconds)
{
    QElapsedTimer clock;
    clock.start();
    while (isBusy() && clock.elapsed() < milliseconds) {
        if (!m_reading)
            m_reading = std::make_unique<AttachmentReading>(m_waiting.takeFirst());
        const AttachmentReading::State state = m_reading->readOn();
        if (state == AttachmentReading::State::Reading)
            continue;
        const std::unique_ptr<AttachmentReading> over = std::move(m_reading);
        if (state == AttachmentReading::State::Read)
            emit loaded(over->attachment());
    }
    if (m_reading)
        emit progressed(m_reading->attachment().name, m_reading->attachment().data.size(), m_reading->size());
    if (isBusy())
        return m_timer.start();
    m_timer.stop();
    emit finished();
}

std::optional<Attachment> readAttachment(const QString &path)
{
    AttachmentReading reading(path);
    AttachmentReading::State state = AttachmentReading::State::Reading;
    while (state == AttachmentReading::State::Reading)
        state = reading.readOn();
    if (state == AttachmentReading::State::Failed)
        return {};
    return reading.attachment();
}
