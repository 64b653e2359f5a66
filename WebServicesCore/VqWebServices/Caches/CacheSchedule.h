#pragma once

#include "Caches/CacheLog.h"
#include "Caches/CacheTiming.h"

#include <QMutex>
#include <QObject>
#include <QTimer>
#include <functional>

namespace Velquor::WebServices::Internal {

/// When a cache looks at its value again: its timer, its intervals, and the failures in a row that decide about the next try.
///
/// Thread: lives with its cache; setUpdateInterval() and stopTimer() come from any thread. Owner: its cache, as a member with the
/// cache as parent. Errors: none; it logs what it decides.
class CacheSchedule final : public QObject {
    Q_OBJECT

public:
    CacheSchedule(const CacheLog& log, std::function<void()> timerFired, QObject* parent);

    /// 0: a value is never renewed. Restarts the timer when the cache is enabled.
    void setUpdateInterval(unsigned int seconds, bool isEnabled);
    void stopTimer();

    /// When the value was received; invalid without a value.
    void setUpdateDate(const QDateTime& date) { m_updateDate = date; }

    [[nodiscard]] bool isExpired(bool canUpdate, bool isAvailable, const QDateTime& now) const;
    /// The same, with a log line; starts the timer for the expiry of a value that is still good.
    [[nodiscard]] bool isUpdateDue(bool canUpdate, bool isAvailable, const QDateTime& now);

    void lookAgainAfter(qint64 intervalMs) { startTimer(Shot::Single, intervalMs); }
    /// Looks again and again, at the check interval.
    void lookAgainRegularly();
    /// Counts a failure and looks again, soon after the first ones.
    void retryAfterFailure();
    void forgetFailures() { m_failures = 0; }

private:
    enum class Shot { Single, Repeated };
    void startTimer(Shot shot, qint64 intervalMs);
    [[nodiscard]] CacheTiming::Facts facts(bool canUpdate, bool isAvailable) const;
    [[nodiscard]] qint64 checkSeconds() const;

    const CacheLog& m_log;
    QTimer m_timer;
    mutable QMutex m_mutex; ///< For the intervals.
    qint64 m_checkSeconds = CacheTiming::longestCheckSeconds;
    qint64 m_updateSeconds = CacheTiming::defaultUpdateSeconds;
    QDateTime m_updateDate;
    int m_failures = 0; ///< Failed updates in a row.
};

} // namespace Velquor::WebServices::Internal
