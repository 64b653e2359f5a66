#include "Time/TimeQuery.h"

#include "Network/Diagnosis/HttpStatusText.h"
#include "Network/Diagnosis/NetworkErrorText.h"
#include "Network/Diagnosis/SslErrorText.h"
#include "Time/ServerTime.h"

#include <QSslCertificate>
#include <QSslConfiguration>
#include <QSslError>
#include <utility>

namespace Velquor::OAuth {

namespace {

QNetworkRequest makeRequest(const QUrl& url) {
    QNetworkRequest request(url);
    // A cached answer of a proxy would be taken for the present time.
    request.setAttribute(QNetworkRequest::CacheLoadControlAttribute, QNetworkRequest::AlwaysNetwork);
    return request;
}

QByteArray dateHeader(const QNetworkReply& reply) {
    const QByteArray date = reply.rawHeader("Date");
    return date.isEmpty() ? reply.rawHeader("date") : date;
}

} // namespace

TimeQuery::TimeQuery(const QUrl& url, int timeoutInMsec, std::shared_ptr<Log::ILogger> logger,
                     std::shared_ptr<Log::ILogger> networkLogger)
    : m_url(url)
    , m_logger(std::move(logger))
    , m_operation(makeRequest(url), QStringLiteral("GET"), QByteArray(), std::move(networkLogger)) {
    m_operation.setTimeout(timeoutInMsec);
    connect(&m_operation, &WebServices::Internal::NetworkOperationAsync::RequestFinished, this, &TimeQuery::operationFinished);
}

TimeQuery::~TimeQuery() {
    m_operation.disconnect(this);
}

void TimeQuery::start() {
    m_operation.Start();
}

void TimeQuery::operationFinished(QNetworkReply* reply) {
    TimeAnswer answer;
    answer.message = m_operation.errorMessage();
    if (reply) {
        logSslErrors(*reply);
        answer.hasReply = true;
        answer.isWhole = m_operation.result() == WebServices::Internal::OperationResult::Success;
        answer.status = WebServices::Internal::httpStatus(*reply);
        answer.body = reply->read(maximalTimeBody);
        if (answer.message.isEmpty())
            answer.message = QStringLiteral("The server's status is no answer");
        answer.dateHeader = dateHeader(*reply);
        answer.location = reply->rawHeader("Location");
        answer.httpText = QStringLiteral("Http error: %1 %2")
                              .arg(QString::number(answer.status), WebServices::Internal::httpStatusText(answer.status))
                              .trimmed();
        answer.networkText = QStringLiteral("Network error: %1").arg(WebServices::Internal::networkErrorText(reply));
    }
    Q_EMIT Finished(answer);
}

void TimeQuery::logSslErrors(const QNetworkReply& reply) {
    if (reply.error() != QNetworkReply::SslHandshakeFailedError)
        return;
    // The operation reports only that the handshake failed; the faults of the certificates are determined here again.
    const QList<QSslCertificate> chain = reply.sslConfiguration().peerCertificateChain();
    const QList<QSslError> errors = chain.isEmpty() ? QList<QSslError>() : QSslCertificate::verify(chain, m_url.host());
    for (const QSslError& error : errors) {
        const QStringList certificate = WebServices::Internal::certificateDescription(error.certificate());
        m_logger->error(QStringLiteral("TimeService::SslError: %1 (%2): %3. %4")
                            .arg(WebServices::Internal::sslErrorName(error.error()), QString::number(error.error()),
                                 error.errorString(), certificate.join(QLatin1Char('\n'))));
    }
}

} // namespace Velquor::OAuth
