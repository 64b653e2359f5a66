#include "Contract/ContractServer.h"

#include "UrlFile.h"

#include <QElapsedTimer>
#include <QUuid>
#include <utility>

namespace Vqws {

namespace {

constexpr int cleanUpLimitMs = 10000;

} // namespace

ContractServer::ContractServer(QJsonObject urls, const ClientKeys& keys, const Cancellation& cancellation)
    : m_urls(std::move(urls))
    , m_product{keys.key.toUtf8(), keys.secret.toUtf8(), {}, {}}
    , m_cancellation(&cancellation) {}

void ContractServer::beginCleanUp() {
    m_cancellation = nullptr;
}

QUrl ContractServer::endPoint(const char* service, const char* path) const {
    return QUrl(endPointText(service, path));
}

QString ContractServer::endPointText(const char* service, const char* path) const {
    const QString base = text(QLatin1String(service));
    const QString end = text(QLatin1String(path));
    return base.isEmpty() || end.isEmpty() ? QString() : joinedAddress(base, end);
}

OAuthKeys ContractServer::keysOf(const FormValues& reply) const {
    return {m_product.consumerKey, m_product.consumerSecret, reply.value("oauth_token"), reply.value("oauth_token_secret")};
}

OAuthStamp ContractServer::stamp(const QByteArray& sessionHandle) const {
    return {serverSeconds(), QUuid::createUuid().toByteArray(QUuid::Id128), sessionHandle};
}

qint64 ContractServer::serverSeconds() const {
    return QDateTime::currentSecsSinceEpoch() + m_offsetSeconds;
}

void ContractServer::setClock() {
    const HttpReply reply = get(QUrl(text(QStringLiteral("AccountServerUrl"))));
    if (reply.date.isValid())
        m_offsetSeconds = QDateTime::currentDateTimeUtc().secsTo(reply.date);
}

HttpReply ContractServer::get(const QUrl& url, const OAuthKeys& keys, const OAuthStamp& stamp,
                              const QByteArray& ifModifiedSince) {
    HttpRequest request;
    request.url = url;
    request.authorization = authorizationHeader(url, keys, stamp);
    request.ifModifiedSince = ifModifiedSince;
    HttpReply reply = send(request);
    // An unsigned request may be refused without a reason.
    if (isRefusal(reply) && !reply.headers.contains("xoauth_problem"))
        m_withoutReason += url.path();
    return reply;
}

HttpReply ContractServer::get(const QUrl& url) {
    HttpRequest request;
    request.url = url;
    return send(request);
}

HttpReply ContractServer::post(const QUrl& url, const QByteArray& form) {
    HttpRequest request;
    request.url = url;
    request.form = form;
    return send(request);
}

HttpReply ContractServer::send(HttpRequest request) {
    if (!m_cancellation)
        request.limitMs = cleanUpLimitMs;
    QElapsedTimer timer;
    timer.start();
    HttpReply reply = httpSend(request, m_cancellation);
    note(request.url, reply, timer.elapsed());
    return reply;
}

void ContractServer::note(const QUrl& url, const HttpReply& reply, qint64 tookMs) {
    m_slowestMs = std::max(m_slowestMs, tookMs);
    if (reply.status != 0 && !reply.date.isValid())
        m_withoutDate += url.path();
}

} // namespace Vqws
