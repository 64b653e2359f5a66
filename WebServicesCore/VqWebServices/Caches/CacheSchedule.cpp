#include "Caches/CacheSchedule.h"

#include "VqUtil/General/HumanText.h"

#include <QMutexLocker>
#include <QThread>
#include <utility>

namespace Velquor::WebServices::Internal {

namespace {
constexpr qint64 msPerSecond = 1000;
} // namespace

CacheSchedule::CacheSchedule(const CacheLog& log, std::function<void()> timerFired, QObject* parent)
    : QObject(parent)
    , m_log(log)
    , m_timer(this) {
    connect(&m_timer, &QTimer::timeout, this, std::move(timerFired));
}

void CacheSchedule::setUpdateInterval(unsigned int seconds, bool isEnabled) {
    qint64 checkMs = 0;
    {
        const QMutexLocker lock(&m_mutex);
        m_updateSeconds = seconds;
        m_checkSeconds = CacheTiming::checkSeconds(seconds);
        checkMs = m_checkSeconds * msPerSecond;
    }
    m_log.information(QStringLiteral("Update interval changed to %1").arg(seconds));
    if (isEnabled)
        startTimer(Shot::Repeated, checkMs);
}

void CacheSchedule::startTimer(Shot shot, qint64 intervalMs) {
    // A QTimer can be started and stopped on its own thread only.
    if (QThread::currentThread() != thread()) {
        m_log.information(QStringLiteral("Posting async request to start timer in object's thread"));
        QMetaObject::invokeMethod(
            this, [this, shot, intervalMs] { startTimer(shot, intervalMs); }, Qt::QueuedConnection);
        return;
    }
    m_log.information(
        QStringLiteral("Starting %1timer with interval %2")
            .arg(shot == Shot::Single ? QStringLiteral("single shot ") : QString(), Util::timeSpanText(intervalMs)));
    m_timer.setSingleShot(shot == Shot::Single);
    m_timer.start(static_cast<int>(intervalMs));
}

void CacheSchedule::stopTimer() {
    if (QThread::currentThread() != thread()) {
        m_log.information(QStringLiteral("Posting async request to stop timer in object's thread"));
        QMetaObject::invokeMethod(
            this, [this] { stopTimer(); }, Qt::QueuedConnection);
        return;
    }
    m_timer.stop();
}

void CacheSchedule::lookAgainRegularly() {
    startTimer(Shot::Repeated, checkSeconds() * msPerSecond);
}

void CacheSchedule::retryAfterFailure() {
    const qint64 delayMs = CacheTiming::retryDelayMs(m_failures++, checkSeconds());
    m_log.information(QStringLiteral("Will retry update in %1").arg(Util::timeSpanText(delayMs)));
    startTimer(Shot::Single, delayMs);
}

qint64 CacheSchedule::checkSeconds() const {
    const QMutexLocker lock(&m_mutex);
    return m_checkSeconds;
}

CacheTiming::Facts CacheSchedule::facts(bool canUpdate, bool isAvailable) const {
    const QMutexLocker lock(&m_mutex);
    return {canUpdate, isAvailable, m_updateDate, m_updateSeconds, m_checkSeconds};
}

bool CacheSchedule::isExpired(bool canUpdate, bool isAvailable, const QDateTime& now) const {
    return CacheTiming::decide(facts(canUpdate, isAvailable), now).isDue();
}

bool CacheSchedule::isUpdateDue(bool canUpdate, bool isAvailable, const QDateTime& now) {
    using CacheTiming::Answer;
    const CacheTiming::Facts facts = this->facts(canUpdate, isAvailable);
    const CacheTiming::Decision decision = CacheTiming::decide(facts, now);
    switch (decision.answer) {
    case Answer::CannotUpdate: m_log.information(QStringLiteral("Can't update cache now")); break;
    case Answer::NeverExpires: m_log.information(QStringLiteral("Update not required now. Update interval is negative.")); break;
    case Answer::NotExpired:
        m_log.information(QStringLiteral("Update not required now. Cache has not expired. It will expire in %1.")
                              .arg(Util::timeSpanText(decision.msToExpiry)));
        startTimer(Shot::Single, decision.nextCheckMs);
        break;
    case Answer::Expired:
        m_log.information(QStringLiteral("Time to update cache. Cache has expired. Cache date: %1 Update interval: %2")
                              .arg(facts.updateDate.toString(Qt::ISODate))
                              .arg(facts.updateSeconds));
        break;
    case Answer::BadDate: m_log.information(QStringLiteral("Time to update cache. Cache timestamp is invalid.")); break;
    case Answer::NoValue: m_log.information(QStringLiteral("Time to update cache. Cache is not available.")); break;
    }
    return decision.isDue();
}

} // namespace Velquor::WebServices::Internal
