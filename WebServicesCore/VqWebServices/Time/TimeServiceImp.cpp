#include "Time/TimeServiceImp.h"

#include "Time/TimeCorrection.h"
#include "Time/TimeService.h"

#include <QMutexLocker>
#include <utility>

namespace Velquor::OAuth {

TimeServiceImp::TimeServiceImp(WebServices::Internal::UrlStore& urls, WebServices::Server server, TimeServiceDependencies parts)
    : m_urls(urls)
    , m_parts(std::move(parts))
    , m_server(server)
    , m_enabled(m_parts.options.enabled) {}

TimeServiceImp::~TimeServiceImp() {
    stop();
}

void TimeServiceImp::setServer(WebServices::Server server) {
    const QMutexLocker lock(&m_mutex);
    m_server = server;
}

std::optional<qint64> TimeServiceImp::correctedTime() const {
    std::shared_ptr<TimeCorrection> correction;
    {
        const QMutexLocker lock(&m_mutex);
        correction = m_correction;
    }
    return correction ? std::optional<qint64>(correction->timestamp()) : std::nullopt;
}

void TimeServiceImp::start() {
    const QMutexLocker lock(&m_mutex);
    if (!m_enabled) {
        m_parts.logger->information(QStringLiteral("Skipping starting of time service since time service is disabled"));
        return;
    }
    startWorker();
}

void TimeServiceImp::handleIncorrectSystemTime() {
    const QMutexLocker lock(&m_mutex);
    if (!m_enabled) {
        m_parts.logger->warning(QStringLiteral("Cannot handle incorrect system time. Time services is disabled."));
    } else if (m_worker && m_worker->isRunning()) {
        m_parts.logger->information(QStringLiteral(
            "Time service is already running. Starting time update since last request failed with time mismatch error."));
        Q_EMIT m_worker->UpdateTimeTrigger(true);
    } else {
        m_parts.logger->information(QStringLiteral("Starting time service to handle incorrect system time"));
        startWorker();
    }
}

void TimeServiceImp::startWorker() {
    const TimeServerUrls urls(m_urls.GetUrl(m_server, QStringLiteral("TimeServerUrls")));
    if (urls.isEmpty()) {
        m_parts.logger->error(QStringLiteral("Failed to start time service. Time server url not set."));
        return;
    }
    m_parts.logger->information(QStringLiteral("Starting time service asynchronously"));
    if (!m_worker && !createWorker())
        return;
    QMetaObject::invokeMethod(
        m_worker, [worker = m_worker, urls] { worker->useUrls(urls); }, Qt::QueuedConnection);
    Q_EMIT m_worker->StartServiceTrigger();
}

bool TimeServiceImp::createWorker() {
    m_parts.logger->information(QStringLiteral("Creating time service"));
    auto correction = std::make_shared<TimeCorrection>(m_parts.options, m_parts.source, m_parts.logger);
    auto worker = std::make_unique<TimeService>(TimeServerUrls(), correction, m_parts);
    auto thread = std::make_unique<QThread>();
    worker->moveToThread(thread.get());
    // The thread deletes the worker, whose timer and query must be destroyed on it.
    QObject::connect(thread.get(), &QThread::finished, worker.get(), &QObject::deleteLater);
    thread->start();
    if (!thread->isRunning()) {
        m_parts.logger->error(QStringLiteral("Failed to start the thread of the time service"));
        return false;
    }
    m_worker = worker.release();
    m_thread = std::move(thread);
    m_correction = std::move(correction);
    return true;
}

void TimeServiceImp::stop() {
    std::unique_ptr<QThread> thread;
    {
        const QMutexLocker lock(&m_mutex);
        m_enabled = false;
        m_correction.reset();
        thread = std::move(m_thread);
        if (!thread)
            return;
        Q_EMIT m_worker->StopServiceTrigger();
        // Posted after the trigger: a thread that quits at once would not handle the trigger any more. It must not end before
        // this call has returned, which still wakes it up, and so waits for the mutex.
        QMetaObject::invokeMethod(
            m_worker,
            [this, ending = thread.get()] {
                const QMutexLocker posted(&m_mutex);
                ending->quit();
            },
            Qt::QueuedConnection);
        m_worker = nullptr;
    }
    // Without the mutex, so that the wait does not block the signers.
    thread->wait();
}

} // namespace Velquor::OAuth
