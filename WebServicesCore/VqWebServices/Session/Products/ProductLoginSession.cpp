#include "Session/Products/ProductLoginSession.h"

#include "Session/Operations/TokenOwner.h"
#include "Session/Products/TokenOperations.h"
#include "Session/State/LoginStateNames.h"
#include "Session/State/LoginStateXml.h"
#include "Session/State/OAuth2TokenNodes.h"
#include "Values/WebServicesConfigurationImp.h"

#include <QMutexLocker>
#include <QReadLocker>
#include <QWriteLocker>
#include <utility>

namespace Velquor::WebServices::Internal {

namespace Names = LoginStateNames;

namespace {

constexpr int shortKeyLength = 12;
const auto accessTokenName = QStringLiteral("AccessToken");

// Enough of a consumer key to tell products apart in the log.
QString shortKey(const QString& key) {
    const int dash = key.lastIndexOf(QLatin1Char('-'));
    return dash >= 0 ? key.mid(dash + 1) : key.right(shortKeyLength);
}

SessionDependencies withPrefix(SessionDependencies services, const std::shared_ptr<const Log::LogPrefix>& prefix) {
    services.loggers = services.loggers.withPrefix(prefix);
    return services;
}

// A signature needs both a key and its secret; each failure has a text of its own.
QString checkKeys(const SigningKeys& keys) {
    if (keys.consumerKey.isEmpty())
        return QStringLiteral("Failed to decrypt consumer key.");
    if (keys.consumerSecret.isEmpty())
        return QStringLiteral("Failed to decrypt consumer secret.");
    if (keys.token.isEmpty())
        return QStringLiteral("Failed to decrypt access token");
    if (keys.tokenSecret.isEmpty())
        return QStringLiteral("Failed to decrypt access token secret");
    return {};
}

} // namespace

ProductLoginSession::ProductLoginSession(SessionDependencies services, const QString& productKey, Server server)
    : m_services(withPrefix(std::move(services), m_prefix))
    , m_productKey(productKey)
    , m_server(server)
    , m_oauth2(m_services.loggers.oauth2) {
    renewPrefix();
    m_services.loggers.product->information(QStringLiteral("ProductLoginSession constructor for product %1").arg(productKey));
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
    const int number = static_cast<int>(m_server);
    m_prefix->set(m_name.isEmpty() ? QStringLiteral("%1.%2").arg(shortKey(m_productKey)).arg(number)
                                   : QStringLiteral("%1.%2.%3").arg(m_name, shortKey(m_productKey)).arg(number));
}

void ProductLoginSession::SetConfiguration(const ConfigurationPointer& configuration) {
    const QMutexLocker operation(&m_operationLock);
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
    const QMutexLocker operation(&m_operationLock);
    const QWriteLocker lock(&m_lock);
    m_tokens = tokens;
}

void ProductLoginSession::setRequestToken(const RequestToken& token) {
    const QWriteLocker lock(&m_lock);
    m_requestToken = token;
}

ProductLoginSession::RequestToken ProductLoginSession::requestToken() const {
    const QReadLocker lock(&m_lock);
    return m_requestToken;
}

void ProductLoginSession::Load(const QDomElement& product) {
    ProductTokens tokens;
    tokens.accessToken = LoginStateXml::secret(product, accessTokenName);
    tokens.accessTokenSecret = LoginStateXml::secret(product, QStringLiteral("AccessTokenSecret"));
    tokens.sessionHandle = LoginStateXml::secret(product, QStringLiteral("SessionHandle"));
    tokens.expiryDate = LoginStateXml::date(product, Names::tokenExpiryDate);
    const QMutexLocker operation(&m_operationLock);
    {
        const QWriteLocker lock(&m_lock);
        if (!isUnsaved() || tokens.accessToken != m_tokenInFile)
            m_tokens = tokens;
        m_tokenInFile = tokens.accessToken;
        if (m_name.isEmpty())
            m_name = product.attribute(QStringLiteral("Name"));
        if (m_exeName.isEmpty())
            m_exeName = product.attribute(QStringLiteral("ExeName"));
        renewPrefix();
    }
    m_oauth2.load(OAuth2TokenNodes::read(product));
    m_services.loggers.product->information(QStringLiteral("Loaded product login session"));
}

bool ProductLoginSession::isUnsaved() const {
    return m_tokens.areComplete() && m_tokens.accessToken != m_tokenInFile;
}

bool ProductLoginSession::mayReplace(const QDomElement& product, bool isSameSignIn) const {
    const QByteArray inFile = LoginStateXml::secret(product, accessTokenName);
    const QReadLocker lock(&m_lock);
    const bool isKnown = inFile.isEmpty() || inFile == m_tokenInFile || inFile == m_tokens.accessToken;
    return isKnown || (isUnsaved() && !isSameSignIn);
}

void ProductLoginSession::noteFile(const QDomElement& product) {
    const QWriteLocker lock(&m_lock);
    m_tokenInFile = LoginStateXml::secret(product, accessTokenName);
}

void ProductLoginSession::markSaved() {
    const QWriteLocker lock(&m_lock);
    m_tokenInFile = m_tokens.accessToken;
}

bool ProductLoginSession::Save(QDomElement& product, const QDomElement& earlier) const {
    const QVector<OAuth2TokenData> oauth2Tokens = m_oauth2.tokens();
    const QReadLocker lock(&m_lock);
    if (!m_tokens.areComplete()) {
        m_services.loggers.product->information(QStringLiteral("Skipping saving of login session. No session to persist."));
        return false;
    }
    // A key that the file cannot hold would come back as another one.
    if (!m_configuration || m_productKey.isEmpty() || LoginStateXml::storableText(m_productKey) != m_productKey) {
        m_services.loggers.product->error(
            QStringLiteral("Failed to save login session, server %1. No consumer key.").arg(serverName(m_server)));
        return false;
    }
    LoginStateXml::setText(product, QStringLiteral("Name"), m_name);
    LoginStateXml::setText(product, QStringLiteral("ExeName"), m_exeName);
    LoginStateXml::setText(product, QStringLiteral("SerialNumber"),
                           WebServicesConfigurationImp::of(*m_configuration).serialNumber);
    product.setAttribute(Names::server, static_cast<int>(m_server));
    product.setAttribute(Names::productKey, m_productKey);
    LoginStateXml::setDate(product, Names::tokenExpiryDate, m_tokens.expiryDate);
    LoginStateXml::setSecret(product, accessTokenName, m_tokens.accessToken);
    LoginStateXml::setSecret(product, QStringLiteral("AccessTokenSecret"), m_tokens.accessTokenSecret);
    LoginStateXml::setSecret(product, QStringLiteral("SessionHandle"), m_tokens.sessionHandle);
    OAuth2TokenNodes::copy(earlier, product);
    for (const OAuth2TokenData& token : oauth2Tokens)
        OAuth2TokenNodes::put(product, token, false);
    m_services.loggers.product->information(QStringLiteral("Saved product login session"));
    return true;
}

void ProductLoginSession::SaveOAuth2(QDomElement& product, const OAuth2TokenData& fresh) const {
    OAuth2TokenNodes::removeOlderForm(product);
    for (const OAuth2TokenData& token : m_oauth2.tokens())
        OAuth2TokenNodes::put(product, token, false);
    OAuth2TokenNodes::put(product, fresh, true);
}

void ProductLoginSession::Clear() {
    m_services.loggers.product->information(QStringLiteral("Clearing product login session"));
    const QMutexLocker operation(&m_operationLock);
    {
        const QWriteLocker lock(&m_lock);
        m_tokens = {};
        m_tokenInFile.clear();
        m_requestToken = {};
    }
    m_oauth2.clear();
}

QString ProductLoginSession::signingKeys(SigningKeys& keys) const {
    const ConfigurationPointer current = configuration();
    const ProductTokens held = tokens();
    if (!current)
        return QStringLiteral("Current configuration is null or invalid.");
    if (held.accessToken.isEmpty())
        return QStringLiteral("Access token is empty");
    if (held.accessTokenSecret.isEmpty())
        return QStringLiteral("Access token secret is empty");
    keys = consumerKeys(*current);
    keys.token = m_services.cryptor->decrypt(held.accessToken);
    keys.tokenSecret = m_services.cryptor->decrypt(held.accessTokenSecret);
    return checkKeys(keys);
}

Util::SecretBytes ProductLoginSession::sessionHandle() const {
    return m_services.cryptor->decrypt(tokens().sessionHandle);
}

} // namespace Velquor::WebServices::Internal
