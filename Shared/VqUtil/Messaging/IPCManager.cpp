#include "VqUtil/Messaging/IPCManager.h"

#include "VqUtil/Messaging/MessageBroker.h"
#include "VqUtil/Messaging/PeerIdentity.h"
#include "VqUtil/Platform/LeanDispatcher.h"
#include "VqUtil/ProcessState/SharedBlock.h"

#include <QMutex>
#include <QMutexLocker>
#include <QPointer>
#include <QSemaphore>
#include <QThread>
#include <utility>

namespace Velquor::Util {

namespace {

// Then the thread returns to its event loop, so that a burst of messages does not starve its other work.
constexpr int maximumAtOnce = 100;

/// The thread that owns the broker, from the constructor to the destructor. Thread: any other one. Owner: the manager.
class BrokerThread : public QThread {
public:
    BrokerThread(MessageBroker::Endpoint endpoint, std::shared_ptr<Log::ILogger> logger, MessageInbox& inbox);
    /// Ends the messaging and waits for that: 200 ms at most, when a peer does not read what is to be sent.
    ~BrokerThread() override;

    [[nodiscard]] bool accept(const MessageFrame& frame) { return m_broker->accept(frame); }
    [[nodiscard]] bool isServing() const { return m_broker->isServing(); }

protected:
    void run() override;

private:
    const MessageBroker::Endpoint m_endpoint;
    const std::shared_ptr<Log::ILogger> m_logger;
    MessageInbox& m_inbox;
    QSemaphore m_begun;
    MessageBroker* m_broker = nullptr; ///< On the stack of `run`. Valid from the constructor's end to the destructor.
};

BrokerThread::BrokerThread(MessageBroker::Endpoint endpoint, std::shared_ptr<Log::ILogger> logger, MessageInbox& inbox)
    : m_endpoint(std::move(endpoint))
    , m_logger(std::move(logger))
    , m_inbox(inbox) {
    setObjectName(QStringLiteral("Messages"));
    useLeanDispatcher(*this, ThreadServes::LocalSocketsToo);
    start();
    m_begun.acquire();
}

BrokerThread::~BrokerThread() {
    quit();
    wait();
}

void BrokerThread::run() {
    MessageBroker broker(m_endpoint, m_logger, m_inbox);
    m_broker = &broker;
    m_begun.release();
    exec();
    broker.finish();
}

} // namespace

class IPCManager::Private {
public:
    explicit Private(std::shared_ptr<Log::ILogger> log)
        : logger(std::move(log)) {}

    const std::shared_ptr<Log::ILogger> logger;
    MessageInbox inbox;
    mutable QMutex mutex;
    std::unique_ptr<BrokerThread> broker; ///< Changed by the manager's thread alone, under the mutex.
};

IPCManager::IPCManager(std::shared_ptr<Log::ILogger> logger, QObject* parent)
    : IMessaging(parent)
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
    const MessageBroker::Endpoint endpoint{address, serverName + QStringLiteral(".Server"), sharedBlockFolder(folder)};
    auto broker = std::make_unique<BrokerThread>(endpoint, m_private->logger, m_private->inbox);
    const QMutexLocker lock(&m_private->mutex);
    m_private->broker = std::move(broker);
    return true;
}

void IPCManager::stop() {
    std::unique_ptr<BrokerThread> broker;
    {
        const QMutexLocker lock(&m_private->mutex);
        broker = std::move(m_private->broker);
    }
    broker.reset();
    m_private->inbox.clear();
}

// A receiver may run an event loop, stop the messaging or destroy this object. The inbox is asked again after each message.
void IPCManager::deliver() {
    const QPointer<IPCManager> self(this);
    m_private->inbox.acknowledge();
    for (int count = 0; self && count < maximumAtOnce; ++count) {
        const std::optional<MessageCodec::Message> message = m_private->inbox.take();
        if (!message)
            return;
        emit MessageReceived(message->name, message->params);
    }
}

bool IPCManager::send(const QString& name, const QVariantMap& params) {
    const std::optional<QByteArray> content = MessageCodec::encode({name, params});
    if (!content) {
        m_private->logger->error(QStringLiteral("Failed to send message %1: it holds a value that cannot be sent").arg(name));
        return false;
    }
    MessageFrame frame;
    frame.content = *content;
    frame.id = MessageFrame::newId();
    frame.sentMs = MessageJournal::nowMs();
    if (frame.toBytes().isEmpty()) {
        m_private->logger->error(QStringLiteral("Failed to send message %1: it is too long").arg(name));
        return false;
    }
    const QMutexLocker lock(&m_private->mutex);
    if (m_private->broker && m_private->broker->accept(frame))
        return true;
    m_private->logger->error(m_private->broker ? QStringLiteral("Failed to send message %1: too many messages wait").arg(name)
                                               : QStringLiteral("Failed to send message %1: the messaging is stopped").arg(name));
    return false;
}

bool IPCManager::isServing() const {
    const QMutexLocker lock(&m_private->mutex);
    return m_private->broker && m_private->broker->isServing();
}

} // namespace Velquor::Util
