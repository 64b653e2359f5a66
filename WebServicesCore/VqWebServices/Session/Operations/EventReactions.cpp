#include "Session/Operations/EventReactions.h"

#include "Session/Operations/OAuth2Access.h"
#include "Session/Operations/ProductStateLoader.h"
#include "Session/Products/TokenOperations.h"

#include <utility>

namespace Velquor::WebServices::Internal {

using Event = WebServicesPrivateCore::WebServicesEvent;

namespace {
// Many times longer than a step that does not wait for the server.
constexpr int lockWaitMs = 50;
// An older process does not say whether its event is of a change in the file. That of a change arrives within this time.
constexpr qint64 olderProcessNs = 5'000'000'000;

bool isSignInEvent(Event event) {
    return event == Event::LoggedIn || event == Event::LoggedOut;
}
} // namespace

EventReactions::EventReactions(SessionState& state)
    : m_state(state)
    , m_logger(*state.services().loggers.session) {}

void EventReactions::eventReceived(Event event, const EventSubject& subject) {
    if (isSignInEvent(event))
        announce(event, subject);
    // Follow the file at every event, since the event that announced the change may be lost. A process that has not restored its
    // login yet reads the file at its restore; only a sign-in or sign-out makes it read now.
    if (isSignInEvent(event) || m_state.isRestored())
        followFile();
    if (!isSignInEvent(event))
        react(event, subject);
}

bool EventReactions::finishReactions() {
    if (m_isChangePending)
        followFile();
    loadUnconfigured();
    return !m_isChangePending && m_unloaded.isEmpty();
}

void EventReactions::announce(Event event, const EventSubject& subject) {
    m_signInEvent = {event, subject, m_state.notified().now() - (subject.isStateChange ? 0 : olderProcessNs)};
    if (event == Event::LoggedIn) {
        m_logger.information(QStringLiteral("User logged in another process. Trying to login in this process."));
        return;
    }
    // Another thread may have applied the sign-out already.
    const BasicLoginState present = m_state.basic();
    const QString user = present.hasUser() ? present.userName : m_state.lastEnded().userName;
    if (!user.isEmpty())
        m_logger.information(QStringLiteral("User %1 logged out in another process").arg(user));
}

void EventReactions::followFile() {
    m_isChangePending = !m_state.events().followFile(lockWaitMs);
    if (m_isChangePending)
        return;
    if (const std::optional<SignInEvent> followed = std::exchange(m_signInEvent, {}))
        signInFollowed(*followed);
}

void EventReactions::signInFollowed(const SignInEvent& followed) {
    const bool isSignIn = followed.event == Event::LoggedIn;
    if (isSignIn && !m_state.isLoggedIn())
        return;
    if (isSignIn) {
        const ProductSessionPointer product = m_state.products().find(followed.subject.consumerKey, m_state.currentServer());
        m_logger.information(QStringLiteral("User %1 logged in successfully in product %2")
                                 .arg(m_state.basic().userName, product ? product->displayName() : QString()));
    }
    // Following the file notifies the observers of a change, once, whichever thread notices it first.
    if (!followed.subject.isStateChange.value_or(false) && !m_state.notified().hasSince(followed.event, followed.start))
        m_state.events().deliverEvent(followed.event, followed.subject);
}

void EventReactions::react(Event event, const EventSubject& subject) {
    switch (event) {
    case Event::TokenRefreshed: return tokenRefreshed(subject.consumerKey);
    case Event::TokenAcquired: return tokenAcquired(subject.consumerKey);
    case Event::OAuth2Enabled:
        if (subject.oauth2Spec)
            OAuth2Access(m_state).enabledElsewhere(subject.consumerKey, *subject.oauth2Spec);
        break;
    case Event::OAuth2Disabled: OAuth2Access(m_state).disabledElsewhere(subject.consumerKey); break;
    case Event::OAuth2TokenAcquired:
    case Event::OAuth2TokenRefreshed: oauth2TokenChanged(event, subject); break;
    case Event::OAuth2TokenQueryFailed:
        m_logger.warning(QStringLiteral("OAuth2 access token query failed in another process"));
        break;
    case Event::TokenQueryFailed: m_logger.warning(QStringLiteral("Token query failed in another process")); break;
    default: break;
    }
    m_state.events().deliverEvent(event, subject);
}

void EventReactions::tokenRefreshed(const QString& consumerKey) {
    const QVector<ProductSessionPointer> products = m_state.products().onServer(m_state.currentServer());
    for (const ProductSessionPointer& product : products) {
        if (TokenOperations* const operations = product->operations())
            operations->tokenRefreshedElsewhere(consumerKey);
    }
    m_state.events().deliverEvent(Event::TokenRefreshed, consumerKey);
}

void EventReactions::oauth2TokenChanged(Event event, const EventSubject& subject) {
    const ProductSessionPointer product = m_state.products().find(subject.consumerKey, m_state.currentServer());
    const OAuth2SessionPointer session =
        product && subject.oauth2Spec ? product->oauth2().find(*subject.oauth2Spec) : OAuth2SessionPointer();
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
    m_state.events().deliverEvent(Event::TokenAcquired, consumerKey);
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
