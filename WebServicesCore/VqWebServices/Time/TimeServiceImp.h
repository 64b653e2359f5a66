#pragma once

#include "Network/Urls/UrlStore.h"
#include "Time/ITimeService.h"
#include "Time/TimeServiceDependencies.h"

#include <QMutex>
#include <QThread>
#include <QtGlobal>
#include <memory>

namespace Velquor::OAuth {

class TimeCorrection;
class TimeService;

/// The time service for the runtime: creates the worker and its thread, and ends both.
///
/// Thread: any. Owner: shared by the runtime, the signer's host and the token workers. After stop() there is no corrected time,
/// and the service is disabled. Errors: one log line each.
class TimeServiceImp final : public ITimeService {
public:
    /// The time servers are "TimeServerUrls" of the server in the URL store, which must outlive this object.
    TimeServiceImp(WebServices::Internal::UrlStore& urls, WebServices::Server server, TimeServiceDependencies parts);
    ~TimeServiceImp() override;
    Q_DISABLE_COPY_MOVE(TimeServiceImp)

    /// Selects the time servers; takes effect at the next start.
    void setServer(WebServices::Server server);

    [[nodiscard]] std::optional<qint64> correctedTime() const override;
    void start() override;
    void stop() override;
    void handleIncorrectSystemTime() override;

private:
    void startWorker();
    [[nodiscard]] bool createWorker();

    WebServices::Internal::UrlStore& m_urls;
    const TimeServiceDependencies m_parts;
    mutable QMutex m_mutex;
    WebServices::Server m_server;
    bool m_enabled;
    std::shared_ptr<TimeCorrection> m_correction;
    std::unique_ptr<QThread> m_thread;
    TimeService* m_worker = nullptr; ///< lives on the thread and is deleted with it
};

} // namespace Velquor::OAuth
