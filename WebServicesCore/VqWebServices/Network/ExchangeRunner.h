#pragma once

#include "Network/ExchangeOutcome.h"
#include "VqLog/ILogger.h"

#include <QNetworkRequest>
#include <QObject>
#include <functional>
#include <memory>

namespace Velquor::WebServices::Internal {

class NetworkOperationAsync;

/// Sends one request at a time on a worker thread of its own, for those who must never be blocked by it.
///
/// Thread: lives on its owner's thread, where the end is told; all operations there. Owner: whoever sends, as a member with that
/// object as parent. Errors: the outcome of the exchange; a worker thread that cannot be started is told as its end, too.
class ExchangeRunner final : public QObject {
    Q_OBJECT

public:
    using Finished = std::function<void(const ExchangeOutcome&)>;

    /// `finished` is told the end of each exchange that was not cancelled; the next may be sent from inside.
    ExchangeRunner(Finished finished, QObject* parent);
    ~ExchangeRunner() override;

    void send(const QNetworkRequest& request, const QString& verb, const QByteArray& body, int timeoutMs,
              const std::shared_ptr<Log::ILogger>& logger);
    [[nodiscard]] bool isUnderWay() const { return m_operation != nullptr; }
    /// Returns when the worker thread has ended; nothing is told of the exchange afterwards.
    void cancel();

private:
    void requestFinished(QNetworkReply* reply);

    const Finished m_finished;
    std::unique_ptr<NetworkOperationAsync> m_operation;
};

} // namespace Velquor::WebServices::Internal
