#pragma once

#include "VqUtil/General/SteadyTimer.h"

#include <QMutex>
#include <QMutexLocker>
#include <atomic>
#include <utility>

namespace Velquor::WebServices::Internal {

/// Remembers a failed step and when it may be retried. A failure may take seconds, so not every call retries: the pause between
/// two tries grows from one second to `longestPauseMs` milliseconds. Thread: any.
class RetryBackoff {
public:
    RetryBackoff(int longestPauseMs, Util::SteadyClock clock)
        : m_longestPauseMs(longestPauseMs)
        , m_sinceFailure(std::move(clock)) {}

    /// The step has failed.
    void fail() {
        const QMutexLocker lock(&m_mutex);
        const int pauseMs = m_pauseMs == 0 ? firstPauseMs : qMin(m_pauseMs * 2, m_longestPauseMs);
        m_sinceFailure.restart();
        m_pauseMs = pauseMs;
    }

    /// The step succeeded, or is no longer needed.
    void succeed() {
        const QMutexLocker lock(&m_mutex);
        m_pauseMs = 0;
    }

    /// A retry is pending. Called before every operation, so it takes no mutex.
    [[nodiscard]] bool isPending() const { return m_pauseMs > 0; }

    /// A retry is pending, but its pause has not passed.
    [[nodiscard]] bool isWaiting() const {
        const QMutexLocker lock(&m_mutex);
        return m_pauseMs > 0 && m_sinceFailure.elapsedMs() < m_pauseMs;
    }

    [[nodiscard]] bool isDue() const { return isPending() && !isWaiting(); }

private:
    static constexpr int firstPauseMs = 1000;

    const int m_longestPauseMs;
    mutable QMutex m_mutex;
    Util::SteadyTimer m_sinceFailure;
    std::atomic<int> m_pauseMs{0}; ///< 0: no retry is pending. Changed under the mutex.
};

} // namespace Velquor::WebServices::Internal
