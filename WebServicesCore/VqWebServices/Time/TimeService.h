#pragma once

#include "Time/TimeCorrection.h"
#include "Time/TimeQuery.h"
#include "Time/TimeServerUrls.h"
#include "Time/TimeServiceDependencies.h"
#include "Time/UpdateSchedule.h"

#include <QObject>
#include <QTimer>
#include <atomic>
#include <chrono>
#include <memory>

namespace Velquor::OAuth {

/// The worker of the time service: queries the time servers when it is due and passes the result to the signers.
///
/// Thread: lives on a thread of its own; the triggers and isRunning() from any, everything else there. Owner: TimeServiceImp,
/// which deletes it at the end of that thread. Errors: one log line each; a failed query is repeated automatically.
class TimeService final : public QObject {
    Q_OBJECT

public:
    TimeService(TimeServerUrls urls, std::shared_ptr<TimeCorrection> correction, TimeServiceDependencies parts);
    ~TimeService() override;
    Q_DISABLE_COPY_MOVE(TimeService)

    [[nodiscard]] bool isRunning() const { return m_running; }

    /// Sets the servers; no effect while the service runs.
    void useUrls(const TimeServerUrls& urls);

Q_SIGNALS:
    void StartServiceTrigger();
    void StopServiceTrigger();
    void StartTimerTrigger(std::chrono::milliseconds interval);
    void StopTimerTrigger();
    void UpdateTimeTrigger(bool updateNow);

public Q_SLOTS:
    void StartServiceSlot();
    void StopServiceSlot();
    void StartTimerSlot(std::chrono::milliseconds interval);
    void StopTimerSlot();
    void UpdateTimeSlot(bool updateNow);
    void TimerTimeout();

private:
    void restartTimer();
    void updateWhenDue();
    void handleChange(const UpdateDecision& decision, const ClockReading& now);
    void query();
    void queryFinished(const TimeAnswer& answer);
    [[nodiscard]] bool followRedirect(const QUrl& url, const TimeAnswer& answer);
    void succeed(const QUrl& url, qint64 seconds);
    void fail();

    const TimeServiceDependencies m_parts;
    const std::shared_ptr<TimeCorrection> m_correction;
    const std::shared_ptr<Log::ILogger> m_logger;
    TimeServerUrls m_urls;
    UpdateSchedule m_schedule;
    std::unique_ptr<TimeQuery> m_query; ///< set during a query
    QTimer m_timer;
    std::atomic<bool> m_running{false};
};

} // namespace Velquor::OAuth

Q_DECLARE_METATYPE(std::chrono::milliseconds)
