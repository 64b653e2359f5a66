#include "Network/NetworkAccessManager.h"

#include <QNetworkRequest>
#include <mutex>

namespace Velquor::WebServices {
namespace {

void stopInterfacePolling() {
    static std::once_flag once;
    std::call_once(once, [] {
        // The longest interval there is: a negative one would stop polling too, but with a warning from the framework.
        if (!qEnvironmentVariableIsSet("QT_BEARER_POLL_TIMEOUT"))
            qputenv("QT_BEARER_POLL_TIMEOUT", QByteArrayLiteral("2147483647"));
    });
}

/// The base class must find polling switched off when it is constructed.
QObject* afterPollingStopped(QObject* parent) {
    stopInterfacePolling();
    return parent;
}

} // namespace

NetworkAccessManager::NetworkAccessManager(std::shared_ptr<Log::ILogger> logger, QObject* parent)
    : QNetworkAccessManager(afterPollingStopped(parent))
    , m_logger(std::move(logger)) {
    setRedirectPolicy(QNetworkRequest::ManualRedirectPolicy);
}

QNetworkReply* NetworkAccessManager::createRequest(Operation operation, const QNetworkRequest& request, QIODevice* body) {
    QNetworkRequest hardened(request);
    hardened.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::ManualRedirectPolicy);
    if (!hardened.hasRawHeader("Accept-Encoding"))
        hardened.setRawHeader("Accept-Encoding", "identity");
    // Under a custom verb the framework would wait for the body that an answer to HEAD announces and never has.
    const QByteArray verb = hardened.attribute(QNetworkRequest::CustomVerbAttribute).toByteArray();
    if (operation == CustomOperation && verb.compare("HEAD", Qt::CaseInsensitive) == 0)
        return QNetworkAccessManager::createRequest(HeadOperation, hardened, nullptr);
    return QNetworkAccessManager::createRequest(operation, hardened, body);
}

} // namespace Velquor::WebServices
