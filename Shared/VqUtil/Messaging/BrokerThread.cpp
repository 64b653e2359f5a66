#include "VqUtil/Messaging/BrokerThread.h"

#include "VqUtil/Platform/LeanDispatcher.h"

#include <utility>

namespace Velquor::Util {

BrokerThread::BrokerThread(MessageBroker::Place place, std::shared_ptr<Log::ILogger> logger, MessageInbox& inbox)
    : m_place(std::move(place))
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

bool BrokerThread::accept(const MessageFrame& frame) {
    return m_broker->accept(frame);
}

bool BrokerThread::isServing() const {
    return m_broker->isServing();
}

void BrokerThread::run() {
    MessageBroker hub(m_place, m_logger, m_inbox);
    m_broker = &hub;
    m_begun.release();
    exec();
    hub.finish();
}

} // namespace Velquor::Util
