#include "Network/RunGet.h"

#include "Network/NetworkOperationAsync.h"

#include <QAbstractEventDispatcher>
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

// On a thread with an event loop of Qt, which a loop of its own may run.
ExchangeOutcome runInLoop(NetworkOperationAsync& operation) {
    QEventLoop loop;
    QObject::connect(&operation, &NetworkOperationAsync::RequestFinished, &loop, &QEventLoop::quit);
    operation.Start();
    loop.exec(QEventLoop::ExcludeUserInputEvents);
    return outcomeOf(operation);
}

// A loop would give the calling thread an event dispatcher for good, which takes its place in GLib away from a host that runs
// GTK.
template <typename Work>
void runWithLoop(const Work& work) {
    if (QAbstractEventDispatcher::instance())
        return work();
    const std::unique_ptr<QThread> thread(QThread::create(work));
    thread->start();
    thread->wait();
}

} // namespace

ExchangeOutcome runGet(const QNetworkRequest& request, int timeoutInMsec, const std::shared_ptr<Log::ILogger>& logger,
                       const std::shared_ptr<ICancelController>& cancelController) {
    if (!QCoreApplication::instance())
        return notSent(QStringLiteral("Request was not sent. There is no application object"), logger.get());
    ExchangeOutcome outcome;
    runWithLoop([&, waiting = QThread::currentThreadId()] {
        NetworkOperationAsync operation(request, QStringLiteral("GET"), QByteArray(), logger);
        operation.setTimeout(timeoutInMsec);
        operation.setCancelController(cancelController);
        operation.setWaitingThread(waiting);
        outcome = runInLoop(operation);
    });
    if (logger)
        outcome.logFailure(*logger);
    return outcome;
}

} // namespace Velquor::WebServices::Internal
