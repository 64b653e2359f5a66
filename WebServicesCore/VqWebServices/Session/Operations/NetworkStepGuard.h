#pragma once

#include "Session/Core/SessionState.h"

#include <QMutexLocker>

namespace Velquor::WebServices::Internal {

/// Holds the login session lock for a step that may wait for the network, and keeps a second such step out.
///
/// The lock is recursive, and a step that waits on the main thread lets the host's code run there. Without this guard that code
/// could sign out in the middle of a sign-in and leave half of each behind. Thread: that of the step. Owner: the step's stack.
class NetworkStepGuard {
public:
    NetworkStepGuard(SessionState& state, const char* operation)
        : m_state(state)
        , m_locker(&state.lock)
        , m_entered(!state.isNetworkStepActive && !state.isStopped) {
        const QString reason = state.isNetworkStepActive
                                   ? QStringLiteral("Another sign-in or sign-out is under way on this thread.")
                                   : QStringLiteral("Module not initialized or already uninitialized.");
        if (m_entered)
            state.isNetworkStepActive = true;
        else
            state.services.loggers.session->error(QStringLiteral("%1 failed. %2").arg(QLatin1String(operation), reason));
    }
    ~NetworkStepGuard() {
        if (m_entered)
            m_state.isNetworkStepActive = false;
    }
    NetworkStepGuard(const NetworkStepGuard&) = delete;
    NetworkStepGuard& operator=(const NetworkStepGuard&) = delete;

    /// False when this thread is inside such a step already; the operation must fail then.
    [[nodiscard]] bool isEntered() const { return m_entered; }

private:
    SessionState& m_state;
    const QMutexLocker m_locker;
    const bool m_entered;
};

} // namespace Velquor::WebServices::Internal
