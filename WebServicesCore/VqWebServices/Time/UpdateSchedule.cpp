#include "Time/UpdateSchedule.h"

namespace Velquor::OAuth {

namespace {

constexpr qint64 quickRetry = 5000;
constexpr qint64 slowRetry = 900000;
constexpr int quickRounds = 3;
constexpr qint64 quickCheck = 5200;
constexpr qint64 usualCheck = 10000;

} // namespace

QString ClockComparison::text() const {
    return QStringLiteral(
               "Last ticks: %1, Current ticks: %2, Last time: %3, Current time: %4, Elapsed ticks: %5, Elapsed time: %6, Diff elapsed: %7")
        .arg(QString::number(last.ticks), QString::number(current.ticks), QString::number(last.time),
             QString::number(current.time), QString::number(elapsedTicks()), QString::number(elapsedTime()),
             QString::number(difference()));
}

qint64 retryWait(int failures, int urls) {
    return failures < quickRounds * urls ? quickRetry : slowRetry;
}

qint64 checkInterval(bool retriesQuickly) {
    return retriesQuickly ? quickCheck : usualCheck;
}

UpdateSchedule::UpdateSchedule(const TimeServiceOptions& options)
    : m_options(options) {}

void UpdateSchedule::restart() {
    *this = UpdateSchedule(m_options);
}

void UpdateSchedule::demandUpdate() {
    m_demanded = true;
    m_failures = 0;
    m_retryAt.reset();
}

UpdateDecision UpdateSchedule::decide(const ClockReading& now) const {
    UpdateDecision decision;
    if (m_retryAt && now.ticks < *m_retryAt)
        return decision;
    if (!m_lastUpdate || m_demanded) {
        decision.reason = m_lastUpdate ? UpdateReason::Forced : UpdateReason::First;
        return decision;
    }
    const ClockComparison comparison{m_compared, now};
    const qint64 difference = qAbs(comparison.difference());
    if (difference > m_options.changeThreshold) {
        decision.change = comparison;
        decision.ignoresChange = difference > m_options.offsetLimit;
    }
    if (decision.change && !decision.ignoresChange)
        decision.reason = UpdateReason::ClockChanged;
    // By the ticks, so that an ignored change of the clock does not look like the end of the period.
    else if (now.ticks - m_lastUpdate->ticks >= m_options.updatePeriod)
        decision.reason = UpdateReason::PeriodPassed;
    return decision;
}

void UpdateSchedule::succeeded(const ClockReading& now) {
    restart();
    m_lastUpdate = now;
    m_compared = now;
}

qint64 UpdateSchedule::failed(const ClockReading& now, int urls) {
    ++m_failures;
    m_wait = retryWait(m_failures, urls);
    m_retryAt = now.ticks + m_wait;
    return m_wait;
}

bool UpdateSchedule::retriesQuickly() const {
    return m_failures > 0 && m_wait == quickRetry;
}

} // namespace Velquor::OAuth
