#pragma once

#include "Events/INotificationListener.h"
#include "VqLog/ILogger.h"
#include "VqUtil/Threads/IThreads.h"

#include <QMutex>
#include <QVariantMap>
#include <memory>

namespace Velquor::WebServices::Internal {

class NotificationManager;
struct NotificationDependencies;

/// The thread that exchanges events with the other processes of the user, with the notification manager on it.
///
/// Thread: started and stopped by its owner; `send` from any. Owner: the events of the login session. Errors: log lines.
class NotificationThread {
public:
    explicit NotificationThread(std::shared_ptr<Util::IThreads> threads);
    ~NotificationThread();
    NotificationThread(const NotificationThread&) = delete;
    NotificationThread& operator=(const NotificationThread&) = delete;

    /// `listener` outlives the thread.
    void start(const NotificationDependencies& services, INotificationListener& listener);
    /// Sends what was handed over, then ends the thread and waits for it without limit: its steps are short.
    void stop(Log::ILogger& logger);

    /// Hands an event over to be sent. Does nothing while the thread does not run.
    void send(WebServicesPrivateCore::WebServicesEvent event, const QVariantMap& params);

private:
    const std::shared_ptr<Util::IThreads> m_threads;
    QMutex m_mutex;
    NotificationManager* m_manager = nullptr; ///< Lives on the thread and is deleted by its end. Under the mutex.
    std::unique_ptr<QThread> m_thread;
};

} // namespace Velquor::WebServices::Internal
