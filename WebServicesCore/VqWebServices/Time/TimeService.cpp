#include "Time/TimeService.h"

#include "VqUtil/General/HumanText.h"

#include <utility>

namespace Velquor::OAuth {

namespace {

QString reasonText(UpdateReason reason, qint64 period) {
    switch (reason) {
    case UpdateReason::First: return QStringLiteral("First update in this session");
    case UpdateReason::Forced: return QStringLiteral("Forcing update before it is due");
    case UpdateReason::ClockChanged: return QStringLiteral("System time has changed");
    case UpdateReason::PeriodPassed: return QStringLiteral("%1 has passed since last update").arg(Util::timeSpanText(period));
    case UpdateReason::None: break;
    }
    return {};
}

} // namespace

TimeService::TimeService(TimeServerUrls urls, std::shared_ptr<TimeCorrection> correction, TimeServiceDependencies parts)
    : m_parts(std::move(parts))
    , m_correction(std::move(correction))
    , m_logger(m_parts.logger)
    , m_urls(std::move(urls))
    , m_schedule(m_parts.options)
    , m_timer(this) {
    qRegisterMetaType<std::chrono::milliseconds>();
    // Not a coarse one: it could fire just before the wait between two queries is over.
    m_timer.setTimerType(Qt::PreciseTimer);
    connect(&m_timer, &QTimer::timeout, this, &TimeService::TimerTimeout);
    connect(this, &TimeService::StartServiceTrigger, this, &TimeService::StartServiceSlot, Qt::QueuedConnection);
    connect(this, &TimeService::StopServiceTrigger, this, &TimeService::StopServiceSlot, Qt::QueuedConnection);
    connect(this, &TimeService::StartTimerTrigger, this, &TimeService::StartTimerSlot, Qt::QueuedConnection);
    connect(this, &TimeService::StopTimerTrigger, this, &TimeService::StopTimerSlot, Qt::QueuedConnection);
    connect(this, &TimeService::UpdateTimeTrigger, this, &TimeService::UpdateTimeSlot, Qt::QueuedConnection);
}

TimeService::~TimeService() = default;

void TimeService::useUrls(const TimeServerUrls& urls) {
    if (!m_running)
        m_urls = urls;
}

void TimeService::StartServiceSlot() {
    if (m_running) {
        m_logger->warning(QStringLiteral("DoStartService called. But time service is already running."));
        return;
    }
    m_logger->information(QStringLiteral("Starting time service"));
    m_running = true;
    m_schedule.restart();
    updateWhenDue();
}

void TimeService::StopServiceSlot() {
    if (!m_running)
        return;
    m_logger->information(QStringLiteral("Stopping time service"));
    m_query.reset();
    StopTimerSlot();
    m_running = false;
    m_logger->information(QStringLiteral("Stopped time service"));
}

void TimeService::StartTimerSlot(std::chrono::milliseconds interval) {
    if (!m_running)
        return;
    // The framework's timer silently takes another interval for one that is too long for it.
    interval = qBound(std::chrono::milliseconds(1), interval, std::chrono::milliseconds(std::chrono::hours(24)));
    const QString what = m_timer.isActive() ? QStringLiteral("restarted") : QStringLiteral("started");
    m_timer.start(interval);
    m_logger->debug(QStringLiteral("Check timer %1 with interval %2").arg(what, QStringLiteral("%1 ms").arg(interval.count())));
}

void TimeService::StopTimerSlot() {
    if (!m_timer.isActive())
        return;
    m_timer.stop();
    m_logger->debug(QStringLiteral("Check timer stopped"));
}

void TimeService::UpdateTimeSlot(bool updateNow) {
    // The answer to a query that is under way is as fresh as that of another.
    if (!m_running || m_query)
        return;
    if (updateNow)
        m_schedule.demandUpdate();
    updateWhenDue();
}

void TimeService::TimerTimeout() {
    m_logger->trace(QStringLiteral("Timer event received"));
    UpdateTimeSlot(false);
}

void TimeService::restartTimer() {
    StartTimerSlot(std::chrono::milliseconds(checkInterval(m_schedule.retriesQuickly())));
}

void TimeService::updateWhenDue() {
    const ClockReading now = m_parts.source->read();
    const UpdateDecision decision = m_schedule.decide(now);
    if (decision.change)
        handleChange(decision, now);
    if (decision.reason == UpdateReason::None)
        return;
    m_logger->information(
        QStringLiteral("Starting time update. Reason: %1.").arg(reasonText(decision.reason, m_parts.options.updatePeriod)));
    query();
}

void TimeService::handleChange(const UpdateDecision& decision, const ClockReading& now) {
    const QString comparison = decision.change->text();
    m_logger->debug(comparison);
    if (!decision.ignoresChange) {
        m_logger->information(
            QStringLiteral("System time has changed. Starting time update to verify system time. %1.").arg(comparison));
        return;
    }
    m_logger->warning(QStringLiteral("System time has changed, but ignoring the change since the offset is more than %1. %2.")
                          .arg(Util::timeSpanText(m_parts.options.offsetLimit), comparison));
    // Ignored once and not told again with every event of the timer.
    m_schedule.forgetChange(now);
}

} // namespace Velquor::OAuth
