#pragma once

#include "Network/ExchangeOutcome.h"
#include "Network/ICancelController.h"
#include "VqLog/ILogger.h"

#include <QNetworkRequest>
#include <memory>

namespace Velquor::WebServices::Internal {

/// Sends a GET and waits for its end; events other than user input are handled during the wait. `timeoutInMsec` limits the whole
/// exchange; 0 or less means no limit. Logger and controller may be empty.
///
/// Thread: any, also one that runs no event loop; an application object must exist. Errors: in the outcome.
[[nodiscard]] ExchangeOutcome runGet(const QNetworkRequest& request, int timeoutInMsec,
                                     const std::shared_ptr<Log::ILogger>& logger,
                                     const std::shared_ptr<ICancelController>& cancelController = {});

} // namespace Velquor::WebServices::Internal
