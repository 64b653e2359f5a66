#pragma once

#include "Session/Core/LockedState.h"
#include "VqLog/CallReport.h"

namespace Velquor::WebServices::Internal {

/// Holds the login session lock for a step that may wait for the network, and keeps a second such step out.
///
/// The lock is recursive, and a step that waits on the main thread lets the host's code run there. Without this guard that code
/// could sign out in the middle of a sign-in and leave half of each behind. Thread: that of the step. Owner: the step's stack.
class NetworkStepGuard {
public:
    NetworkStepGuard(SessionState& state, const char* operation)
        : m_state(state)
        , m_isEntered(!m_state.isNetworkStepActive() && !state.isStopped()) {
        const QString reason = m_state.isNetworkStepActive()
                                   ? QStringLiteral("Another sign-in or sign-out is under way on this thread.")
                                   : QStringLiteral("Module not initialized or already uninitialized.");
        if (m_isEntered) {
            m_state.setNetworkStepActive(true);
            return;
        }
        Log::CallReport::fail(m_state.isNetworkStepActive() ? Log::CallFailure::Busy : Log::CallFailure::NotInitialized);
        state.services().loggers.session->error(QStringLiteral("%1 failed. %2").arg(QLatin1String(operation), reason));
    }
    ~NetworkStepGuard() {
        if (m_isEntered)
            m_state.setNetworkStepActive(false);
    }
    NetworkStepGuard(const NetworkStepGuard&) = delete;
    NetworkStepGuard& operator=(const NetworkStepGuard&) = delete;

    /// False when this thread is inside such a step already; the operation must fail then.
    [[nodiscard]] bool isEntered() const { return m_isEntered; }
    /// The state, for the step to change.
    [[nodiscard]] LockedState& state() { return m_state; }

private:
    LockedState m_state;
    const bool m_isEntered;
};

} // namespace Velquor::WebServices::Internal
