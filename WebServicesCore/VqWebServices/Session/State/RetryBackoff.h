#pragma once

#include <QDeadlineTimer>
#include <QMutex>
#include <QMutexLocker>
#include <atomic>

namespace Velquor::WebServices::Internal {

/// That a step has failed which a later call is to try again. Not every call, since a failure may take seconds: the pause between
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

    /// The step was taken, or is of no use any more.
    void succeed() {
        const QMutexLocker lock(&m_mutex);
        m_pauseMs = 0;
    }

    /// Asked before every operation, so without the mutex.
    [[nodiscard]] bool isPending() const { return m_pauseMs > 0; }

    /// Wanted, but it is too early.
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
    std::atomic<int> m_pauseMs{0}; ///< 0: nothing is wanted. Changed under the mutex.
};

} // namespace Velquor::WebServices::Internal
