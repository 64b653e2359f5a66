#pragma once

#include "Network/INetwork.h"

namespace Velquor::WebServices::Internal {

/// The network of the system. Without state; thread, owner and errors: as of INetwork.
class SystemNetwork final : public INetwork {
public:
    [[nodiscard]] std::unique_ptr<IExchange> makeExchange(IExchange::Finished finished, QObject* parent) override;
    [[nodiscard]] ExchangeOutcome get(const QNetworkRequest& request, int timeoutMs, const std::shared_ptr<Log::ILogger>& logger,
                                      const std::shared_ptr<ICancelController>& cancel) override;
};

} // namespace Velquor::WebServices::Internal
