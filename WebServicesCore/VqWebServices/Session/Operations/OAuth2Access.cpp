#include "Session/Operations/OAuth2Access.h"

#include "Session/Products/TokenOperations.h"
#include "Tokens/TimedLock.h"
#include "Values/OAuth2TokenSpecImp.h"
#include "VqLog/CallReport.h"

#include <optional>

namespace Velquor::WebServices::Internal {

using Event = WebServicesPrivateCore::WebServicesEvent;

OAuth2Access::OAuth2Access(SessionState& state)
    : m_state(state) {}

Loggers::Logger OAuth2Access::logger(const ProductSessionPointer& product) const {
    return product ? product->services().loggers.oauth2 : m_state.services().loggers.oauth2;
}

OAuth2TokenSpec OAuth2Access::resolve(const QString& clientKey, const OAuth2TokenSpec* spec) const {
    return spec ? *spec : m_state.clients().oauth2(clientKey).defaultSpec();
}

OAuth2TokenSpec OAuth2Access::defaultSpecOf(const QString& productKey) const {
    const QStringList clients = clientsOf(productKey);
    return resolve(clients.isEmpty() ? QString() : clients.first(), nullptr);
}

OAuth2SessionPointer OAuth2Access::findSession(const ProductSessionPointer& product, const OAuth2TokenSpec& spec) {
    const OAuth2SessionPointer found = product ? product->oauth2().find(spec) : OAuth2SessionPointer();
    // The session uses its product, which another thread may release while the caller waits.
    return found ? OAuth2SessionPointer(product, found.get()) : OAuth2SessionPointer();
}

OAuth2SessionPointer OAuth2Access::session(const QString& clientKey, const OAuth2TokenSpec& spec) const {
    return findSession(m_state.product(clientKey), spec);
}

bool OAuth2Access::isEnabled(const QString& clientKey) const {
    return m_state.clients().oauth2(clientKey).isEnabled;
}

bool OAuth2Access::EnableOAuth2(const QString& clientKey, const OAuth2TokenSpec& spec) {
    const OAuth2TokenType type = spec.GetType();
    if ((type != RT && type != JWT) || !m_state.clients().enableOAuth2(clientKey, spec)) {
        Log::CallReport::fail(Log::CallFailure::BadArgument);
        logger(clientKey)->error(
            QStringLiteral("Failed to enable OAuth2 of type %1 for client key %2.").arg(tokenTypeName(type), clientKey));
        return false;
    }
    startTokens(clientKey);
    m_state.events().raiseEvent(Event::OAuth2Enabled, {m_state.subjectKey(clientKey), spec});
    return true;
}

bool OAuth2Access::DisableOAuth2(const QString& clientKey) {
    if (!m_state.clients().disableOAuth2(clientKey)) {
        logger(clientKey)->error(
            QStringLiteral("Failed to disable OAuth2. Client info not found for client key %1.").arg(clientKey));
        return false;
    }
    discardUnused(m_state.product(clientKey));
    m_state.events().raiseEvent(Event::OAuth2Disabled, m_state.subjectKey(clientKey));
    return true;
}

void OAuth2Access::discardUnused(const ProductSessionPointer& product) {
    // Another client of this process may still use the product's tokens.
    if (!product || m_state.clients().isOAuth2Used(product->productKey(), product->server()) || !product->DisableOAuth2())
        return;
    const QVector<OAuth2SessionPointer> sessions = product->oauth2().all();
    for (const OAuth2SessionPointer& session : sessions)
        m_state.events().raiseEventHere(Event::OAuth2TokenDiscarded, {product->productKey(), session->spec()});
}

QStringList OAuth2Access::clientsOf(const QString& productKey) const {
    return m_state.clients().clientsOf(productKey, m_state.currentServer());
}

void OAuth2Access::enabledElsewhere(const QString& productKey, const OAuth2TokenSpec& spec) {
    bool isNew = false;
    const QStringList clientKeys = clientsOf(productKey);
    for (const QString& clientKey : clientKeys)
        isNew = isNew || !m_state.clients().oauth2(clientKey).specs.contains(spec);
    if (!isNew)
        return;
    logger(m_state.products().find(productKey, m_state.currentServer()))
        ->information(QStringLiteral(
            "OAuth2 enabled in another process which is using the same consumer key. Enabling it in this process."));
    for (const QString& clientKey : clientKeys)
        m_state.clients().enableOAuth2(clientKey, spec);
    startTokens(clientKeys.first());
}

void OAuth2Access::disabledElsewhere(const QString& productKey) {
    if (!m_state.clients().isOAuth2Used(productKey, m_state.currentServer()))
        return;
    logger(m_state.products().find(productKey, m_state.currentServer()))
        ->information(QStringLiteral(
            "OAuth2 disabled in another process which is using the same consumer key. Disabling it in this process."));
    const QStringList clientKeys = clientsOf(productKey);
    for (const QString& clientKey : clientKeys)
        m_state.clients().disableOAuth2(clientKey);
    discardUnused(m_state.products().find(productKey, m_state.currentServer()));
}

void OAuth2Access::startTokens(const QString& clientKey) {
    const ProductSessionPointer product = m_state.product(clientKey);
    if (!product)
        return;
    // Also while the product's first token is on its way, whose arrival then starts the OAuth2 query.
    product->EnableOAuth2(m_state.clients().oauth2(clientKey).specs);
    if (m_state.isLoggedIn(clientKey))
        product->CheckTokensToQuery(m_state.currentServer());
}

void OAuth2Access::waitForTokenQuery(const ProductLoginSession& product, const OAuth2TokenData& held) {
    TokenOperations* const operations = product.operations();
    if (!operations)
        return;
    if (operations->isQueryInProgress()) {
        product.services().loggers.oauth2->information(
            QStringLiteral("GetOAuth2AccessToken: Token query is in progress. Waiting for it to finish."));
        operations->waitForTokenQuery();
        product.services().loggers.oauth2->information(QStringLiteral("GetOAuth2AccessToken: Finished waiting for token query."));
    }
    // Without an OAuth2 token one is queried at once, which needs an OAuth 1.0 token that has not expired.
    const ProductTokens tokens = product.tokens();
    if (!held.isPresent() && tokens.areComplete() && tokens.areExpired(m_state.services().now()))
        (void)operations->refreshToken(true, RefreshWorker::Reason::Expired);
}

OAuth2Token OAuth2Access::GetOAuth2AccessToken(const QString& clientKey, const OAuth2TokenSpec* requested, bool waitToFinish) {
    if (!isEnabled(clientKey)) {
        Log::CallReport::fail(Log::CallFailure::NotFound);
        logger(clientKey)->error(QStringLiteral(
            "GetOAuth2AccessToken failed: OAuth2 is not enabled. You must enable OAuth2 to use this function. Returning empty token."));
        return {};
    }
    const ProductSessionPointer product = m_state.product(clientKey);
    const bool mayWait = waitToFinish && !m_state.isInsideNetworkStep();
    if (product && mayWait)
        waitForTokenQuery(*product, token(clientKey, requested));
    const OAuth2SessionPointer session = lockedSession(clientKey, requested, mayWait);
    return session ? session->GetOAuth2AccessToken(mayWait, mayWait) : OAuth2Token();
}

OAuth2SessionPointer OAuth2Access::lockedSession(const QString& clientKey, const OAuth2TokenSpec* requested, bool mayWait) const {
    const ProductSessionPointer named = m_state.product(clientKey);
    // A caller that must not wait does without the lock: a sign-in holds it until the server answers.
    std::optional<TimedLock> lock;
    if (mayWait)
        m_state.lockTimed(lock, QStringLiteral("%1 GetOAuth2AccessToken").arg(named ? named->logPrefix() : QString()).trimmed());
    // Look again: another thread may have replaced the product before this one got the lock.
    const ProductSessionPointer product = m_state.product(clientKey);
    if (!product || !m_state.isLoggedIn(clientKey)) {
        Log::CallReport::fail(Log::CallFailure::NotSignedIn);
        logger(product)->error(QStringLiteral("GetOAuth2AccessToken failed: Not logged in. Returning empty token."));
        return {};
    }
    if (!product->configuration()) {
        Log::CallReport::fail(Log::CallFailure::NoConfiguration);
        logger(product)->error(QStringLiteral("GetOAuth2AccessToken failed: Configuration not set"));
        return {};
    }
    const OAuth2TokenSpec spec = resolve(clientKey, requested);
    OAuth2SessionPointer session = findSession(product, spec);
    if (!session) {
        Log::CallReport::fail(Log::CallFailure::NotFound);
        logger(product)->error(
            QStringLiteral(
                "GetOAuth2AccessToken failed: OAuth2 session not found for OAuth2 type %1 and scope %2. Enable this OAuth2 token type and scope using EnableOAuth2.")
                .arg(tokenTypeName(spec.GetType()), OAuth2TokenSpecImp::of(spec).scope));
    }
    return session;
}

Util::Result<void> OAuth2Access::mayRefresh(const QString& clientKey) const {
    if (!isEnabled(clientKey))
        return Util::Failure{QStringLiteral("Failed to refresh OAuth2 token. OAuth2 is not enabled.")};
    if (!m_state.isLoggedIn(clientKey))
        return Util::Failure{QStringLiteral("Failed to refresh OAuth2 token. User not logged in.")};
    if (m_state.isLoginExpired())
        return Util::Failure{QStringLiteral("Failed to refresh OAuth2 token. Login session has expired.")};
    return {};
}

bool OAuth2Access::RefreshOAuth2Token(const QString& clientKey, const OAuth2TokenSpec* requested, bool synchronous) {
    const ProductSessionPointer product = m_state.product(clientKey);
    const Util::Result<void> allowed = mayRefresh(clientKey);
    if (!allowed) {
        Log::CallReport::fail(isEnabled(clientKey) ? Log::CallFailure::NotSignedIn : Log::CallFailure::NotFound);
        logger(product)->error(allowed.reason());
        return false;
    }
    const OAuth2TokenSpec spec = resolve(clientKey, requested);
    const OAuth2SessionPointer found = findSession(product, spec);
    if (!found) {
        Log::CallReport::fail(Log::CallFailure::NotFound);
        logger(product)->error(
            QStringLiteral(
                "Failed to refresh OAuth2 token. OAuth2 session not found for OAuth2 type %1 and scope %2. Enable this OAuth2 token type and scope using EnableOAuth2.")
                .arg(tokenTypeName(spec.GetType()), OAuth2TokenSpecImp::of(spec).scope));
        return false;
    }
    return !(synchronous && m_state.isInsideNetworkStep()) && refresh(*product, *found, synchronous);
}

bool OAuth2Access::refresh(const ProductLoginSession& product, OAuth2Session& session, bool synchronous) {
    TokenOperations* const operations = product.operations();
    if (operations && product.tokens().areExpired(m_state.services().now())) {
        product.services().loggers.oauth2->information(
            QStringLiteral("Postponing OAuth2 token refresh since access token has expired. Refreshing the token first."));
        // An asynchronous OAuth2 refresh waits for the end of this one by itself.
        (void)operations->refreshToken(synchronous, RefreshWorker::Reason::Expired);
    }
    return session.refreshToken(synchronous, RefreshWorker::Reason::Requested);
}

OAuth2TokenData OAuth2Access::token(const QString& clientKey, const OAuth2TokenSpec* spec) const {
    const OAuth2SessionPointer found = session(clientKey, resolve(clientKey, spec));
    return found ? found->token() : OAuth2TokenData();
}

bool OAuth2Access::isRefreshTimerActive(const QString& clientKey, const OAuth2TokenSpec* spec) const {
    const OAuth2SessionPointer found = session(clientKey, resolve(clientKey, spec));
    return found && found->isRefreshTimerActive();
}

void OAuth2Access::reportToken(const QString& clientKey) {
    const OAuth2SessionPointer found = session(clientKey, resolve(clientKey, nullptr));
    if (!found || !found->token().isValid(m_state.services().now()))
        return;
    logger(clientKey)->information(found->DescribeOAuth2Token());
    m_state.events().raiseEventHere(Event::OAuth2TokenAvailable, m_state.subjectKey(clientKey));
}

} // namespace Velquor::WebServices::Internal
