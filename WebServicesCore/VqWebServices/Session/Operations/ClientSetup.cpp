#include "Session/Operations/ClientSetup.h"

#include "Session/Operations/ProductConfigurator.h"
#include "Session/Operations/ProductStateLoader.h"
#include "Values/WebServicesConfigurationImp.h"
#include "VqLog/CallReport.h"

namespace Velquor::WebServices::Internal {

ClientSetup::ClientSetup(SessionState& state)
    : m_state(state)
    , m_logger(*state.services().loggers.session) {}

void ClientSetup::remove(const QString& clientKey) {
    LockedState state(m_state);
    const QString name = m_state.clients().displayName(clientKey);
    m_logger.information(QStringLiteral("Removing client %1").arg(name));
    if (const ProductSessionPointer product = m_state.product(clientKey)) {
        product->RemoveClientReference(clientKey);
        // Another client of this process may be the same product.
        if (product->clientReferences().count() == 0) {
            m_logger.information(QStringLiteral("Deleting product login session for product %1, server %2")
                                     .arg(name, serverName(product->server())));
            state.removePendingSignIn(product->productKey());
            state.products().remove(product->productKey(), product->server());
        }
    }
    m_state.clients().remove(clientKey);
}

bool ClientSetup::setConfiguration(const QString& clientKey, const WebServicesConfiguration& configuration) {
    const auto copy = std::make_shared<const WebServicesConfiguration>(configuration);
    if (clientKey.isEmpty() || !WebServicesConfigurationImp::of(*copy).isValid()) {
        Log::CallReport::fail(Log::CallFailure::BadArgument);
        m_logger.error(QStringLiteral(
            "Failed to set configuration. The client key, the consumer key or the consumer secret is empty, or the server is not valid."));
        return false;
    }
    LockedState state(m_state);
    const QString server = serverName(copy->GetServer());
    if (!m_state.clients().contains(clientKey)) {
        m_logger.error(QStringLiteral("Failed to set configuration for %1 server. Client info not found for client key %2.")
                           .arg(server, clientKey));
        return false;
    }
    m_logger.information(QStringLiteral("Setting configuration for %1 server").arg(server));
    m_state.clients().setConfiguration(clientKey, copy);
    const std::optional<QString> waiting = reasonToWait(copy->GetServer());
    if (waiting) {
        m_logger.information(*waiting);
        return true;
    }
    ProductStateLoader(state).loadProduct(clientKey);
    m_logger.information(QStringLiteral("creating product login session if login is already restored and currently logged in."));
    if (const ProductSessionPointer product = ProductConfigurator(state).configure(clientKey))
        product->CheckTokensToQuery(m_state.currentServer());
    return true;
}

std::optional<QString> ClientSetup::reasonToWait(Server server) const {
    if (server != m_state.currentServer())
        return QStringLiteral("Configuration is set for %1 server. Skipping token query check since current server is %2.")
            .arg(serverName(server), serverName(m_state.currentServer()));
    if (!m_state.isRestored())
        return QStringLiteral(
                   "Configuration is set for %1 server. Skipping token query check since login state is not yet restored.")
            .arg(serverName(server));
    // The product that is configured may be the only one, and its tokens are still to be read.
    if (!m_state.basic().hasUser())
        return QStringLiteral("Configuration is set for %1 server. Skipping token query check since not logged in currently.")
            .arg(serverName(server));
    return {};
}

} // namespace Velquor::WebServices::Internal
