#include "Session/Operations/SignInFlow.h"

#include "Network/Diagnosis/DisplayUrl.h"
#include "Session/Operations/IdentityParameters.h"
#include "Session/Operations/ProductConfigurator.h"
#include "Session/Products/TokenOperations.h"
#include "Session/State/LoginCookies.h"
#include "Session/State/StorableText.h"
#include "Session/Store/LoginStateStore.h"
#include "Tokens/TokenReply.h"
#include "Values/WebServicesConfigurationImp.h"
#include "VqLog/CallReport.h"
#include "VqLog/KnownSecrets.h"

namespace Velquor::WebServices::Internal {

namespace {

const auto accountServer = QStringLiteral("AccountServerUrl");
// The size of the encrypted cookies. They are a convenience in the browser, and must leave room for the tokens in the login state
// file.
constexpr int maximumCookieSize = 256 * 1024;

} // namespace

SignInFlow::SignInFlow(LockedState& state)
    : m_state(state)
    , m_services(state->services())
    , m_logger(*state->services().loggers.session) {}

Util::Result<void> SignInFlow::checkReady(const QString& clientKey) const {
    if (!m_state->clients().hasAnyConfiguration(clientKey))
        return Util::Failure{QStringLiteral(
            "Failed to initiate login. Configuration is not set. Web services is not initialized properly. To initialize web services set the configuration for each supported server usingWebServicesManager::SetConfiguration and then call WebServicesManager::RestoreLogin.")};
    const Server server = m_state->currentServer();
    if (!m_state->clients().configuration(clientKey, server))
        return Util::Failure{
            QStringLiteral(
                "Failed to initiate login. Configuration is not set for %1 server. Set configuration for each supported server using WebServicesManager::SetConfiguration.")
                .arg(serverName(server))};
    if (!m_state->isRestored())
        return Util::Failure{QStringLiteral(
            "Failed to initiate login. WebServicesManager::RestoreLogin is not called. You should call RestoreLogin after setting the configuration.")};
    return {};
}

AccountReply SignInFlow::exchange(const WebServicesConfiguration& configuration, const SigningKeys& keys, const QUrl& url) const {
    if (!WebServicesConfigurationImp::of(configuration).isValid()) {
        m_logger.error(
            QStringLiteral("Failed to sign request for login. Url: %1. Current configuration is invalid.").arg(displayUrl(url)));
        return {};
    }
    if (!checkConsumerKeys(keys, url))
        return {};
    AccountReply reply = exchangeSignedGet(m_services, url, keys);
    if (!reply.isSigned)
        m_logger.error(
            QStringLiteral(
                "Failed to sign request for login. Url: %1. Velquor::OAuth::VqOAuthWrapper::CreateOauthParameterString failed.")
                .arg(displayUrl(url)));
    return reply;
}

bool SignInFlow::checkConsumerKeys(const SigningKeys& keys, const QUrl& url) const {
    if (keys.consumerKey.isEmpty()) {
        m_logger.error(
            QStringLiteral("Failed to sign request for login: Url: %1. Failed to decrypt consumer key.").arg(displayUrl(url)));
        return false;
    }
    if (keys.consumerSecret.isEmpty()) {
        m_logger.error(
            QStringLiteral("Failed to sign request for login. Url: %1. Failed to decrypt consumer secret.").arg(displayUrl(url)));
        return false;
    }
    return true;
}

InitiatedLogin SignInFlow::initiate(const QString& clientKey, const QString& ldapDomainKey) {
    const Util::Result<void> ready = checkReady(clientKey);
    if (!ready) {
        Log::CallReport::fail(Log::CallFailure::NoConfiguration);
        m_logger.error(ready.reason());
        return {LoginCode::notReady, {}, LoginErrorEx::NotReady, 0};
    }
    const ConfigurationPointer configuration = m_state->clients().configuration(clientKey, m_state->currentServer());
    const QUrl url = withIdentity(
        QUrl(m_services.urls->endPoint(m_state->currentServer(), accountServer, QStringLiteral("RequestTokenEndPoint"))),
        WebServicesConfigurationImp::of(*configuration));
    m_logger.information(QStringLiteral("Initiating login with ldap domain %1: %2").arg(ldapDomainKey, displayUrl(url)));
    const AccountReply reply = exchange(*configuration, consumerKeys(*configuration), url);
    const int httpStatus = reply.reply().status;
    std::optional<PendingSignIn> pending = readRequestToken(reply, url);
    if (!pending)
        return {LoginCode::exchangeFailed, {}, reply.loginError(), httpStatus};
    const QUrl browserUrl = authorizationUrl(requestTokenKeys(*pending, *configuration), ldapDomainKey);
    const ProductSessionPointer product = ProductConfigurator(m_state).configure(clientKey);
    if (!product || browserUrl.isEmpty()) {
        m_logger.error(QStringLiteral("Failed to initiate login using url %1: Failed to sign request.").arg(displayUrl(url)));
        return {LoginCode::exchangeFailed, {}, LoginErrorEx::SigningFailed, httpStatus};
    }
    pending->ldapDomainKey = ldapDomainKey;
    pending->begun = m_services.now();
    m_state.setLdapDomainKey(ldapDomainKey);
    m_state.setPendingSignIn(product->productKey(), *pending);
    m_logger.information(QStringLiteral("Initiated login successfully"));
    return {LoginCode::success, QString::fromLatin1(browserUrl.toEncoded()), LoginErrorEx::None, httpStatus};
}

std::optional<PendingSignIn> SignInFlow::readRequestToken(const AccountReply& reply, const QUrl& url) const {
    const QString shownUrl = displayUrl(url);
    if (!reply.isSigned) {
        m_logger.error(QStringLiteral("Failed to initiate login using url %1: Failed to sign request.").arg(shownUrl));
        return {};
    }
    if (reply.reply().isNull) {
        m_logger.error(QStringLiteral("Failed to initiate login using url %1: Reply is null").arg(shownUrl));
        return {};
    }
    if (!reply.hasStatus200()) {
        m_logger.error(QStringLiteral("Failed to initiate login. %1%2").arg(reply.errorText(), reply.problemText()));
        return {};
    }
    const QMap<QString, QByteArray> parameters = replyParameters(reply.reply().body);
    const Util::SecretBytes secret(QByteArray(parameters.value(QStringLiteral("oauth_token_secret"))));
    const Util::SecretBytes clientId(QByteArray(parameters.value(QStringLiteral("x_oauth_client_identifier"))));
    PendingSignIn pending;
    Log::KnownSecrets::learn(secret.view());
    pending.requestToken = parameters.value(QStringLiteral("oauth_token"));
    const bool hasToken = isUsableToken(pending.requestToken) && isUsableToken(secret.view());
    if (hasToken && clientId.isEmpty()) {
        m_logger.error(
            QStringLiteral(
                "Failed to initiate login. Url: %1 The request succeeded, but server didn't return client id. This will happen if the consumer key is legacy key. Please contact the server team. Session dump: %2")
                .arg(shownUrl, reply.dump()));
        return {};
    }
    if (!hasToken) {
        const QString missing = missingNames({{QStringLiteral("Request token"), isUsableToken(pending.requestToken)},
                                              {QStringLiteral("Request token secret"), isUsableToken(secret.view())},
                                              {QStringLiteral("Client id"), !clientId.isEmpty()}});
        m_logger.error(
            QStringLiteral(
                "Failed to initiate login. Url: %1: The request succeeded, but server didn't return the following parameter(s): %2. Session dump: %3.")
                .arg(shownUrl, missing, reply.dump()));
        return {};
    }
    if (secret.size() <= m_services.maximumBlockText())
        pending.requestTokenSecret = m_services.cryptor->encrypt(secret.view());
    pending.clientId = m_services.cryptor->encrypt(clientId.view());
    return pending;
}

QUrl SignInFlow::authorizationUrl(const SigningKeys& keys, const QString& ldapDomainKey) const {
    QString text = m_services.urls->endPoint(m_state->currentServer(), accountServer, QStringLiteral("AuthorizationEndPoint"));
    const auto placeHolder = QStringLiteral("%EncodedDomainKey%");
    const int position = text.indexOf(placeHolder);
    if (position >= 0)
        text.replace(position, placeHolder.size(), QString::fromLatin1(QUrl::toPercentEncoding(ldapDomainKey)));
    // Every server refuses a URL that is signed without the request token's secret.
    return keys.tokenSecret.isEmpty() ? QUrl() : signUrl(*m_services.oauthHost, QUrl(text), keys);
}

SigningKeys SignInFlow::requestTokenKeys(const PendingSignIn& pending, const WebServicesConfiguration& configuration) const {
    SigningKeys keys = consumerKeys(configuration);
    keys.token = Util::SecretBytes(QByteArray(pending.requestToken.constData(), pending.requestToken.size()));
    keys.tokenSecret = m_services.cryptor->decrypt(pending.requestTokenSecret);
    return keys;
}

int SignInFlow::complete(const QString& clientKey, const NetworkCookieJar* cookies) {
    m_logger.information(cookies ? QStringLiteral("CompleteLogin called with %1 cookies").arg(cookies->GetCookieCount())
                                 : QStringLiteral("CompleteLogin called without cookies"));
    // The product may be gone since: another process has signed the user out. The sign-in that waits stays.
    const std::optional<PendingSignIn> pending = m_state->pendingSignIn(m_state->productKey(clientKey));
    // What stands when the sign-in cannot even be sent.
    Log::CallReport::fail(pending ? Log::CallFailure::SigningFailed : Log::CallFailure::NotInitialized);
    const ProductSessionPointer product =
        pending ? ProductConfigurator(m_state).configure(clientKey) : m_state->product(clientKey);
    if (!product) {
        m_logger.error(QStringLiteral("Failed to complete login. Product login session not found."));
        return LoginCode::exchangeFailed;
    }
    const ConfigurationPointer configuration = product->configuration();
    if (!configuration) {
        m_logger.error(QStringLiteral("Failed to complete login. Configuration not found."));
        return LoginCode::exchangeFailed;
    }
    const QUrl url(m_services.urls->endPoint(m_state->currentServer(), accountServer, QStringLiteral("AccessTokenEndPoint")));
    m_logger.information(QStringLiteral("Completing login: %2").arg(displayUrl(url)));
    const SigningKeys keys = requestTokenKeys(pending.value_or(PendingSignIn()), *configuration);
    // A request token cannot be exchanged without its secret: the server would refuse the signature.
    const AccountReply reply =
        keys.token.isEmpty() || keys.tokenSecret.isEmpty() ? AccountReply() : exchange(*configuration, keys, url);
    if (!reply.isSigned)
        m_logger.error(QStringLiteral("Failed to complete login using url %1: Failed to sign request.").arg(displayUrl(url)));
    else if (reply.reply().isNull)
        m_logger.error(QStringLiteral("Failed to complete login using url %1: Reply is null").arg(displayUrl(url)));
    else if (!reply.hasStatus200())
        m_logger.error(QStringLiteral("Failed to complete login. %1").arg(reply.errorText() + reply.problemText()));
    else if (m_state->product(clientKey) != product)
        // While this thread waited, the host removed the client or changed the server.
        m_logger.error(QStringLiteral("Failed to complete login. Product login session not found."));
    else if (!storeSignIn(*product, *pending, replyParameters(reply.reply().body), cookies))
        m_logger.error(QStringLiteral("Failed to complete login. Server returned invalid response body. %1").arg(reply.dump()));
    else
        return LoginCode::success;
    return LoginCode::exchangeFailed;
}

bool SignInFlow::storeSignIn(ProductLoginSession& product, const PendingSignIn& pending, const QMap<QString, QByteArray>& reply,
                             const NetworkCookieJar* cookies) {
    const QDateTime now = m_services.now();
    const std::optional<ProductTokens> tokens = readTokenReply(reply, now, *m_services.cryptor, m_logger);
    if (!tokens)
        return false;
    BasicLoginState state = makeState(reply, now);
    state.clientId = pending.clientId;
    state.ldapDomainKey = pending.ldapDomainKey;
    m_state.setLdapDomainKey(pending.ldapDomainKey);
    if (cookies)
        state.loginCookies = keptCookies(*cookies);
    const bool isOtherUser = m_state->basic().hasUser() && m_state->basic().user() != state.user();
    m_state.setBasic(state);
    forgetEarlierSignIn(isOtherUser);
    product.setTokens(*tokens);
    m_state.removePendingSignIn(product.productKey());
    m_logger.information(QStringLiteral("Completed login successfully"));
    m_logger.information(QStringLiteral("User %1 logged in in this process").arg(state.userName));
    // A sign-in that cannot be saved now is used all the same, and saved later.
    LoginStateStore(m_state).saveSignIn(product);
    return true;
}

BasicLoginState SignInFlow::makeState(const QMap<QString, QByteArray>& reply, const QDateTime& now) const {
    const auto text = [&reply](const QString& name) {
        // Use the text as it will be read from the file, since the name is part of what identifies a sign-in.
        return storableText(QString::fromUtf8(reply.value(name)));
    };
    BasicLoginState state;
    state.userName = text(QStringLiteral("x_oauth_user_name"));
    state.userId = text(QStringLiteral("x_oauth_user_guid"));
    state.sessionExpiryDate = expiryFrom(reply.value(QStringLiteral("oauth_authorization_expires_in")), now);
    state.loginDate = loginDateAfter(now, laterOf(m_state->logoutDate(), m_state->basic().loginDate));
    m_state->binding().bind(state);
    return state;
}

QByteArray SignInFlow::keptCookies(const NetworkCookieJar& cookies) const {
    QByteArray encrypted = encryptCookies(cookies, *m_services.cryptor, m_logger);
    if (encrypted.size() <= maximumCookieSize)
        return encrypted;
    m_logger.warning(QStringLiteral("Login cookies are not kept, since they are larger than %1 bytes").arg(maximumCookieSize));
    return {};
}

// The new user is set by now. A cache that asks again at once asks for that user, or finds no token yet. The products obtain new
// tokens with the new sign-in, also those of the same user: a server ends the earlier ones with their sign-in.
void SignInFlow::forgetEarlierSignIn(bool isOtherUser) {
    const QVector<ProductSessionPointer> sessions = m_state.products().all();
    for (const ProductSessionPointer& session : sessions) {
        session->Clear();
        TokenOperations* const operations = session->operations();
        if (isOtherUser && operations)
            operations->caches().invalidateAll();
    }
}

} // namespace Velquor::WebServices::Internal
