#pragma once

#include "config/listfile.h"

#include <QObject>
#include <QSet>
#include <QStringList>

/// The senders whose remote pictures are always shown, in the file "ImageSenders": one address a line, in
/// lower case and in alphabetical order.
class ImageSenders : public QObject
{
    Q_OBJECT

public:
    explicit ImageSenders(QObject *parent = nullptr);

    void load();

    /// Writes the list if it changed. False after "Unable to write image senders file".
    bool save();

    /// @p address is the bare address of a From field in any case; of "Ada <ada@example.org>" it is what
    /// bareAddress() gives (message/address.h).
    bool contains(const QString &address) const;

    /// False, and nothing is changed, for what is no address or is there already.
    bool add(const QString &address);

    /// False: it was not there.
    bool remove(const QString &address);

    QStringList list() const; ///< in alphabetical order

signals:
    void changed();

private:
    ListFile m_file;
    QSet<QString> m_addresses;
    bool m_changed = false;
};
