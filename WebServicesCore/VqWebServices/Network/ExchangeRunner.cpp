#include "Network/ExchangeRunner.h"

#include "Network/NetworkOperationAsync.h"

#include <utility>

namespace Velquor::WebServices::Internal {

ExchangeRunner::ExchangeRunner(Finished finished, QObject* parent)
    : QObject(parent)
    , m_finished(std::move(finished)) {}

ExchangeRunner::~ExchangeRunner() {
    cancel();
}

void ExchangeRunner::send(const QNetworkRequest& request, const QString& verb, const QByteArray& body, int timeoutMs,
                          const std::shared_ptr<Log::ILogger>& logger) {
    m_logger = logger;
    m_operation = std::make_unique<NetworkOperationAsync>(request, verb, body, logger);
    m_operation->setTimeout(timeoutMs);
    connect(m_operation.get(), &NetworkOperationAsync::RequestFinished, this, &ExchangeRunner::requestFinished);
    m_operation->Start();
}

void ExchangeRunner::requestFinished(QNetworkReply* reply) {
    if (!m_operation)
        return;
    const ExchangeOutcome outcome{m_operation->result(), m_operation->errorMessage(),
                                  takeSnapshot(reply, m_operation->verb(), m_operation->requestBody())};
    // Not deleted here: the operation is the sender of this signal.
    m_operation.release()->deleteLater();
    if (m_logger)
        outcome.logFailure(*m_logger);
    m_finished(outcome);
}

void ExchangeRunner::cancel() {
    // The destructor of the operation cancels it and emits its end first; the end must not arrive here.
    if (const std::unique_ptr<NetworkOperationAsync> operation = std::move(m_operation))
        operation->disconnect(this);
}

} // namespace Velquor::WebServices::Internal
