#pragma once

#include "Network/ICancelController.h"
#include "Network/IExchange.h"

namespace Velquor::WebServices::Internal {

/// The exchanges of sign-in, sign-out, tokens and caches with the servers.
///
/// Thread: any. Owner: shared by those who send. Errors: outcomes.
class INetwork {
public:
    virtual ~INetwork() = default;

    /// An exchange for one sender; it moves to other threads with its parent and must not outlive it.
    [[nodiscard]] virtual std::unique_ptr<IExchange> makeExchange(IExchange::Finished finished, QObject* parent) = 0;
    /// Sends a GET and waits for its end; events other than user input are handled during the wait.
    [[nodiscard]] virtual ExchangeOutcome get(const QNetworkRequest& request, int timeoutMs,
                                              const std::shared_ptr<Log::ILogger>& logger,
                                              const std::shared_ptr<ICancelController>& cancel) = 0;
};

} // namespace Velquor::WebServices::Internal
