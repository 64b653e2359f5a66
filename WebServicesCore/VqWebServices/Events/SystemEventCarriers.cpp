#include "Events/SystemEventCarriers.h"

#include "Events/InterProcessEventManager.h"
#include "VqUtil/Messaging/IPCManager.h"

namespace Velquor::WebServices::Internal {

std::unique_ptr<IEventFile> SystemEventCarriers::makeFile(const QString& folder, const std::shared_ptr<Log::ILogger>& logger) {
    return std::make_unique<InterProcessEventManager>(folder, logger);
}

std::unique_ptr<Util::IMessaging> SystemEventCarriers::makeMessaging(const std::shared_ptr<Log::ILogger>& logger) {
    return std::make_unique<Util::IPCManager>(logger);
}

} // namespace Velquor::WebServices::Internal
