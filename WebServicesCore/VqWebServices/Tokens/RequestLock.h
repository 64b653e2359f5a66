#pragma once

#include "VqLog/ILogger.h"
#include "VqUtil/Locks/ProcessGuard.h"

#include <memory>

namespace Velquor::WebServices::Internal {

/// Lets one token request of a kind run at a time among all processes of the user, and is freed by the system with its process.
///
/// A system that gives no locks at all (a folder that cannot be written) keeps nobody from asking: two requests at once are
/// slower and lose nothing, but a product without tokens is of no use. Thread: one. Owner: who asks. Errors: one log line, the
/// first time.
class RequestLock {
public:
    RequestLock(const QString& name, const QString& folder, std::shared_ptr<Log::ILogger> logger);

    /// Tries once and never waits; false when anybody holds it, this object included.
    [[nodiscard]] bool acquire();
    void release();
    /// Whether anybody, here or in another process, holds it.
    [[nodiscard]] bool isTaken();

private:
    void reportRefusal();

    const QString m_name;
    const std::shared_ptr<Log::ILogger> m_logger;
    Util::ProcessGuard m_guard;
    bool m_isHeld = false;
    bool m_isRefusalReported = false;
};

} // namespace Velquor::WebServices::Internal
