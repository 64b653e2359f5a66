#include "Session/Operations/EventReactions.h"

#include "Session/Operations/OAuth2Access.h"
#include "Session/Operations/ProductStateLoader.h"
#include "Session/Products/TokenOperations.h"

namespace Velquor::WebServices::Internal {

using Event = WebServicesPrivateCore::WebServicesEvent;

namespace {
// Many times longer than a step that does not wait for the server.
constexpr int lockWaitMs = 50;
} // namespace

EventReactions::EventReactions(SessionState& state)
    : m_state(state)
    , m_logger(*state.services().loggers.session) {}

void EventReactions::eventReceived(Event event, const EventSubject& subject) {
    announce(event, subject.consumerKey);
    // Follow the file at every event, since the event that announced the change may be lost. A process that has not restored its
    // login yet reads the file at its restore; only a sign-in or sign-out makes it read now.
    if (event == Event::LoggedIn || event == Event::LoggedOut || m_state.isRestored())
        followFile();
    react(event, subject);
}

bool EventReactions::finishReactions() {
    if (m_isChangePending)
        followFile();
    loadUnconfigured();
    return !m_isChangePending && m_unloaded.isEmpty();
}

void EventReactions::announce(Event event, const QString& consumerKey) {
    if (event == Event::LoggedIn) {
        m_logger.information(QStringLiteral("User logged in another process. Trying to login in this process."));
        m_signedIn = consumerKey;
    } else if (event == Event::LoggedOut) {
        m_logger.information(QStringLiteral("User %1 logged out in another process").arg(m_state.basic().userName));
        m_signedIn.reset();
    }
}

void EventReactions::followFile() {
    m_isChangePending = !m_state.events().followFile(lockWaitMs);
    if (m_isChangePending)
        return;
    if (m_signedIn && m_state.isLoggedIn()) {
        const ProductSessionPointer product = m_state.products().find(*m_signedIn, m_state.currentServer());
        m_logger.information(QStringLiteral("User %1 logged in successfully in product %2")
                                 .arg(m_state.basic().userName, product ? product->displayName() : QString()));
    }
    m_signedIn.reset();
}

void EventReactions::react(Event event, const EventSubject& subject) {
    switch (event) {
    // Following the file notifies the observers of this process, once, whichever thread notices the change first.
    case Event::LoggedIn:
    case Event::LoggedOut: return;
    case Event::TokenRefreshed: return tokenRefreshed(subject.consumerKey);
    case Event::TokenAcquired: return tokenAcquired(subject.consumerKey);
    case Event::OAuth2Enabled: OAuth2Access(m_state).enabledElsewhere(subject.consumerKey, *subject.oauth2Spec); break;
    case Event::OAuth2Disabled: OAuth2Access(m_state).disabledElsewhere(subject.consumerKey); break;
    case Event::OAuth2TokenAcquired:
    case Event::OAuth2TokenRefreshed: oauth2TokenChanged(event, subject); break;
    case Event::OAuth2TokenQueryFailed:
        m_logger.warning(QStringLiteral("OAuth2 access token query failed in another process"));
        break;
    case Event::TokenQueryFailed: m_logger.warning(QStringLiteral("Token query failed in another process")); break;
    default: break;
    }
    m_state.events().raiseEventHere(event, subject);
}

void EventReactions::tokenRefreshed(const QString& consumerKey) {
    const QVector<ProductSessionPointer> products = m_state.products().onServer(m_state.currentServer());
    for (const ProductSessionPointer& product : products) {
        if (TokenOperations* const operations = product->operations())
            operations->tokenRefreshedElsewhere(consumerKey);
    }
    m_state.events().raiseEventHere(Event::TokenRefreshed, consumerKey);
}

void EventReactions::oauth2TokenChanged(Event event, const EventSubject& subject) {
    const ProductSessionPointer product = m_state.products().find(subject.consumerKey, m_state.currentServer());
    const OAuth2SessionPointer session = product ? product->oauth2().find(*subject.oauth2Spec) : OAuth2SessionPointer();
    if (!session)
        return;
    if (event == Event::OAuth2TokenAcquired)
        session->acquiredElsewhere();
    else
        session->refreshedElsewhere(subject.consumerKey);
}

void EventReactions::tokenAcquired(const QString& consumerKey) {
    const ProductSessionPointer product = m_state.products().find(consumerKey, m_state.currentServer());
    TokenOperations* const operations = product ? product->operations() : nullptr;
    if (operations)
        operations->tokenAcquiredElsewhere();
    else if (m_state.isRestored() && !m_unloaded.contains(consumerKey))
        m_unloaded += consumerKey;
    loadUnconfigured();
    m_state.events().raiseEventHere(Event::TokenAcquired, consumerKey);
}

// Loads products that no client here has configured, or that are not signed in yet: their sign-in may serve another product of
// this process.
void EventReactions::loadUnconfigured() {
    if (m_unloaded.isEmpty())
        return;
    LockedState state(m_state, lockWaitMs);
    if (!state.isHeld())
        return;
    for (const QString& consumerKey : qAsConst(m_unloaded))
        (void)ProductStateLoader(state).SetInfor1(consumerKey);
    m_unloaded.clear();
}

} // namespace Velquor::WebServices::Internal
