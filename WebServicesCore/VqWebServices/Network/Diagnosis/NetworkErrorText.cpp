#include "Network/Diagnosis/NetworkErrorText.h"

#include "Network/Diagnosis/DisplayUrl.h"
#include "Network/Diagnosis/HttpStatusText.h"
#include "Network/Diagnosis/OAuthProblem.h"

#include <QNetworkProxy>

namespace Velquor::WebServices::Internal {
namespace {

bool looksDisconnected(const QNetworkReply& reply) {
    if (httpStatus(reply) != 0)
        return false;
    switch (reply.error()) {
    case QNetworkReply::HostNotFoundError:
    case QNetworkReply::TimeoutError:
    case QNetworkReply::ProxyNotFoundError:
    case QNetworkReply::ProxyTimeoutError:
    case QNetworkReply::UnknownProxyError: return true;
    default: return false;
    }
}

QString errorSuffix(const QNetworkReply& reply) {
    const QNetworkProxy proxy = QNetworkProxy::applicationProxy();
    if (!proxy.hostName().isEmpty()) {
        return QStringLiteral(". Proxy info: Host: %1, Port: %2, User: %3")
            .arg(proxy.hostName(), QString::number(proxy.port()), proxy.user());
    }
    return looksDisconnected(reply) ? QStringLiteral(" (possibly no internet connection)") : QString();
}

} // namespace

int httpStatus(const QNetworkReply& reply) {
    return reply.attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
}

QString networkErrorText(const QNetworkReply* reply) {
    if (!reply)
        return {};
    const QString errorString = withUrlsMasked(reply->errorString(), reply->url());
    return QStringLiteral("%1 %2%3").arg(QString::number(reply->error()), errorString, errorSuffix(*reply)).trimmed();
}

QString fullErrorText(const QNetworkReply* reply) {
    if (!reply)
        return {};
    const int status = httpStatus(*reply);
    const QString http = QStringLiteral("%1 %2").arg(QString::number(status), httpStatusText(status)).trimmed();
    return QStringLiteral("Http error: %1. Network error: %2").arg(http, networkErrorText(reply)).trimmed();
}

QString operationErrorText(const QNetworkReply& reply) {
    const OAuthProblem problem = oauthProblem(&reply);
    const QString noProblem = QStringLiteral("No error");
    // clang-format off
    return QStringLiteral("NetworkError code: %1 Http status code: %2 Http reason phrase: %3 Vqs reason phrase: %4 OAuth error: %5")
        // clang-format on
        .arg(QString::number(reply.error()), QString::number(httpStatus(reply)),
             reply.attribute(QNetworkRequest::HttpReasonPhraseAttribute).toString(), problem.reasonPhrase,
             problem.problem.isEmpty() ? noProblem : problem.problem);
}

} // namespace Velquor::WebServices::Internal
