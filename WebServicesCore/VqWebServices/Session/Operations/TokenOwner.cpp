#include "Session/Operations/TokenOwner.h"

#include "Session/Store/LoginStateStore.h"
#include "Tokens/OAuth2/OAuth2TokenSlot.h"

namespace Velquor::WebServices::Internal {

namespace {

constexpr int lockSliceMs = 50;
constexpr int pauseMs = 10;
// Longer than any exchange of a sign-in, which holds the lock until the server answers.
constexpr int lockTimeoutMs = 65000;
// Long enough for another thread to read the file. Tokens that could not be stored are lost, and the server may have invalidated
// the old ones.
constexpr int lockTimeoutWhenStoppingMs = 500;
constexpr int catchUpWaitMs = 10000;
// Long enough for a second try to read the file, which may stay unreadable.
constexpr int unreadableWaitMs = 1500;

} // namespace

TokenOwner::TokenOwner(SessionState& state, ProductLoginSession& product)
    : m_state(state)
    , m_product(product) {}

QString TokenOwner::productKey() const {
    return m_product.productKey();
}

Server TokenOwner::server() const {
    return m_product.server();
}

ConfigurationPointer TokenOwner::configuration() const {
    return m_product.configuration();
}

ProductTokens TokenOwner::tokens() const {
    return m_product.tokens();
}

Util::Result<SigningKeys> TokenOwner::signingKeys() const {
    return m_product.signingKeys();
}

OtherLogin TokenOwner::otherLogin() const {
    const QVector<ProductSessionPointer> sessions = m_state.products().onServer(m_product.server());
    for (const ProductSessionPointer& session : sessions) {
        const QByteArray handle = session->tokens().sessionHandle;
        if (session.get() != &m_product && !handle.isEmpty() && isLoggedIn())
            return {session->displayName(), session->productKey(), handle};
    }
    return {};
}

bool TokenOwner::isLoggedIn() const {
    return m_state.currentServer() == m_product.server() && m_state.isLoggedIn();
}

QString TokenOwner::user() const {
    return m_state.basic().user();
}

FileLook TokenOwner::catchUpWithFile(const QString& signInId) {
    // A single call may take the whole time, so the time is measured from here.
    const Util::SteadyTimer timer(services().steadyClock);
    bool isRead = m_state.events().followFile(lockSliceMs);
    while (!isRead && !m_stopping && timer.elapsedMs() < (m_state.unread().isPending() ? unreadableWaitMs : catchUpWaitMs)) {
        services().threads->pause(pauseMs);
        isRead = m_state.events().followFile(lockSliceMs);
    }
    // A product that is going away reads nothing any more.
    const bool isGoingAway = m_stopping || m_state.isStopped();
    if (isGoingAway || signInId.isEmpty() || this->signInId() != signInId)
        return FileLook::SignInGone;
    return isRead ? FileLook::Read : FileLook::Unread;
}

std::unique_ptr<LockedState> TokenOwner::lockState() {
    auto state = std::make_unique<LockedState>(m_state, lockSliceMs);
    for (int leftMs = lockTimeoutMs; leftMs > 0 && !state->isHeld(); leftMs -= lockSliceMs) {
        if (m_stopping)
            leftMs = qMin(leftMs, lockTimeoutWhenStoppingMs);
        state = std::make_unique<LockedState>(m_state, lockSliceMs);
    }
    return state;
}

StoreResult TokenOwner::store(const ProductTokens& tokens, const QDateTime& sessionExpiry, const QString& signInId) {
    const std::unique_ptr<LockedState> state = lockState();
    if (!state->isHeld()) {
        services().loggers.product->error(
            QStringLiteral("Failed to store the tokens of product %1. Another operation is under way.")
                .arg(m_product.displayName()));
        return StoreResult::Busy;
    }
    if (signInId.isEmpty() || this->signInId() != signInId)
        return StoreResult::SignInGone;
    BasicLoginState user = m_state.basic();
    const ProductTokens before = m_product.tokens();
    m_product.setTokens(tokens);
    if (sessionExpiry.isValid()) {
        user.sessionExpiryDate = sessionExpiry;
        state->setBasic(user);
    }
    // Use the tokens even when the file cannot be written: the server may have invalidated the old ones.
    const LoginStateStore::Result saved = LoginStateStore(*state).saveTokens(m_product);
    if (saved != LoginStateStore::Result::SignInGone)
        return saved == LoginStateStore::Result::Saved ? StoreResult::Stored : StoreResult::Unwritten;
    m_product.setTokens(before);
    return StoreResult::SignInGone;
}

StoreResult TokenOwner::storeOAuth2(OAuth2TokenSlot& slot, const OAuth2TokenData& token, const QString& signInId) {
    const std::unique_ptr<LockedState> state = lockState();
    if (!state->isHeld()) {
        services().loggers.product->error(
            QStringLiteral("Failed to store the OAuth2 token of product %1. Another operation is under way.")
                .arg(m_product.displayName()));
        return StoreResult::Busy;
    }
    if (signInId.isEmpty() || this->signInId() != signInId)
        return StoreResult::SignInGone;
    const OAuth2TokenData before = slot.token();
    slot.replaceToken(token);
    // Use the token even when the file cannot be written.
    if (LoginStateStore(*state).saveOAuth2(m_product, token) != LoginStateStore::Result::SignInGone)
        return StoreResult::Stored;
    slot.replaceToken(before);
    return StoreResult::SignInGone;
}

bool TokenOwner::isOAuth2Enabled() const {
    return m_product.oauth2().isEnabled();
}

Util::IRecursiveLock& TokenOwner::productLock() {
    return m_product.operationLock();
}

void TokenOwner::raiseEvent(WebServicesPrivateCore::WebServicesEvent event) {
    if (!m_stopping)
        m_state.events().raiseEvent(event, m_product.productKey());
}

void TokenOwner::raiseOAuth2Event(WebServicesPrivateCore::WebServicesEvent event, const OAuth2TokenSpec& spec) {
    if (!m_stopping)
        m_state.events().raiseEvent(event, {m_product.productKey(), spec});
}

void TokenOwner::forceLogout(const QString& signInId) {
    if (!m_stopping)
        m_state.events().forceLogout(m_product.productKey(), signInId);
}

} // namespace Velquor::WebServices::Internal
