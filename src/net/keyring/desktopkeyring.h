#pragma once

#include "net/passwordkeeper.h"

#include <QObject>

/// The desktop's keyring (Secret Service or KWallet), through QtKeychain. Nothing here waits: every answer
/// comes from the event loop, and none once this object is gone. Where a keyring is locked, the desktop asks
/// its user; asking whether there is one opens nothing.
class DesktopKeyring : public QObject, public PasswordKeeper
{
    Q_OBJECT

public:
    explicit DesktopKeyring(QObject *parent = nullptr);

    void isAvailable(std::function<void(bool)> answer) override;
    void read(const QString &key, std::function<void(bool ok, const QString &password)> answer) override;
    void write(const QString &key, const QString &password, std::function<void(bool ok)> answer) override;
    void remove(const QString &key, std::function<void(bool ok)> answer) override;

private:
    void later(std::function<void()> deed);
};
