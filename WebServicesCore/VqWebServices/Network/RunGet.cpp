#include "Network/RunGet.h"

#include "Network/NetworkOperation.h"

#include <QCoreApplication>

namespace Velquor::WebServices::Internal {

ExchangeOutcome runGet(const QNetworkRequest& request, int timeoutInMsec, const std::shared_ptr<Log::ILogger>& logger,
                       const std::shared_ptr<ICancelController>& cancelController) {
    ExchangeOutcome outcome;
    if (!QCoreApplication::instance()) {
        outcome.result = OperationResult::Failure;
        outcome.message = QStringLiteral("Request was not sent. There is no application object");
        if (logger)
            logger->error(outcome.message);
        return outcome;
    }
    const QString verb = QStringLiteral("GET");
    NetworkOperation operation(cancelController, logger);
    operation.Send(request, verb, nullptr, timeoutInMsec, true);
    outcome.result = operation.result();
    outcome.message = operation.errorMessage();
    // Deleted here, not deferred: the calling thread may never run an event loop.
    const std::unique_ptr<QNetworkReply> reply = operation.takeReply();
    outcome.reply = takeSnapshot(reply.get(), verb, QByteArray());
    if (logger)
        outcome.logFailure(*logger);
    return outcome;
}

} // namespace Velquor::WebServices::Internal
