#pragma once

#include "VqUtil/Messaging/MessageBroker.h"

#include <QSemaphore>
#include <QThread>
#include <memory>

namespace Velquor::Util {

/// The thread on which the hub lives, from its start until it is destroyed.
///
/// Thread: any, but for the one that it is itself. Owner: the manager.
class BrokerThread : public QThread {
public:
    BrokerThread(MessageBroker::Place place, std::shared_ptr<Log::ILogger> logger, MessageInbox& inbox);
    /// Ends the messaging and waits for that: 200 ms at most, when a peer does not take what is to be sent.
    ~BrokerThread() override;

    /// See the hub.
    [[nodiscard]] bool accept(const MessageFrame& frame);
    [[nodiscard]] bool isServing() const;

protected:
    void run() override;

private:
    const MessageBroker::Place m_place;
    const std::shared_ptr<Log::ILogger> m_logger;
    MessageInbox& m_inbox;
    QSemaphore m_begun;
    MessageBroker* m_broker = nullptr; ///< There until the thread ends.
};

} // namespace Velquor::Util
