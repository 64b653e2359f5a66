#pragma once

#include "Events/IEventCarriers.h"

namespace Velquor::WebServices::Internal {

/// A watched file and local sockets. Without state; thread, owner and errors: as of IEventCarriers.
class SystemEventCarriers final : public IEventCarriers {
public:
    [[nodiscard]] std::unique_ptr<IEventFile> makeFile(const QString& folder,
                                                       const std::shared_ptr<Log::ILogger>& logger) override;
    [[nodiscard]] std::unique_ptr<Util::IMessaging> makeMessaging(const std::shared_ptr<Log::ILogger>& logger) override;
};

} // namespace Velquor::WebServices::Internal
