// The part of a product's session that has to do with its life: activation, clients that refer to it, its need of tokens.

#include "Session/Core/SessionState.h"
#include "Session/Operations/TokenOwner.h"
#include "Session/Products/ProductLoginSession.h"
#include "Session/Products/RequestFlags.h"
#include "Session/Products/TokenOperations.h"
#include "Tokens/OAuth2/OAuth2Exchange.h"
#include "Values/WebServicesConfigurationImp.h"

#include <QReadLocker>
#include <QWriteLocker>

namespace Velquor::WebServices::Internal {

void ProductLoginSession::Activate(SessionState& state) {
    const QWriteLocker lock(&m_lock);
    if (m_deactivated || !m_configuration || m_operations)
        return;
    m_services.loggers.product->information(
        QStringLiteral("Activating ProductLoginSession, server %1").arg(serverName(m_server)));
    m_owner = std::make_unique<TokenOwner>(state, *this);
    m_operations =
        std::make_unique<TokenOperations>(*m_owner, std::make_unique<RequestFlags>(m_services.processState, m_productKey),
                                          WebServicesConfigurationImp::of(*m_configuration).derivedKey());
}

TokenOperations* ProductLoginSession::operations() const {
    const QReadLocker lock(&m_lock);
    return m_operations.get();
}

void ProductLoginSession::DeleteCacheSlot(CacheType type) {
    TokenOperations* const running = operations();
    if (!running)
        return;
    m_services.loggers.product->information(
        QStringLiteral("Slot called to delete cache %1, server %2").arg(cacheTypeName(type), serverName(m_server)));
    running->caches().DeleteCache(type);
}

void ProductLoginSession::endCaches() {
    if (TokenOperations* const running = operations()) {
        running->caches().post(&CacheStore::LoggedOut);
        running->caches().close();
    }
}

void ProductLoginSession::enableCache(CacheType type) {
    if (TokenOperations* const running = operations())
        running->caches().EnableCache(type, true);
}

void ProductLoginSession::retire() {
    TokenOperations* operations = nullptr;
    {
        const QWriteLocker lock(&m_lock);
        m_deactivated = true;
        operations = m_operations.get();
    }
    if (!operations)
        return;
    m_owner->stop();
    operations->requestStop();
}

void ProductLoginSession::Deactivate() {
    m_services.loggers.product->information(
        QStringLiteral("Deactivating ProductLoginSession, server %1").arg(serverName(m_server)));
    retire();
    if (TokenOperations* const running = operations())
        running->waitForThread();
    const QWriteLocker lock(&m_lock);
    if (m_clientReferences.isEmpty()) {
        m_services.loggers.product->information(
            QStringLiteral("Deleting configuration in product login session since no client references it"));
        m_configuration.reset();
        return;
    }
    m_services.loggers.product->information(
        QStringLiteral(
            "Skipped deleting configuration in product login session since clients reference it. Client references (%1): %2")
            .arg(m_clientReferences.size())
            .arg(describeReferences()));
}

bool ProductLoginSession::isAtRest() const {
    const TokenOperations* const running = operations();
    return !running || running->isStopped();
}

void ProductLoginSession::AddClientReference(const QString& clientKey) {
    const QWriteLocker lock(&m_lock);
    if (clientKey.isEmpty() || m_clientReferences.contains(clientKey))
        return;
    m_services.loggers.product->information(QStringLiteral("Adding client reference %1 in product login session").arg(clientKey));
    m_clientReferences.insert(clientKey);
    m_services.loggers.product->information(
        QStringLiteral("Added client reference %1 in product login session. Client references (%2): %3")
            .arg(clientKey)
            .arg(m_clientReferences.size())
            .arg(describeReferences()));
}

void ProductLoginSession::RemoveClientReference(const QString& clientKey) {
    const QWriteLocker lock(&m_lock);
    m_services.loggers.product->information(
        QStringLiteral("Removing client reference %1 in product login session").arg(clientKey));
    m_clientReferences.remove(clientKey);
    m_services.loggers.product->information(
        QStringLiteral("Removed client reference %1 in product login session. Client references (%2): %3")
            .arg(clientKey)
            .arg(m_clientReferences.size())
            .arg(describeReferences()));
}

QString ProductLoginSession::clientReferences() const {
    const QReadLocker lock(&m_lock);
    return describeReferences();
}

QString ProductLoginSession::describeReferences() const {
    QStringList keys(m_clientReferences.cbegin(), m_clientReferences.cend());
    keys.sort();
    return keys.join(QStringLiteral(", "));
}

bool ProductLoginSession::CheckTokensToQuery(const SessionState& state) {
    Log::ILogger& logger = *m_services.loggers.product;
    logger.information(QStringLiteral("Checking if tokens need to be queried"));
    TokenOperations* const operations = this->operations();
    if (!configuration() || !operations) {
        logger.information(QStringLiteral("No need to query tokens. No configuration."));
        return false;
    }
    if (state.currentServer() != m_server) {
        logger.information(QStringLiteral("No need to query tokens, server %1 since current server is %2")
                               .arg(serverName(m_server), serverName(state.currentServer())));
        return false;
    }
    if (!tokens().areComplete())
        return operations->checkAutomaticLogin();
    logger.information(QStringLiteral("Tokens found. Checking if OAuth2 token needs to be queried."));
    operations->tokensChanged();
    checkOAuth2Tokens();
    return true;
}

void ProductLoginSession::EnableOAuth2(const QVector<OAuth2TokenSpec>& specs) {
    TokenOperations* const operations = this->operations();
    const ConfigurationPointer configuration = this->configuration();
    if (!operations || !configuration || !m_oauth2.enable(specs, *m_owner, *operations))
        return;
    if (!hasOAuth2Keys(*configuration))
        m_services.loggers.product->warning(
            QStringLiteral(
                "OAuth2 enabled, but OAuth2 consumer keys are not set for %1 server. OAuth2 token will not be queried.")
                .arg(serverName(m_server)));
}

void ProductLoginSession::checkOAuth2Tokens() const {
    Log::ILogger& logger = *m_services.loggers.product;
    if (!m_oauth2.isEnabled()) {
        logger.information(QStringLiteral("OAuth2 token doesn't need to be queried since OAuth2 is disabled"));
        return;
    }
    const ConfigurationPointer configuration = this->configuration();
    if (!configuration || !hasOAuth2Keys(*configuration)) {
        logger.information(QStringLiteral(
            "OAuth2 is currently enabled for this consumer key by some process, but OAuth2 keys are not set in this process. OAuth2 token will not be queried in this process."));
        return;
    }
    for (const OAuth2SessionPointer& session : m_oauth2.all()) {
        if (session->token().isPresent()) {
            logger.information(QStringLiteral("OAuth2 token doesn't need to be queried since it is already available"));
            continue;
        }
        logger.information(QStringLiteral("OAuth2 token needs to be queried"));
        (void)session->QueryOAuth2Token(false);
    }
}

} // namespace Velquor::WebServices::Internal
