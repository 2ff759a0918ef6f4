#pragma once

#include "net/passwordkeeper.h"

/// The desktop's keyring (Secret Service or KWallet), through QtKeychain.
class DesktopKeyring : public PasswordKeeper
{
public:
    void isAvailable(std::function<void(bool)> answer) override;
    void read(const QString &key, std::function<void(bool ok, const QString &password)> answer) override;
    void write(const QString &key, const QString &password, std::function<void(bool ok)> answer) override;
    void remove(const QString &key, std::function<void(bool ok)> answer) override;
};
