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
#include <utility>

using namespace Velquor::WebServices;

namespace Vqws {

namespace {

// The numbers below are of the connection, those above of what the server answered.
constexpr int firstAnswerError = QNetworkReply::ContentAccessDenied;
constexpr qint64 largestBody = 64LL * 1024 * 1024;
constexpr int credentialSize = 512;

void fillProxyCredentials(const QNetworkProxy& proxy, QAuthenticator& authenticator) {
    std::array<wchar_t, credentialSize> user{};
    std::array<wchar_t, credentialSize> password{};
    WebServicesManager* const manager = WebServicesManager::GetInstance();
    if (!manager
        || !manager->GetProxyAuthentication(proxy.hostName().toStdWString().c_str(), proxy.port(), user.data(), credentialSize,
                                            password.data(), credentialSize))
        return;
    authenticator.setUser(QString::fromWCharArray(user.data()));
    authenticator.setPassword(QString::fromWCharArray(password.data()));
}

void readReply(QNetworkReply& reply, HttpReply& result) {
    result.status = reply.attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    result.reason = reply.attribute(QNetworkRequest::HttpReasonPhraseAttribute).toString();
    for (const QNetworkReply::RawHeaderPair& header : reply.rawHeaderPairs())
        result.headers.insert(header.first.toLower(), header.second);
    result.contentType = reply.header(QNetworkRequest::ContentTypeHeader).toString();
    result.date =
        QLocale::c().toDateTime(QString::fromLatin1(reply.rawHeader("Date")), QStringLiteral("ddd, dd MMM yyyy hh:mm:ss 'GMT'"));
    result.date.setTimeSpec(Qt::UTC);
    result.body = reply.readAll();
    result.wantsProxyLogin = reply.error() == QNetworkReply::ProxyAuthenticationRequiredError;
    result.isTlsError = reply.error() == QNetworkReply::SslHandshakeFailedError;
    result.isCut = result.status != 0 && reply.error() != QNetworkReply::NoError && reply.error() < firstAnswerError;
    if (result.status == 0 && reply.error() != QNetworkReply::NoError)
        result.error = reply.errorString();
    else if (result.status == 0)
        result.error = QStringLiteral("no reply");
}

enum class Trust { Checked, Any };

QNetworkRequest toNetworkRequest(const HttpRequest& sent) {
    QNetworkRequest request(sent.url);
    request.setTransferTimeout(sent.limitMs);
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::ManualRedirectPolicy);
    request.setAttribute(QNetworkRequest::Http2AllowedAttribute, false);
    if (!sent.authorization.isEmpty())
        request.setRawHeader("Authorization", sent.authorization);
    if (!sent.form.isEmpty())
        request.setHeader(QNetworkRequest::ContentTypeHeader, QByteArrayLiteral("application/x-www-form-urlencoded"));
    if (!sent.ifModifiedSince.isEmpty())
        request.setRawHeader("If-Modified-Since", sent.ifModifiedSince);
    return request;
}

HttpReply send(const HttpRequest& sent, Trust trust, const Cancellation* cancellation) {
    HttpReply result;
    QNetworkAccessManager manager;
    // Qt asks again, with empty credentials, whenever the proxy has refused them: so they are given once.
    bool isFilled = false;
    QObject::connect(&manager, &QNetworkAccessManager::proxyAuthenticationRequired, &manager,
                     [&isFilled](const QNetworkProxy& proxy, QAuthenticator* authenticator) {
                         if (!std::exchange(isFilled, true))
                             fillProxyCredentials(proxy, *authenticator);
                     });
    const QNetworkRequest request = toNetworkRequest(sent);
    const std::unique_ptr<QNetworkReply> reply(sent.form.isEmpty() ? manager.get(request) : manager.post(request, sent.form));
    QObject::connect(reply.get(), &QNetworkReply::sslErrors, reply.get(), [&](const QList<QSslError>& errors) {
        result.tlsError = errors.value(0);
        if (trust == Trust::Any)
            reply->ignoreSslErrors();
    });
    QEventLoop loop;
    QObject::connect(reply.get(), &QNetworkReply::finished, &loop, &QEventLoop::quit);
    if (cancellation)
        QObject::connect(cancellation, &Cancellation::cancelled, reply.get(), &QNetworkReply::abort);
    QObject::connect(reply.get(), &QNetworkReply::downloadProgress, reply.get(), [&](qint64 received, qint64) {
        result.isTooLarge = received > largestBody;
        if (result.isTooLarge)
            reply->abort();
    });
    if (!reply->isFinished() && !(cancellation && cancellation->isRequested()))
        loop.exec();
    readReply(*reply, result);
    return result;
}

} // namespace

HttpReply httpSend(const HttpRequest& request, const Cancellation* cancellation) {
    return send(request, Trust::Checked, cancellation);
}

HttpReply httpGet(const QUrl& url, const QString& authorization, const Cancellation& cancellation) {
    return httpSend({url, authorization.toLatin1()}, &cancellation);
}

QDateTime untrustedTime(const QUrl& url, const Cancellation& cancellation) {
    return send({url}, Trust::Any, &cancellation).date;
}

} // namespace Vqws
