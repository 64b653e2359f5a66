#include "Session/Products/ProductLoginSession.h"

#include "Session/Products/RequestFlags.h"
#include "Session/Products/TokenOperations.h"
#include "Session/State/StorableText.h"
#include "Tokens/OAuth2/OAuth2Exchange.h"
#include "Values/WebServicesConfigurationImp.h"

#include <QReadLocker>
#include <QWriteLocker>
#include <mutex>
#include <utility>

namespace Velquor::WebServices::Internal {

namespace {

constexpr int shortKeyLength = 12;

// Long enough to distinguish products in the log.
QString shortKey(const QString& key) {
    const int dash = key.lastIndexOf(QLatin1Char('-'));
    return dash >= 0 ? key.mid(dash + 1) : key.right(shortKeyLength);
}

SessionDependencies withPrefix(SessionDependencies services, const std::shared_ptr<const Log::LogPrefix>& prefix) {
    services.loggers = services.loggers.withPrefix(prefix);
    return services;
}

} // namespace

ProductLoginSession::ProductLoginSession(SessionDependencies services, const QString& productKey, Server server,
                                         const QString& clientKey)
    : m_services(withPrefix(std::move(services), m_prefix))
    , m_productKey(productKey)
    , m_server(server)
    , m_clientReferences(m_services.loggers.product)
    , m_oauth2(m_services.loggers.oauth2) {
    renewPrefix();
    m_services.loggers.product->information(
        QStringLiteral("ProductLoginSession constructor for product %1").arg(clientKey.isEmpty() ? productKey : clientKey));
}

ProductLoginSession::~ProductLoginSession() {
    m_services.loggers.product->information(
        QStringLiteral("ProductLoginSession destructor, server %1").arg(serverName(m_server)));
    if (m_owner)
        m_owner->stop();
}

void ProductLoginSession::setProduct(const QString& name, const QString& exeName) {
    const QWriteLocker lock(&m_lock);
    m_name = name;
    m_exeName = exeName;
    renewPrefix();
}

QString ProductLoginSession::displayName() const {
    const QReadLocker lock(&m_lock);
    return m_name.isEmpty() ? shortKey(m_productKey) : m_name;
}

void ProductLoginSession::renewPrefix() {
    const QString number = QString::number(m_server);
    m_prefix->set(m_name.isEmpty() ? QStringLiteral("%1.%2").arg(shortKey(m_productKey), number)
                                   : QStringLiteral("%1.%2.%3").arg(m_name, shortKey(m_productKey), number));
}

void ProductLoginSession::Activate(std::unique_ptr<ITokenOwner> owner) {
    const QWriteLocker lock(&m_lock);
    if (m_deactivated || !m_configuration || m_operations)
        return;
    m_services.loggers.product->information(
        QStringLiteral("Activating ProductLoginSession, server %1").arg(serverName(m_server)));
    m_owner = std::move(owner);
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
    if (m_clientReferences.count() == 0) {
        m_services.loggers.product->information(
            QStringLiteral("Deleting configuration in product login session since no client references it"));
        m_configuration.reset();
        return;
    }
    m_services.loggers.product->information(
        QStringLiteral(
            "Skipped deleting configuration in product login session since clients reference it. Client references (%1): %2")
            .arg(QString::number(m_clientReferences.count()), m_clientReferences.text()));
}

bool ProductLoginSession::isAtRest() const {
    const TokenOperations* const running = operations();
    return !running || running->isStopped();
}

void ProductLoginSession::SetConfiguration(const ConfigurationPointer& configuration) {
    const std::lock_guard<Util::IRecursiveLock> operation(m_operationLock);
    const QWriteLocker lock(&m_lock);
    m_configuration = configuration;
}

ConfigurationPointer ProductLoginSession::configuration() const {
    const QReadLocker lock(&m_lock);
    return m_configuration;
}

ProductTokens ProductLoginSession::tokens() const {
    const QReadLocker lock(&m_lock);
    return m_tokens;
}

void ProductLoginSession::setTokens(const ProductTokens& tokens) {
    const std::lock_guard<Util::IRecursiveLock> operation(m_operationLock);
    const QWriteLocker lock(&m_lock);
    m_tokens = tokens;
}

StoredProduct ProductLoginSession::stored() const {
    const QVector<OAuth2TokenData> oauth2Tokens = m_oauth2.tokens();
    const QReadLocker lock(&m_lock);
    StoredProduct product;
    product.productKey = m_productKey;
    product.name = m_name;
    product.exeName = m_exeName;
    product.serialNumber = m_configuration ? WebServicesConfigurationImp::of(*m_configuration).serialNumber : QString();
    product.server = m_server;
    product.tokens = m_tokens;
    product.oauth2Tokens = oauth2Tokens;
    return product;
}

void ProductLoginSession::Load(const StoredProduct& product) {
    const std::lock_guard<Util::IRecursiveLock> operation(m_operationLock);
    {
        const QWriteLocker lock(&m_lock);
        m_tokens = product.tokens;
        if (m_name.isEmpty())
            m_name = product.name;
        if (m_exeName.isEmpty())
            m_exeName = product.exeName;
        renewPrefix();
    }
    m_oauth2.load(product.oauth2Tokens);
    m_services.loggers.product->information(QStringLiteral("Loaded product login session"));
}

std::optional<StoredProduct> ProductLoginSession::Save() const {
    StoredProduct product = stored();
    if (!product.tokens.areComplete()) {
        m_services.loggers.product->information(QStringLiteral("Skipping saving of login session. No session to persist."));
        return {};
    }
    // A key that the file cannot hold would come back as another one.
    if (!configuration() || m_productKey.isEmpty() || storableText(m_productKey) != m_productKey) {
        m_services.loggers.product->error(
            QStringLiteral("Failed to save login session, server %1. No consumer key.").arg(serverName(m_server)));
        return {};
    }
    m_services.loggers.product->information(QStringLiteral("Saved product login session"));
    return product;
}

void ProductLoginSession::Clear() {
    m_services.loggers.product->information(QStringLiteral("Clearing product login session"));
    const std::lock_guard<Util::IRecursiveLock> operation(m_operationLock);
    {
        const QWriteLocker lock(&m_lock);
        m_tokens = {};
    }
    m_oauth2.clear();
}

Util::Result<SigningKeys> ProductLoginSession::signingKeys() const {
    const ConfigurationPointer current = configuration();
    const ProductTokens held = tokens();
    if (!current)
        return Util::Failure{QStringLiteral("Current configuration is null or invalid")};
    if (held.accessToken.isEmpty())
        return Util::Failure{QStringLiteral("Access token is empty")};
    if (held.accessTokenSecret.isEmpty())
        return Util::Failure{QStringLiteral("Access token secret is empty")};
    SigningKeys keys = consumerKeys(*current);
    if (keys.consumerKey.isEmpty())
        return Util::Failure{QStringLiteral("Failed to decrypt consumer key")};
    if (keys.consumerSecret.isEmpty())
        return Util::Failure{QStringLiteral("Failed to decrypt consumer secret")};
    keys.token = m_services.cryptor->decrypt(held.accessToken);
    if (keys.token.isEmpty())
        return Util::Failure{QStringLiteral("Failed to decrypt access token")};
    keys.tokenSecret = m_services.cryptor->decrypt(held.accessTokenSecret);
    if (keys.tokenSecret.isEmpty())
        return Util::Failure{QStringLiteral("Failed to decrypt access token secret")};
    return keys;
}

Util::SecretBytes ProductLoginSession::sessionHandle() const {
    return m_services.cryptor->decrypt(tokens().sessionHandle);
}

bool ProductLoginSession::CheckTokensToQuery(Server currentServer) {
    Log::ILogger& logger = *m_services.loggers.product;
    logger.information(QStringLiteral("Checking if tokens need to be queried"));
    TokenOperations* const operations = this->operations();
    if (!configuration() || !operations) {
        logger.information(QStringLiteral("No need to query tokens. No configuration."));
        return false;
    }
    if (currentServer != m_server) {
        logger.information(QStringLiteral("No need to query tokens, server %1 since current server is %2")
                               .arg(serverName(m_server), serverName(currentServer)));
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
