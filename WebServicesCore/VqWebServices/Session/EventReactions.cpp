#include "Session/EventReactions.h"

#include "Session/TokenOperations.h"

namespace Velquor::WebServices {

using Event = WebServicesPrivateCore::WebServicesEvent;

namespace {
// Longer than a step of this process that changes the state, but for one that waits for the server.
constexpr int catchUpWaitMs = 5000;
} // namespace

EventReactions::EventReactions(SessionCore& core)
    : m_core(core)
    , m_logger(*core.services.logger) {}

void EventReactions::eventReceived(Event event, const QVariantMap& params) {
    const QString consumerKey = params.value(EventParam::consumerKey).toString();
    switch (event) {
    case Event::LoggedIn: return signedIn(consumerKey);
    case Event::LoggedOut: return signedOut();
    case Event::TokenRefreshed: return tokenRefreshed(consumerKey);
    case Event::TokenAcquired: return tokenAcquired(consumerKey);
    case Event::OAuth2TokenAcquired:
    case Event::OAuth2TokenRefreshed:
        oauth2TokenChanged(event, consumerKey);
        break;
    case Event::OAuth2TokenQueryFailed:
        m_logger.warning(QStringLiteral("OAuth2 access token query failed in another process"));
        break;
    case Event::TokenQueryFailed:
        m_logger.warning(QStringLiteral("Token query failed in another process"));
        break;
    default: break;
    }
    m_core.voice->raiseEventHere(event, consumerKey);
}

void EventReactions::signedIn(const QString& consumerKey) {
    m_logger.information(QStringLiteral("User logged in another process. Trying to login in this process."));
    // Taking the file over tells the observers of this process, once, whoever notices the change first.
    m_core.voice->catchUpWithin(catchUpWaitMs);
    if (!m_core.isLoggedIn())
        return;
    const ProductSessionPointer product = m_core.products.find(consumerKey, m_core.currentServer());
    m_logger.information(QStringLiteral("User %1 logged in successfully in product %2")
                             .arg(m_core.basic().userName, product ? product->displayName() : QString()));
}

void EventReactions::signedOut() {
    const QString user = m_core.basic().userName;
    m_logger.information(QStringLiteral("User %1 logged out another process").arg(user));
    m_core.voice->catchUpWithin(catchUpWaitMs);
}

void EventReactions::tokenRefreshed(const QString& consumerKey) {
    const QVector<ProductSessionPointer> products = m_core.products.onServer(m_core.currentServer());
    for (const ProductSessionPointer& product : products) {
        if (TokenOperations* const operations = product->operations())
            operations->tokenRefreshedElsewhere(consumerKey);
    }
    m_core.voice->raiseEventHere(Event::TokenRefreshed, consumerKey);
}

void EventReactions::oauth2TokenChanged(Event event, const QString& consumerKey) {
    const ProductSessionPointer product = m_core.products.find(consumerKey, m_core.currentServer());
    if (!product || !product->oauth2().isEnabled())
        return;
    for (const OAuth2SessionPointer& session : product->oauth2().all()) {
        if (event == Event::OAuth2TokenAcquired)
            session->acquiredElsewhere();
        else
            session->refreshedElsewhere(consumerKey);
    }
}

void EventReactions::tokenAcquired(const QString& consumerKey) {
    const ProductSessionPointer product = m_core.products.find(consumerKey, m_core.currentServer());
    TokenOperations* const operations = product ? product->operations() : nullptr;
    if (operations)
        operations->tokenAcquiredElsewhere();
    m_core.voice->raiseEventHere(Event::TokenAcquired, consumerKey);
}

} // namespace Velquor::WebServices
