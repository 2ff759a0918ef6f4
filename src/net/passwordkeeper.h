#pragma once

#include <QString>

#include <functional>

/// A place for passwords outside the configuration directory: the desktop's keyring, or what a test has
/// instead. Answers come by callback from the event loop, once; @p ok is false when there is no keyring, when
/// it is locked and stays so, or when it fails.
class PasswordKeeper
{
public:
    virtual ~PasswordKeeper() = default;

    /// Whether there is a keyring at all; asked before one is offered to the user.
    virtual void isAvailable(std::function<void(bool)> answer) = 0;

    virtual void read(const QString &key, std::function<void(bool ok, const QString &password)> answer) = 0;
    virtual void write(const QString &key, const QString &password, std::function<void(bool ok)> answer) = 0;
    virtual void remove(const QString &key, std::function<void(bool ok)> answer) = 0;
};
