#pragma once

#include "Network/NetworkOperationAsync.h"
#include "VqLog/ILogger.h"

#include <QByteArray>
#include <QObject>
#include <QString>
#include <QUrl>
#include <memory>

namespace Velquor::OAuth {

/// The answer of a time server.
struct TimeAnswer {
    bool hasReply = false;
    bool isWhole = false; ///< the exchange ended without a network error
    int status = 0;
    QByteArray body; ///< its first bytes
    QByteArray dateHeader;
    QByteArray location;
    QString message;     ///< why it failed
    QString httpText;    ///< status with its text
    QString networkText; ///< network error with its text
};

/// One query to a time server.
///
/// Thread: lives on the worker's. Owner: the worker; destroying it ends the exchange without a signal.
/// Errors: in the answer; SSL errors are logged.
class TimeQuery final : public QObject {
    Q_OBJECT

public:
    TimeQuery(const QUrl& url, int timeoutInMsec, std::shared_ptr<Log::ILogger> logger,
              std::shared_ptr<Log::ILogger> networkLogger);
    ~TimeQuery() override;
    Q_DISABLE_COPY_MOVE(TimeQuery)

    void start();
    [[nodiscard]] QUrl url() const { return m_url; }

Q_SIGNALS:
    void Finished(const Velquor::OAuth::TimeAnswer& answer);

private:
    void operationFinished(QNetworkReply* reply);
    void logSslErrors(const QNetworkReply& reply);

    const QUrl m_url;
    const std::shared_ptr<Log::ILogger> m_logger;
    WebServices::Internal::NetworkOperationAsync m_operation;
};

} // namespace Velquor::OAuth
