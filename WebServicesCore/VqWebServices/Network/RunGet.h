#pragma once

#include "Network/ICancelController.h"
#include "Network/OperationResult.h"
#include "Network/ReplySnapshot.h"
#include "VqLog/ILogger.h"

#include <QNetworkRequest>
#include <memory>

namespace Velquor::WebServices {

/// The outcome of a synchronous exchange.
struct ExchangeOutcome {
    OperationResult result = OperationResult::NotFinished;
    QString message; ///< empty on success
    ReplySnapshot reply;
};

/// Sends a GET and waits for its end, handling events other than user input meanwhile. `timeoutInMsec` limits the whole
/// exchange; 0 or less means no limit. Logger and controller may be empty.
///
/// Thread: any, also one that runs no event loop; an application object must exist. Errors: in the outcome.
[[nodiscard]] ExchangeOutcome runGet(const QNetworkRequest& request, int timeoutInMsec,
                                     const std::shared_ptr<Log::ILogger>& logger,
                                     const std::shared_ptr<ICancelController>& cancelController = {});

} // namespace Velquor::WebServices
