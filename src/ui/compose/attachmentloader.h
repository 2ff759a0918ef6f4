#pragma once

#include "compose/composition.h"

#include <QFile>
#include <QObject>
#include <QStringList>
#include <QTimer>

#include <memory>
#include <optional>

/// One file on its way into a message.
class AttachmentReading
{
public:
    explicit AttachmentReading(const QString &path);

    enum class State { Reading, Read, Failed };

    /// Takes one slice. Failed comes after the report "Unable to attach file '%1'".
    State readOn();

    /// With as many of its bytes as are read.
    const Attachment &attachment() const { return m_attachment; }
    qint64 size() const { return m_size; } ///< in bytes, when it was opened

private:
    QFile m_file;
    Attachment m_attachment;
    qint64 m_size = 0;
    bool m_isReadable = false;
};

/// Reads the files that are to be attached, one after the other, a large one in slices between events. What
/// is small is there when add() returns.
class AttachmentLoader : public QObject
{
    Q_OBJECT

public:
    explicit AttachmentLoader(QObject *parent = nullptr);

    void add(const QStringList &paths);
    bool isBusy() const { return m_reading != nullptr || !m_waiting.isEmpty(); }
    void stop();      ///< what is not attached yet is left out
    void finishNow(); ///< reads the rest at once

signals:
    void loaded(const Attachment &attachment);
    void progressed(const QString &name, qint64 done, qint64 whole); ///< bytes of that file
    void finished();                                                 ///< nothing waits any more

private:
    void slice();
    void readFor(qint64 milliseconds);

    QStringList m_waiting;
    std::unique_ptr<AttachmentReading> m_reading;
    QTimer m_timer;
};

/// The file at @p path at once. Empty, after the report "Unable to attach file '%1'", when it cannot be read.
std::optional<Attachment> readAttachment(const QString &path);
