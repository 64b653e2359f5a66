#pragma once

#include "Network/ExchangeOutcome.h"
#include "VqLog/ILogger.h"

#include <QNetworkRequest>
#include <functional>
#include <memory>

namespace Velquor::WebServices::Internal {

/// Sends one request at a time and reports its end, without blocking its owner.
///
/// Thread: its owner's; all operations and the end are there. Owner: the sender. Errors: the outcome of the exchange.
class IExchange {
public:
    /// Called at the end of each exchange that was not cancelled; it may send the next request.
    using Finished = std::function<void(const ExchangeOutcome&)>;

    virtual ~IExchange() = default;

    virtual void send(const QNetworkRequest& request, const QString& verb, const QByteArray& body, int timeoutMs,
                      const std::shared_ptr<Log::ILogger>& logger) = 0;
    [[nodiscard]] virtual bool isUnderWay() const = 0;
    /// The end of this exchange is not reported.
    virtual void cancel() = 0;
};

} // namespace Velquor::WebServices::Internal
