#include "Events/NotificationThread.h"

#include "Events/NotificationManager.h"

#include <QMutexLocker>
#include <utility>

namespace Velquor::WebServices::Internal {

NotificationThread::NotificationThread(std::shared_ptr<Util::IThreads> threads)
    : m_threads(std::move(threads)) {}

NotificationThread::~NotificationThread() = default;

void NotificationThread::start(const NotificationDependencies& services, INotificationListener& listener) {
    m_thread = m_threads->make(QStringLiteral("notifications"), Util::IThreads::Dispatcher::Lean);
    auto* const manager = new NotificationManager(services, listener);
    manager->moveToThread(m_thread.get());
    QObject::connect(m_thread.get(), &QThread::started, manager, &NotificationManager::Start);
    QObject::connect(m_thread.get(), &QThread::finished, manager, &QObject::deleteLater);
    {
        const QMutexLocker lock(&m_mutex);
        m_manager = manager;
    }
    m_threads->start(*m_thread);
}

void NotificationThread::stop(Log::ILogger& logger) {
    {
        const QMutexLocker lock(&m_mutex);
        if (!m_manager)
            return;
        // Queued behind the events that are still to be sent: an `exit` from here would overtake them. The thread must not end
        // before this call has returned, which still wakes it up, and so waits for the mutex.
        QMetaObject::invokeMethod(
            m_manager,
            [this] {
                const QMutexLocker posted(&m_mutex);
                QThread::currentThread()->exit(0);
            },
            Qt::QueuedConnection);
        m_manager = nullptr;
    }
    logger.information(QStringLiteral("Waiting for notification thread to finish"));
    m_threads->join(*m_thread);
    logger.information(QStringLiteral("Notification thread finished"));
}

void NotificationThread::send(WebServicesPrivateCore::WebServicesEvent event, const QVariantMap& params) {
    const QMutexLocker lock(&m_mutex);
    if (m_manager)
        m_manager->SendInterProcessMessage(event, params);
}

} // namespace Velquor::WebServices::Internal
