#include "Doctor/Checks.h"
#include "HttpReply.h"

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

Cure signInAtProxy(const SetUp& setUp) {
    return signOutAndIn(setUp, QStringLiteral("enter the credentials when any product asks for them, or here in a terminal"));
}

// A request through the proxy shows whether it leads to the server. What the server answers is the concern of another check.
Finding checkWay(const SetUp& setUp, const QUrl& account, const QString& address, const Cancellation& cancellation) {
    const bool isStored = WebServicesManager::GetInstance()->HasProxyInfo();
    const HttpReply reply = httpGet(account, {}, cancellation);
    if (reply.wantsProxyLogin)
        return fault(name,
                     isStored ? QStringLiteral("the proxy %1 refuses the stored credentials").arg(address)
                              : QStringLiteral("the proxy %1 asks for credentials, and none are stored").arg(address),
                     signInAtProxy(setUp));
    if (reply.status == 0 && !reply.isTlsError)
        return fault(
            name, QStringLiteral("the proxy %1 does not lead to %2: %3").arg(address, account.host(), reply.error),
            act(QStringLiteral("when AccountServerUrl in the URL file is right, whoever runs the proxy must let it lead there")));
    return ok(name, address + (isStored ? QStringLiteral(", credentials of a proxy are stored") : QString()));
}

} // namespace

Findings checkProxy(const SetUp& setUp, const Cancellation& cancellation) {
    const QUrl account(WebServicesPrivate::GetUrl(QStringLiteral("AccountServerUrl")));
    const QNetworkProxy proxy = QNetworkProxyFactory::proxyForQuery(QNetworkProxyQuery(account)).value(0);
    const bool isStored = WebServicesManager::GetInstance()->HasProxyInfo();
    if (proxy.type() == QNetworkProxy::NoProxy || proxy.hostName().isEmpty())
        return {ok(name, isStored ? QStringLiteral("none in use; credentials of one are stored") : QStringLiteral("none"))};
    const QString address = QStringLiteral("%1:%2").arg(proxy.hostName()).arg(proxy.port());
    if (!answers(proxy))
        return {fault(name, QStringLiteral("the proxy %1 does not answer").arg(address),
                      act(QStringLiteral("correct or switch off the proxy in the settings of the system")))};
    return {checkWay(setUp, account, address, cancellation)};
}

} // namespace Vqws
