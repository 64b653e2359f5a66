#pragma once

#include "Session/Core/SessionState.h"

#include <QMutexLocker>

namespace Velquor::WebServices {

/// Holds the login session lock for a step that may wait for the network, and keeps a second one out.
///
/// The lock is recursive, and a step that waits on the main thread lets the host's code run there: without this, that code could
/// sign out in the middle of a sign-in and leave half of each behind. Thread: that of the step. Owner: the step's stack.
class SessionFlow {
public:
    SessionFlow(SessionCore& core, const char* operation)
        : m_core(core)
        , m_locker(&core.lock)
        , m_entered(!core.isFlowActive && !core.isStopped) {
        const QString reason = core.isFlowActive ? QStringLiteral("Another sign-in or sign-out is under way on this thread.")
                                                 : QStringLiteral("Module not initialized or already uninitialized.");
        if (m_entered)
            core.isFlowActive = true;
        else
            core.services.loggers.session->error(QStringLiteral("%1 failed. %2").arg(QLatin1String(operation), reason));
    }
    ~SessionFlow() {
        if (m_entered)
            m_core.isFlowActive = false;
    }
    SessionFlow(const SessionFlow&) = delete;
    SessionFlow& operator=(const SessionFlow&) = delete;

    /// False when this thread is inside such a step already; the operation must fail then.
    [[nodiscard]] bool isEntered() const { return m_entered; }

private:
    SessionCore& m_core;
    const QMutexLocker m_locker;
    const bool m_entered;
};

} // namespace Velquor::WebServices
