#pragma once

#include "VqUtil/Messaging/MessageBroker.h"

#include <QSemaphore>
#include <QThread>
#include <memory>

namespace Velquor::Util {

/// The thread on which the hub lives, from its start until it is destroyed.
///
/// Thread: any, but for the one that it is itself. Owner: the manager.
class HubThread : public QThread {
public:
    HubThread(MessageHub::Place place, std::shared_ptr<Log::ILogger> logger, MessageInbox& inbox);
    /// Ends the messaging and waits for that: 200 ms at most, when a peer does not take what is to be sent.
    ~HubThread() override;

    /// See the hub.
    [[nodiscard]] bool accept(const MessageFrame& frame);
    [[nodiscard]] bool isServing() const;

protected:
    void run() override;

private:
    const MessageHub::Place m_place;
    const std::shared_ptr<Log::ILogger> m_logger;
    MessageInbox& m_inbox;
    QSemaphore m_begun;
    MessageHub* m_hub = nullptr; ///< There until the thread ends.
};

} // namespace Velquor::Util
