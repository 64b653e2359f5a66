#include "VqUtil/Messaging/IPCManager.h"

#include "VqUtil/Messaging/BrokerThread.h"
#include "VqUtil/Messaging/PeerIdentity.h"
#include "VqUtil/ProcessState/SharedBlock.h"

#include <QMutex>
#include <QMutexLocker>
#include <QPointer>
#include <utility>

namespace Velquor::Util {

namespace {

// Then the other work of the thread has its turn.
constexpr int mostAtOnce = 100;

} // namespace

class IPCManager::Private {
public:
    explicit Private(std::shared_ptr<Log::ILogger> log)
        : logger(std::move(log)) {}

    const std::shared_ptr<Log::ILogger> logger;
    MessageInbox inbox;
    mutable QMutex mutex;
    std::unique_ptr<BrokerThread> hub; ///< Changed by the manager's thread alone, under the mutex.
};

IPCManager::IPCManager(std::shared_ptr<Log::ILogger> logger, QObject* parent)
    : QObject(parent)
    , m_private(std::make_unique<Private>(std::move(logger))) {
    connect(&m_private->inbox, &MessageInbox::Filled, this, &IPCManager::deliver, Qt::QueuedConnection);
}

IPCManager::~IPCManager() {
    stop();
}

bool IPCManager::start(const QString& serverName, const QString& folder) {
    stop();
    const QString address = localServerAddress(serverName, folder);
    if (address.isEmpty()) {
        m_private->logger->error(
            QStringLiteral("Failed to start the messages between processes: no safe place for server %1").arg(serverName));
        return false;
    }
    const MessageBroker::Place place{address, serverName + QStringLiteral(".Server"), sharedBlockFolder(folder)};
    auto hub = std::make_unique<BrokerThread>(place, m_private->logger, m_private->inbox);
    const QMutexLocker lock(&m_private->mutex);
    m_private->hub = std::move(hub);
    return true;
}

void IPCManager::stop() {
    std::unique_ptr<BrokerThread> hub;
    {
        const QMutexLocker lock(&m_private->mutex);
        hub = std::move(m_private->hub);
    }
    hub.reset();
    m_private->inbox.clear();
}

// A receiver may run an event loop, stop the messaging or destroy it.
void IPCManager::deliver() {
    const QPointer<IPCManager> self(this);
    m_private->inbox.beginToTake();
    for (int count = 0; self && count < mostAtOnce; ++count) {
        const std::optional<MessageCodec::Message> message = m_private->inbox.take();
        if (!message)
            return;
        emit MessageReceived(message->name, message->params);
    }
}

bool IPCManager::send(const QString& name, const QVariantMap& params) {
    MessageFrame frame;
    if (!MessageCodec::encode({name, params}, &frame.content)) {
        m_private->logger->error(QStringLiteral("Failed to send message %1: it holds a value that cannot be sent").arg(name));
        return false;
    }
    frame.id = MessageFrame::newId();
    frame.sentMs = MessageJournal::nowMs();
    if (frame.toBytes().isEmpty()) {
        m_private->logger->error(QStringLiteral("Failed to send message %1: it is too long").arg(name));
        return false;
    }
    const QMutexLocker lock(&m_private->mutex);
    if (m_private->hub && m_private->hub->accept(frame))
        return true;
    m_private->logger->error(m_private->hub ? QStringLiteral("Failed to send message %1: too many messages wait").arg(name)
                                            : QStringLiteral("Failed to send message %1: the messaging is stopped").arg(name));
    return false;
}

bool IPCManager::isServing() const {
    const QMutexLocker lock(&m_private->mutex);
    return m_private->hub && m_private->hub->isServing();
}

} // namespace Velquor::Util
