#include "Network/SystemNetwork.h"

#include "Network/ExchangeRunner.h"
#include "Network/RunGet.h"

#include <utility>

namespace Velquor::WebServices::Internal {

std::unique_ptr<IExchange> SystemNetwork::makeExchange(IExchange::Finished finished, QObject* parent) {
    return std::make_unique<ExchangeRunner>(std::move(finished), parent);
}

ExchangeOutcome SystemNetwork::get(const QNetworkRequest& request, int timeoutMs, const std::shared_ptr<Log::ILogger>& logger,
                                   const std::shared_ptr<ICancelController>& cancel) {
    return runGet(request, timeoutMs, logger, cancel);
}

} // namespace Velquor::WebServices::Internal
