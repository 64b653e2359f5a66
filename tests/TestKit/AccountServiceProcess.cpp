#include "TestKit/AccountServiceProcess.h"

#include "TestKit/Files.h"

#include <QDeadlineTimer>
#include <QEventLoop>
#include <QJsonArray>
#include <QJsonDocument>
#include <QNetworkAccessManager>
#include <QNetworkProxy>
#include <QNetworkReply>
#include <QSslCertificate>
#include <QSslConfiguration>
#include <QTimer>
#include <memory>

namespace Velquor::TestKit {

namespace {

constexpr int timeoutMs = 60000;

/// Waits for the reply; what it says, and "ok", or nothing when it has failed.
QJsonObject answerOf(QNetworkReply* sent) {
    const std::unique_ptr<QNetworkReply> reply(sent);
    QEventLoop loop;
    QObject::connect(reply.get(), &QNetworkReply::finished, &loop, &QEventLoop::quit);
    QTimer::singleShot(timeoutMs, &loop, &QEventLoop::quit);
    if (!reply->isFinished())
        loop.exec();
    if (reply->error() != QNetworkReply::NoError)
        return {};
    QJsonObject answer = QJsonDocument::fromJson(reply->readAll()).object();
    answer.insert("ok", true);
    return answer;
}

} // namespace

void AccountServiceProcess::trust(const QString& authorityFile) {
    QSslConfiguration configuration = QSslConfiguration::defaultConfiguration();
    configuration.setCaCertificates(configuration.caCertificates() + QSslCertificate::fromPath(authorityFile));
    QSslConfiguration::setDefaultConfiguration(configuration);
}

bool AccountServiceProcess::start(const QStringList& options) {
    const QString program = qEnvironmentVariable("VQ_SOURCE_DIR") + QStringLiteral("/dev/account-service/account-service");
    const QStringList arguments{"--out", OutsideProgram::pathFor(folder()), "--exit-with-parent"};
    if (!m_program.start(program, arguments + options))
        return false;
    // The file is moved into place when the service is ready.
    const QDeadlineTimer deadline(timeoutMs);
    while (m_info.isEmpty() && !deadline.hasExpired() && !m_program.waitForFinished(20))
        m_info = QJsonDocument::fromJson(readFile(folder() + QStringLiteral("/service.json"))).object();
    m_token = readFile(m_info.value("control_token_file").toString()).trimmed();
    trust(authorityFile());
    return !url().isEmpty() && !m_token.isEmpty();
}

QJsonObject AccountServiceProcess::control(const QString& path, const QJsonValue& body) {
    QNetworkAccessManager manager;
    manager.setProxy(QNetworkProxy::NoProxy);
    QNetworkRequest request(QUrl(m_info.value("control_url").toString() + QStringLiteral("/control/") + path));
    request.setRawHeader("X-Control-Token", m_token);
    request.setHeader(QNetworkRequest::ContentTypeHeader, "application/json");
    const QByteArray data = QJsonDocument(body.toObject()).toJson();
    return answerOf(body.isUndefined() ? manager.get(request) : manager.post(request, data));
}

bool AccountServiceProcess::approve(const QString& signInUrl, const QString& user) {
    return !control("approve", QJsonObject{{"url", signInUrl}, {"user", user}}).isEmpty();
}

bool AccountServiceProcess::addFault(const QString& endpoint, const QString& kind, QJsonObject details, int count) {
    details.insert("endpoint", endpoint);
    details.insert("kind", kind);
    details.insert("count", count);
    return !control("faults", details).isEmpty();
}

bool AccountServiceProcess::reset() {
    return !control("reset", QJsonObject{}).isEmpty();
}

QString AccountServiceProcess::userWhoAsks(const QByteArray& url, const QByteArray& authorization) const {
    QNetworkAccessManager manager;
    QNetworkRequest request(QUrl::fromEncoded(url));
    request.setRawHeader("Authorization", authorization);
    return answerOf(manager.get(request)).value("user").toString();
}

int AccountServiceProcess::requests(const QString& endpoint) {
    int count = 0;
    const QJsonArray log = control("log").value("requests").toArray();
    for (const QJsonValue& entry : log)
        count += entry.toObject().value("endpoint").toString() == endpoint ? 1 : 0;
    return count;
}

} // namespace Velquor::TestKit
