#pragma once

#include "VqLog/ILogger.h"

#include <QRecursiveMutex>
#include <QString>
#include <memory>

namespace Velquor::WebServices::Internal {

/// Takes the product login session lock for one named operation and warns when the wait for it was unexpectedly long (more than
/// 5,000 ms).
///
/// Thread: that of the operation. Owner: the operation's stack.
class ProductSessionLock {
public:
    ProductSessionLock(QRecursiveMutex& mutex, const QString& caller, std::shared_ptr<Log::ILogger> logger);
    ~ProductSessionLock();
    ProductSessionLock(const ProductSessionLock&) = delete;
    ProductSessionLock& operator=(const ProductSessionLock&) = delete;

private:
    QRecursiveMutex& m_mutex;
    const QString m_caller;
    const std::shared_ptr<Log::ILogger> m_logger;
};

} // namespace Velquor::WebServices::Internal
