#pragma once

#include "VqLog/ILogger.h"
#include "VqUtil/Threads/IRecursiveLock.h"

#include <QString>
#include <memory>

namespace Velquor::WebServices::Internal {

/// Takes the login session lock or a product login session lock for one named operation, and warns when the wait for it was
/// unexpectedly long (5,000 ms or more).
///
/// Thread: that of the operation. Owner: the operation's stack.
class TimedLock {
public:
    enum class Kind { LoginSession, ProductLoginSession };

    /// `caller` names the operation in the log.
    TimedLock(Kind kind, Util::IRecursiveLock& lock, const QString& caller, std::shared_ptr<Log::ILogger> logger);
    ~TimedLock();
    TimedLock(const TimedLock&) = delete;
    TimedLock& operator=(const TimedLock&) = delete;

private:
    const Kind m_kind;
    Util::IRecursiveLock& m_lock;
    const QString m_caller;
    const std::shared_ptr<Log::ILogger> m_logger;
};

} // namespace Velquor::WebServices::Internal
