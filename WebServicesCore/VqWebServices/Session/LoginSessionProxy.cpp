// The part of the login session that keeps the proxy credentials.

#include "Session/LoginSession.h"

#include <QMutexLocker>

namespace Velquor::WebServices::Internal {

bool LoginSession::SetProxyAuthentication(const QString& host, int port, const QString& user, const QString& password) {
    const QMutexLocker lock(&m_state.lock);
    return m_state.proxy.SetProxyAuthentication(host, port, user, password);
}

bool LoginSession::ClearProxyInfo() {
    const QMutexLocker lock(&m_state.lock);
    return m_state.proxy.ClearProxyInfo();
}

void LoginSession::loadProxyInfo() {
    const QMutexLocker lock(&m_state.lock);
    m_state.proxy.loadFromFile();
}

ProxyLogin LoginSession::findProxyLogin(const ProxyAddress& proxy, const RefusedLogins& refused) const {
    return m_state.isStopped ? ProxyLogin() : m_state.proxy.find(proxy, refused);
}

void LoginSession::keepProxyLogin(const ProxyAddress& proxy, const ProxyLogin& login) {
    if (m_state.isStopped)
        return;
    // A sign-in holds the lock while it waits for its own answer of the network, which may need this very login.
    if (m_state.lock.try_lock()) {
        m_state.proxy.SetProxyAuthentication(proxy.host, proxy.port, login.user, login.password);
        m_state.lock.unlock();
        return;
    }
    QMetaObject::invokeMethod(
        this, [this, proxy, login] { SetProxyAuthentication(proxy.host, proxy.port, login.user, login.password); },
        Qt::QueuedConnection);
}

} // namespace Velquor::WebServices::Internal
