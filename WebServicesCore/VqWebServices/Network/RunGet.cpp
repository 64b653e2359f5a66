#include "Network/RunGet.h"

#include "Network/NetworkOperationAsync.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QThread>

namespace Velquor::WebServices::Internal {
namespace {

ExchangeOutcome notSent(const QString& problem, Log::ILogger* logger) {
    ExchangeOutcome outcome;
    outcome.result = OperationResult::Failure;
    outcome.message = problem;
    if (logger)
        logger->error(problem);
    return outcome;
}

ExchangeOutcome outcomeOf(const NetworkOperationAsync& operation) {
    ExchangeOutcome outcome;
    outcome.result = operation.result();
    outcome.message = operation.errorMessage();
    // The loop ends early when the thread is asked to quit. Destroying the operation cancels it.
    if (outcome.result == OperationResult::NotFinished) {
        outcome.result = OperationResult::Canceled;
        outcome.message = QStringLiteral("Operation was canceled. %1.").arg(QStringLiteral("Event loop ended"));
    }
    outcome.reply = takeSnapshot(operation.reply(), operation.verb(), operation.requestBody());
    return outcome;
}

} // namespace

ExchangeOutcome runGet(const QNetworkRequest& request, int timeoutInMsec, const std::shared_ptr<Log::ILogger>& logger,
                       const std::shared_ptr<ICancelController>& cancelController) {
    if (!QCoreApplication::instance())
        return notSent(QStringLiteral("Request was not sent. There is no application object"), logger.get());
    // On a thread that has never run an event loop, this object creates what the operation needs to report its end.
    QEventLoop loop;
    NetworkOperationAsync operation(request, QStringLiteral("GET"), QByteArray(), logger);
    operation.setTimeout(timeoutInMsec);
    operation.setCancelController(cancelController);
    operation.setWaitingThread(QThread::currentThreadId());
    QObject::connect(&operation, &NetworkOperationAsync::RequestFinished, &loop, &QEventLoop::quit);
    operation.Start();
    loop.exec(QEventLoop::ExcludeUserInputEvents);
    ExchangeOutcome outcome = outcomeOf(operation);
    if (logger)
        outcome.logFailure(*logger);
    return outcome;
}

} // namespace Velquor::WebServices::Internal
