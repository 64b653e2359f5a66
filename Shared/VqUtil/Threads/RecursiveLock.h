#pragma once

#include "VqUtil/Threads/IRecursiveLock.h"

#include <QRecursiveMutex>

namespace Velquor::Util {

/// A recursive mutex of the system. Thread, owner and errors: as of IRecursiveLock.
class RecursiveLock final : public IRecursiveLock {
public:
    void lock() override { m_mutex.lock(); }
    void unlock() override { m_mutex.unlock(); }
    [[nodiscard]] bool tryLock(std::chrono::milliseconds limit) override { return m_mutex.try_lock_for(limit); }

private:
    QRecursiveMutex m_mutex;
};

} // namespace Velquor::Util
