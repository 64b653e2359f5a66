#include "Session/Operations/EventReactions.h"

#include "Session/Operations/OAuth2Access.h"
#include "Session/Store/ProductStateLoader.h"
#include "Session/Products/TokenOperations.h"

#include <chrono>
#include <mutex>

namespace Velquor::WebServices {

using Event = WebServicesPrivateCore::WebServicesEvent;

namespace {
// Many times what a step takes that does not wait for the server.
constexpr int lockWaitMs = 50;
} // namespace

EventReactions::EventReactions(SessionCore& core)
    : m_core(core)
    , m_logger(*core.services.loggers.session) {}

void EventReactions::eventReceived(Event event, const EventSubject& subject) {
    announce(event, subject.consumerKey);
    // Before any event: an earlier one that told of the change may be lost. A process that has not restored its login yet reads
    // the file then, unless somebody signs in or out.
    if (event == Event::LoggedIn || event == Event::LoggedOut || m_core.isRestored())
        takeNews();
    react(event, subject);
}

bool EventReactions::finishReactions() {
    if (m_hasNews)
        takeNews();
    loadUnconfigured();
    return !m_hasNews && m_unloaded.isEmpty();
}

void EventReactions::announce(Event event, const QString& consumerKey) {
    if (event == Event::LoggedIn) {
        m_logger.information(QStringLiteral("User logged in another process. Trying to login in this process."));
        m_signedIn = consumerKey;
    } else if (event == Event::LoggedOut) {
        m_logger.information(QStringLiteral("User %1 logged out in another process").arg(m_core.basic().userName));
        m_signedIn.reset();
    }
}

void EventReactions::takeNews() {
    m_hasNews = !m_core.voice->catchUpWithin(lockWaitMs);
    if (m_hasNews)
        return;
    if (m_signedIn && m_core.isLoggedIn()) {
        const ProductSessionPointer product = m_core.products.find(*m_signedIn, m_core.currentServer());
        m_logger.information(QStringLiteral("User %1 logged in successfully in product %2")
                                 .arg(m_core.basic().userName, product ? product->displayName() : QString()));
    }
    m_signedIn.reset();
}

void EventReactions::react(Event event, const EventSubject& subject) {
    switch (event) {
    // Taking the file over tells the observers of this process, once, whoever notices the change first.
    case Event::LoggedIn:
    case Event::LoggedOut: return;
    case Event::TokenRefreshed: return tokenRefreshed(subject.consumerKey);
    case Event::TokenAcquired: return tokenAcquired(subject.consumerKey);
    case Event::OAuth2Enabled: OAuth2Operations(m_core).enabledElsewhere(subject.consumerKey, *subject.oauth2Spec); break;
    case Event::OAuth2Disabled: OAuth2Operations(m_core).disabledElsewhere(subject.consumerKey); break;
    case Event::OAuth2TokenAcquired:
    case Event::OAuth2TokenRefreshed: oauth2TokenChanged(event, subject); break;
    case Event::OAuth2TokenQueryFailed:
        m_logger.warning(QStringLiteral("OAuth2 access token query failed in another process"));
        break;
    case Event::TokenQueryFailed: m_logger.warning(QStringLiteral("Token query failed in another process")); break;
    default: break;
    }
    m_core.voice->raiseEventHere(event, subject);
}

void EventReactions::tokenRefreshed(const QString& consumerKey) {
    const QVector<ProductSessionPointer> products = m_core.products.onServer(m_core.currentServer());
    for (const ProductSessionPointer& product : products) {
        if (TokenOperations* const operations = product->operations())
            operations->tokenRefreshedElsewhere(consumerKey);
    }
    m_core.voice->raiseEventHere(Event::TokenRefreshed, consumerKey);
}

void EventReactions::oauth2TokenChanged(Event event, const EventSubject& subject) {
    const ProductSessionPointer product = m_core.products.find(subject.consumerKey, m_core.currentServer());
    const OAuth2SessionPointer session = product ? product->oauth2().find(*subject.oauth2Spec) : OAuth2SessionPointer();
    if (!session)
        return;
    if (event == Event::OAuth2TokenAcquired)
        session->acquiredElsewhere();
    else
        session->refreshedElsewhere(subject.consumerKey);
}

void EventReactions::tokenAcquired(const QString& consumerKey) {
    const ProductSessionPointer product = m_core.products.find(consumerKey, m_core.currentServer());
    TokenOperations* const operations = product ? product->operations() : nullptr;
    if (operations)
        operations->tokenAcquiredElsewhere();
    else if (m_core.isRestored() && !m_unloaded.contains(consumerKey))
        m_unloaded += consumerKey;
    loadUnconfigured();
    m_core.voice->raiseEventHere(Event::TokenAcquired, consumerKey);
}

// A product that no client here has configured, or that is not signed in yet: its sign-in may serve another product of this
// process.
void EventReactions::loadUnconfigured() {
    if (m_unloaded.isEmpty() || !m_core.lock.try_lock_for(std::chrono::milliseconds(lockWaitMs)))
        return;
    const std::unique_lock<QRecursiveMutex> lock(m_core.lock, std::adopt_lock);
    for (const QString& consumerKey : qAsConst(m_unloaded))
        (void)ProductStateLoader(m_core).SetInfor1(consumerKey);
    m_unloaded.clear();
}

} // namespace Velquor::WebServices
