#include "Time/TimeService.h"

#include "Network/Diagnosis/DisplayUrl.h"
#include "Time/ServerTime.h"
#include "VqUtil/General/HumanText.h"

#include <QDateTime>
#include <utility>

namespace Velquor::OAuth {

namespace {

constexpr int shownBody = 256;

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

bool isAnswer(const TimeAnswer& answer) {
    const int status = answer.status;
    return answer.isWhole && (status == 200 || status == 301 || status == 302 || status == 307);
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
    // Precise: a coarse timer could fire just before the wait between two queries is over.
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
    // The answer of a query in progress is as good as that of a new one.
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
    // Logged once, not at each event of the timer.
    m_schedule.forgetChange(now);
}

void TimeService::query() {
    if (m_urls.isEmpty()) {
        m_logger->error(QStringLiteral("Failed to get time from server. Time server urls list is empty."));
        StopServiceSlot();
        return;
    }
    const QUrl url = m_urls.current();
    m_logger->information(QStringLiteral("Getting time from server %1").arg(WebServices::Internal::displayUrl(url)));
    restartTimer();
    m_query = std::make_unique<TimeQuery>(url, m_parts.options.queryTimeout, m_logger, m_parts.networkLogger);
    connect(m_query.get(), &TimeQuery::Finished, this, &TimeService::queryFinished);
    m_query->start();
}

void TimeService::queryFinished(const TimeAnswer& answer) {
    const QUrl url = m_query->url();
    const QString shownUrl = WebServices::Internal::displayUrl(url);
    m_query.release()->deleteLater();
    if (!answer.hasReply) {
        m_logger->error(QStringLiteral("Failed to get time from server %1. Network reply is null.").arg(shownUrl));
        return fail();
    }
    m_logger->debug(QStringLiteral("Time query finished. Server response: Http code: %1, Body: %2, Date header: %3")
                        .arg(QString::number(answer.status), QString::fromUtf8(answer.body.left(shownBody)),
                             QString::fromLatin1(answer.dateHeader.left(shownBody))));
    if (!isAnswer(answer)) {
        m_logger->error(QStringLiteral("Failed to get time from server %1. %2. %3. %4")
                            .arg(shownUrl, answer.message, answer.httpText, answer.networkText));
        return fail();
    }
    if (!followRedirect(url, answer))
        return fail();
    if (const std::optional<qint64> seconds = readServerTime(answer.body, answer.dateHeader, *m_logger))
        return succeed(url, *seconds);
    m_logger->error(QStringLiteral("Failed to parse date body and date header returned by server url %2").arg(shownUrl));
    fail();
}

bool TimeService::followRedirect(const QUrl& url, const TimeAnswer& answer) {
    if (answer.status != 301)
        return true;
    const QUrl target = redirectTarget(url, answer.location);
    if (!target.isValid()) {
        m_logger->error(QStringLiteral("Failed to get time from server %1. %2. %3. %4")
                            .arg(WebServices::Internal::displayUrl(url),
                                 QStringLiteral("The redirected url is not a valid http or https url"), answer.httpText,
                                 answer.networkText));
        return false;
    }
    m_logger->information(QStringLiteral("Replacing time service url %1 to redirected url %2")
                              .arg(WebServices::Internal::displayUrl(url), WebServices::Internal::displayUrl(target)));
    m_urls.replaceCurrent(target);
    return true;
}

void TimeService::succeed(const QUrl& url, qint64 seconds) {
    m_logger->information(
        QStringLiteral("Time queried successfully from server %1: %2")
            .arg(WebServices::Internal::displayUrl(url), QDateTime::fromSecsSinceEpoch(seconds, Qt::UTC).toString(Qt::ISODate)));
    const ClockReading now = m_parts.source->read();
    m_correction->setMeasurement({seconds * 1000, now});
    m_schedule.succeeded(now);
    restartTimer();
}

void TimeService::fail() {
    m_urls.next();
    if (m_urls.isEmpty()) {
        m_logger->error(QStringLiteral("No more server urls to try. Stopping time service"));
        StopServiceSlot();
        return;
    }
    const qint64 wait = m_schedule.failed(m_parts.source->read(), m_urls.size());
    m_logger->information(QStringLiteral("Will retry next server url in %1").arg(Util::timeSpanText(wait)));
    restartTimer();
}

} // namespace Velquor::OAuth
