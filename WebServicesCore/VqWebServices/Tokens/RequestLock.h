#pragma once

#include "VqLog/ILogger.h"
#include "VqUtil/Locks/IProcessGuard.h"

#include <memory>

namespace Velquor::WebServices::Internal {

/// The lock for one kind of token request among all processes of the user. The system frees it when its process ends.
///
/// Where the system gives no locks at all (the folder cannot be written), requests go on without one: two requests at once are
/// only slower, but a product without tokens does not work. Thread: one. Owner: the worker that sends the request. Errors: one
/// log line, the first time.
class RequestLock {
public:
    /// `name` is for the log.
    RequestLock(const QString& name, std::unique_ptr<Util::IProcessGuard> guard, std::shared_ptr<Log::ILogger> logger);

    /// Tries once and never waits. False when any process holds it, this object included.
    [[nodiscard]] bool acquire();
    void release();
    /// Whether this or another process holds it.
    [[nodiscard]] bool isTaken();

private:
    void reportRefusal();

    const QString m_name;
    const std::shared_ptr<Log::ILogger> m_logger;
    const std::unique_ptr<Util::IProcessGuard> m_guard;
    bool m_isHeld = false;
    bool m_isRefusalReported = false;
};

} // namespace Velquor::WebServices::Internal
