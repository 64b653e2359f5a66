#pragma once

#include "Network/IExchange.h"

#include <QObject>

namespace Velquor::WebServices::Internal {

class NetworkOperationAsync;

/// Sends one request at a time on a worker thread, so that its owner is never blocked.
///
/// Thread: lives on its owner's thread; all operations and the end are there. Owner: the sender, as a member with the sender as
/// parent. Errors: the outcome of the exchange, also when the worker thread cannot be started.
class ExchangeRunner final : public QObject, public IExchange {
    Q_OBJECT

public:
    ExchangeRunner(Finished finished, QObject* parent);
    ~ExchangeRunner() override;

    void send(const QNetworkRequest& request, const QString& verb, const QByteArray& body, int timeoutMs,
              const std::shared_ptr<Log::ILogger>& logger) override;
    [[nodiscard]] bool isUnderWay() const override { return m_operation != nullptr; }
    /// Returns when the worker thread has ended; `finished` is not called for this exchange.
    void cancel() override;

private:
    void requestFinished(QNetworkReply* reply);

    const Finished m_finished;
    std::shared_ptr<Log::ILogger> m_logger;
    std::unique_ptr<NetworkOperationAsync> m_operation;
};

} // namespace Velquor::WebServices::Internal
