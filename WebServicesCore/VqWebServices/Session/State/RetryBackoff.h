#pragma once

#include <QDeadlineTimer>
#include <QMutex>
#include <QMutexLocker>
#include <atomic>

namespace Velquor::WebServices::Internal {

/// Remembers a failed step and when it may be retried. A failure may take seconds, so not every call retries: the pause between
/// two tries grows from one second to `longestPauseMs` milliseconds. Thread: any.
class RetryBackoff {
public:
    explicit RetryBackoff(int longestPauseMs)
        : m_longestPauseMs(longestPauseMs) {}

    /// The step has failed.
    void fail() {
        const QMutexLocker lock(&m_mutex);
        const int pauseMs = m_pauseMs == 0 ? firstPauseMs : qMin(m_pauseMs * 2, m_longestPauseMs);
        m_rest.setRemainingTime(pauseMs);
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
        return m_pauseMs > 0 && !m_rest.hasExpired();
    }

    [[nodiscard]] bool isDue() const { return isPending() && !isWaiting(); }

private:
    static constexpr int firstPauseMs = 1000;

    const int m_longestPauseMs;
    mutable QMutex m_mutex;
    QDeadlineTimer m_rest;
    std::atomic<int> m_pauseMs{0}; ///< 0: no retry is pending. Changed under the mutex.
};

} // namespace Velquor::WebServices::Internal
