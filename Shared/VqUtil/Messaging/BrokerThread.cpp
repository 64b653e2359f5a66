#include "VqUtil/Messaging/BrokerThread.h"

#include "VqUtil/Platform/LeanDispatcher.h"

#include <utility>

namespace Velquor::Util {

HubThread::HubThread(MessageHub::Place place, std::shared_ptr<Log::ILogger> logger, MessageInbox& inbox)
    : m_place(std::move(place))
    , m_logger(std::move(logger))
    , m_inbox(inbox) {
    setObjectName(QStringLiteral("Messages"));
    useLeanDispatcher(*this, ThreadServes::LocalSocketsToo);
    start();
    m_begun.acquire();
}

HubThread::~HubThread() {
    quit();
    wait();
}

bool HubThread::accept(const MessageFrame& frame) {
    return m_hub->accept(frame);
}

bool HubThread::isServing() const {
    return m_hub->isServing();
}

void HubThread::run() {
    MessageHub hub(m_place, m_logger, m_inbox);
    m_hub = &hub;
    m_begun.release();
    exec();
    hub.finish();
}

} // namespace Velquor::Util
