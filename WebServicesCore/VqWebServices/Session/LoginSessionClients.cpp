// The part of the login session that knows its clients, their configurations and their server.

#include "Session/LoginSession.h"

#include "Session/Store/LoginStateSaver.h"
#include "Session/Store/ProductStateLoader.h"
#include "Values/WebServicesConfigurationImp.h"

#include <QMutexLocker>

namespace Velquor::WebServices::Internal {

bool LoginSession::AddClient(const ClientIdentity& identity) {
    const QMutexLocker lock(&m_state.lock);
    m_state.clients.add(identity);
    return true;
}

bool LoginSession::RemoveClient(const QString& clientKey) {
    const QMutexLocker lock(&m_state.lock);
    const QString name = m_state.clients.displayName(clientKey);
    m_logger.information(QStringLiteral("Removing client %1").arg(name));
    if (const ProductSessionPointer product = m_state.product(clientKey)) {
        product->RemoveClientReference(clientKey);
        // Another client of this process may be the same product.
        if (product->clientReferences().isEmpty()) {
            m_logger.information(QStringLiteral("Deleting product login session for product %1, server %2")
                                     .arg(name, serverName(product->server())));
            m_state.products.remove(product->productKey(), product->server());
        }
    }
    m_state.clients.remove(clientKey);
    return true;
}

bool LoginSession::requireClient(const QString& clientKey) const {
    const bool isKnown = isClient(clientKey);
    if (!isKnown)
        m_logger.error(QStringLiteral("Client info not found for client key %1.").arg(clientKey));
    return isKnown;
}

ConfigurationPointer LoginSession::configuration(const QString& clientKey) const {
    return m_state.clients.configuration(clientKey, m_state.currentServer());
}

bool LoginSession::SetConfiguration(const QString& clientKey, const WebServicesConfiguration& configuration) {
    const auto copy = std::make_shared<const WebServicesConfiguration>(configuration);
    if (clientKey.isEmpty() || !WebServicesConfigurationImp::of(*copy).isValid()) {
        m_logger.error(QStringLiteral(
            "Failed to set configuration. The client key, the consumer key or the consumer secret is empty, or the server is not valid."));
        return false;
    }
    catchUp();
    const QMutexLocker lock(&m_state.lock);
    const QString server = serverName(copy->GetServer());
    if (!m_state.clients.contains(clientKey)) {
        m_logger.error(QStringLiteral("Failed to set configuration for %1 server. Client info not found for client key %2.")
                           .arg(server, clientKey));
        return false;
    }
    m_logger.information(QStringLiteral("Setting configuration for %1 server").arg(server));
    m_state.clients.setConfiguration(clientKey, copy);
    QString skipped;
    if (copy->GetServer() != m_state.currentServer())
        skipped = QStringLiteral("Configuration is set for %1 server. Skipping token query check since current server is %2.")
                      .arg(server, serverName(m_state.currentServer()));
    else if (!m_state.isRestored())
        skipped = QStringLiteral(
                      "Configuration is set for %1 server. Skipping token query check since login state is not yet restored.")
                      .arg(server);
    else if (!m_state.isLoggedIn())
        skipped = QStringLiteral("Configuration is set for %1 server. Skipping token query check since not logged in currently.")
                      .arg(server);
    if (!skipped.isEmpty()) {
        m_logger.information(skipped);
        return true;
    }
    ProductStateLoader(m_state).loadProduct(clientKey);
    m_logger.information(QStringLiteral("creating product login session if login is already restored and currently logged in."));
    if (const ProductSessionPointer product = m_state.configuredProduct(clientKey))
        product->CheckTokensToQuery(m_state);
    return true;
}

bool LoginSession::ChangeServer(const QString& clientKey, Server server, bool persist) {
    catchUp();
    if (!m_state.isRestored() && !persist) {
        const QMutexLocker lock(&m_state.lock);
        m_isBasicLoaded = true;
        m_state.setCurrentServer(server);
        return true;
    }
    if (!m_state.isRestored())
        RestoreLogin(clientKey, false);
    const Server before = m_state.currentServer();
    if (server == before)
        return true;
    m_logger.information(QStringLiteral("Changing server from %1 to %2").arg(serverName(before), serverName(server)));
    if (isRealServer(before) && m_state.isLoggedIn()) {
        m_logger.information(
            QStringLiteral("Currently logged in to %1 server. Logging out from this server to change server to %2.")
                .arg(serverName(before), serverName(server)));
        QNetworkReply::NetworkError error = QNetworkReply::NoError;
        if (!Logout(clientKey, error, true)) {
            m_logger.error(QStringLiteral("Failed to change server from %1 to %2. Failed to logout from current server.")
                               .arg(serverName(before), serverName(server)));
            return false;
        }
    }
    {
        const QMutexLocker lock(&m_state.lock);
        m_state.setCurrentServer(server);
        if (persist)
            LoginStateSaver(m_state).save();
    }
    RaiseEvent(Event::ServerChanged, m_state.subjectKey(clientKey), persist);
    m_logger.information(QStringLiteral("Server successfully changed from %1 to %2").arg(serverName(before), serverName(server)));
    return true;
}

} // namespace Velquor::WebServices::Internal
