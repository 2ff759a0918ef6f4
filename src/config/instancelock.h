#pragma once

#include <QString>

/// The right to write the configuration directory, held by one process at a time: a lock on the file "Lock"
/// in it, which the system lets go when the process ends in whatever way.
class InstanceLock
{
public:
    InstanceLock() = default;
    ~InstanceLock();
    InstanceLock(const InstanceLock &) = delete;
    InstanceLock &operator=(const InstanceLock &) = delete;

    enum class Outcome {
        Held,
        Busy,   ///< another process has it
        Failed, ///< the file cannot be made or opened
    };

    /// Tries once, without waiting. @p directory must exist.
    Outcome tryLock(const QString &directory);

    bool isHeld() const { return m_handle >= 0; }
    void unlock();

private:
    int m_handle = -1;
};
