#include "Doctor/Checks.h"

#include <QNetworkProxyFactory>
#include <QNetworkProxyQuery>
#include <QTcpSocket>
#include <QUrl>
#include <VqWebServices/WebServicesManager.h>
#include <VqWebServices/WebServicesPrivate.h>

using namespace Velquor::WebServices;

namespace Vqws {

namespace {

constexpr int patienceMs = 3000;

const auto name = QStringLiteral("proxy");

// Connects to the proxy directly, not through a proxy.
bool answers(const QNetworkProxy& proxy) {
    QTcpSocket socket;
    socket.setProxy(QNetworkProxy::NoProxy);
    socket.connectToHost(proxy.hostName(), proxy.port());
    return socket.waitForConnected(patienceMs);
}

} // namespace

Findings checkProxy() {
    const QUrl account(WebServicesPrivate::GetUrl(QStringLiteral("AccountServerUrl")));
    const QNetworkProxy proxy = QNetworkProxyFactory::proxyForQuery(QNetworkProxyQuery(account)).value(0);
    const bool isStored = WebServicesManager::GetInstance()->HasProxyInfo();
    if (proxy.type() == QNetworkProxy::NoProxy || proxy.hostName().isEmpty())
        return {ok(name, isStored ? QStringLiteral("none in use; credentials of one are stored") : QStringLiteral("none"))};
    const QString address = QStringLiteral("%1:%2").arg(proxy.hostName()).arg(proxy.port());
    if (!answers(proxy))
        return {fault(name, QStringLiteral("the proxy %1 does not answer").arg(address),
                      QStringLiteral("correct or switch off the proxy in the settings of the system"))};
    return {ok(name, address + (isStored ? QStringLiteral(", credentials of a proxy are stored") : QString()))};
}

} // namespace Vqws
