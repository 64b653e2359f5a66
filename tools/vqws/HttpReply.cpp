#include "HttpReply.h"

#include "Cancellation.h"
#include "Texts.h"

#include <QAuthenticator>
#include <QEventLoop>
#include <QLocale>
#include <QNetworkAccessManager>
#include <QNetworkProxy>
#include <QNetworkReply>
#include <VqWebServices/WebServicesManager.h>
#include <array>

using namespace Velquor::WebServices;

namespace Vqws {

namespace {

constexpr int transferTimeoutMs = 60000;
constexpr qint64 largestBody = 64LL * 1024 * 1024;
constexpr int credentialSize = 512;

// Fills them in once per exchange, since Qt asks again when the proxy refused them.
void fillProxyCredentials(const QNetworkProxy& proxy, QAuthenticator& authenticator) {
    std::array<wchar_t, credentialSize> user{};
    std::array<wchar_t, credentialSize> password{};
    WebServicesManager* const manager = WebServicesManager::GetInstance();
    if (!manager || !authenticator.user().isEmpty()
        || !manager->GetProxyAuthentication(proxy.hostName().toStdWString().c_str(), proxy.port(), user.data(), credentialSize,
                                            password.data(), credentialSize))
        return;
    authenticator.setUser(QString::fromWCharArray(user.data()));
    authenticator.setPassword(QString::fromWCharArray(password.data()));
}

void readReply(QNetworkReply& reply, HttpReply& result) {
    result.status = reply.attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    result.reason = reply.attribute(QNetworkRequest::HttpReasonPhraseAttribute).toString();
    result.contentType = reply.header(QNetworkRequest::ContentTypeHeader).toString();
    result.date =
        QLocale::c().toDateTime(QString::fromLatin1(reply.rawHeader("Date")), QStringLiteral("ddd, dd MMM yyyy hh:mm:ss 'GMT'"));
    result.date.setTimeSpec(Qt::UTC);
    result.body = reply.readAll();
    result.isTlsError = reply.error() == QNetworkReply::SslHandshakeFailedError;
    if (result.status == 0 && reply.error() != QNetworkReply::NoError)
        result.error = reply.errorString();
    else if (result.status == 0)
        result.error = QStringLiteral("no reply");
}

enum class Trust { Checked, Any };

HttpReply send(const QUrl& url, const QString& authorization, Trust trust, const Cancellation& cancellation) {
    HttpReply result;
    QNetworkAccessManager manager;
    QObject::connect(
        &manager, &QNetworkAccessManager::proxyAuthenticationRequired, &manager,
        [](const QNetworkProxy& proxy, QAuthenticator* authenticator) { fillProxyCredentials(proxy, *authenticator); });
    QNetworkRequest request(url);
    request.setTransferTimeout(transferTimeoutMs);
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::ManualRedirectPolicy);
    request.setAttribute(QNetworkRequest::Http2AllowedAttribute, false);
    if (!authorization.isEmpty())
        request.setRawHeader("Authorization", authorization.toLatin1());
    const std::unique_ptr<QNetworkReply> reply(manager.get(request));
    QObject::connect(reply.get(), &QNetworkReply::sslErrors, reply.get(), [&](const QList<QSslError>& errors) {
        result.tlsError = errors.value(0);
        if (trust == Trust::Any)
            reply->ignoreSslErrors();
    });
    QEventLoop loop;
    QObject::connect(reply.get(), &QNetworkReply::finished, &loop, &QEventLoop::quit);
    QObject::connect(&cancellation, &Cancellation::cancelled, reply.get(), &QNetworkReply::abort);
    QObject::connect(reply.get(), &QNetworkReply::downloadProgress, reply.get(), [&](qint64 received, qint64) {
        result.isTooLarge = received > largestBody;
        if (result.isTooLarge)
            reply->abort();
    });
    if (!reply->isFinished() && !cancellation.isRequested())
        loop.exec();
    readReply(*reply, result);
    return result;
}

} // namespace

HttpReply httpGet(const QUrl& url, const QString& authorization, const Cancellation& cancellation) {
    return send(url, authorization, Trust::Checked, cancellation);
}

QDateTime untrustedTime(const QUrl& url, const Cancellation& cancellation) {
    return send(url, {}, Trust::Any, cancellation).date;
}

} // namespace Vqws
