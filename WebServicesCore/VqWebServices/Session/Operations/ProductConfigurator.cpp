#include "Session/Operations/ProductConfigurator.h"

#include "Caches/CacheStore.h"
#include "Session/Operations/TokenOwner.h"

#include <QFileInfo>

namespace Velquor::WebServices::Internal {

ProductConfigurator::ProductConfigurator(LockedState& state)
    : m_state(state) {}

ProductSessionPointer ProductConfigurator::configure(const QString& clientKey) {
    const Server server = m_state->currentServer();
    const ConfigurationPointer configuration = m_state->clients().configuration(clientKey, server);
    if (!configuration)
        return {};
    ProductSessionPointer session =
        m_state.products().getOrCreate(m_state->clients().productKey(clientKey, server), server, clientKey);
    if (!session)
        return {};
    m_state->services().loggers.session->information(
        QStringLiteral("Setting configuration in product login session for %1 server").arg(serverName(server)));
    session->SetConfiguration(configuration);
    if (!m_state->clients().contains(clientKey)) {
        m_state->services().loggers.session->error(
            QStringLiteral("Failed to apply product settings in product login session. Client info not found for product id %1.")
                .arg(clientKey));
        return session;
    }
    m_state->services().loggers.session->information(QStringLiteral("Applying product settings in product login session"));
    const ClientIdentity identity = m_state->clients().identity(clientKey);
    session->setProduct(identity.productName, QFileInfo(identity.productExeFile).fileName());
    session->AddClientReference(clientKey);
    session->Activate(std::make_unique<TokenOwner>(*m_state, *session));
    const OAuth2Settings oauth2 = m_state->clients().oauth2(clientKey);
    if (oauth2.isEnabled)
        session->EnableOAuth2(oauth2.specs);
    for (const CacheType type : cacheTypes) {
        if (m_state->clients().isCacheEnabled(clientKey, type))
            session->enableCache(type);
    }
    return session;
}

void ProductConfigurator::configureAll() {
    if (!m_state->isLoggedIn())
        return;
    const QStringList configured = m_state->clients().configuredFor(m_state->currentServer());
    for (const QString& clientKey : configured) {
        if (const ProductSessionPointer session = configure(clientKey))
            session->CheckTokensToQuery(m_state->currentServer());
    }
}

} // namespace Velquor::WebServices::Internal
