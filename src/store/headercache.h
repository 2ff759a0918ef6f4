#pragma once

#include "store/filehandle.h"

#include <QString>

#include <optional>

/// The texts of a message that a list shows, decoded.
struct HeaderTexts
{
    QString from;
    QString to;
    QString subject;
    QString messageId; ///< with its angle brackets
};

/// The header cache that goes with one bin: the texts of its messages back to back, each behind a
/// CRC-32 and the CRC-32 of the message it belongs to, so that a stale place never shows another's texts.
/// What is lost or damaged here is made again from the messages; nothing is ever forced to the disk.
class HeaderCache
{
public:
    HeaderCache(const QString &directory, int number);

    struct Place
    {
        quint32 position = 0;
        quint32 length = 0; ///< 0: nothing was stored
    };

    /// Appends @p texts, long ones shortened to 32 KB, of the message whose text has the CRC-32 @p textCrc.
    /// An empty place when that failed.
    Place append(const HeaderTexts &texts, quint32 textCrc);

    /// The texts at @p place; empty when they are damaged, another message's or not there.
    std::optional<HeaderTexts> read(Place place, quint32 textCrc);

    /// Forgets the open file, before another one takes the place of this one.
    void close();

private:
    QString m_path;
    FileHandle m_file;
    bool m_writable = false;
    qint64 m_end = -1;
};
