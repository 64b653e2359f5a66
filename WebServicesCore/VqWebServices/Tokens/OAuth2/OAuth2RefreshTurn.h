#pragma once

#include "Tokens/IRequestFlags.h"
#include "Tokens/OAuth2/OAuth2TokenSlot.h"
#include "Tokens/Poller.h"
#include "Tokens/Refresh/RefreshController.h"
#include "Tokens/Refresh/RefreshWorker.h"

#include <functional>

namespace Velquor::WebServices::Internal {

/// Waits until an OAuth2 token may be refreshed: with an OAuth 1.0 token that has not expired, with no other OAuth2 refresh of
/// the consumer key in any process, and with no OAuth 1.0 refresh of the key either.
///
/// Thread: the OAuth2 token refresher's. Owner: that refresher. Errors: log lines; `putOff` is called instead of `granted` then.
class OAuth2RefreshTurn {
public:
    using Next = std::function<void()>;
    /// `poller`: the one of the refresher, which stops it when its run ends. Both functions are called without blocking, at once
    /// or later; `putOff` when the wait was in vain.
    OAuth2RefreshTurn(ITokenOwner& owner, const OAuth2TokenSlot& slot, IRequestFlags& flags, RefreshController& controller,
                      RefreshWorker& tokenRefresher, Poller& poller, Next granted, Next putOff);

    /// Forgets what the last run has waited for.
    void reset();
    void wait(bool synchronous);
    /// Shows other processes that the token is being refreshed.
    void publish();
    /// Does nothing without the lock.
    void release();

    /// Another process was refreshing the token while this one waited.
    [[nodiscard]] bool wasBusyElsewhere() const { return m_elsewhere; }
    /// True once when the last wait was put off until the OAuth 1.0 token is renewed.
    [[nodiscard]] bool takePutOffForToken();

private:
    void waitForToken();
    void tokenRefreshEnded();
    void waitForLock();
    [[nodiscard]] bool claim();
    void lockAcquired();
    [[nodiscard]] bool claimBetweenTokenRefreshes();
    void holdOff();
    void holdOffTookTooLong();
    [[nodiscard]] bool isTokenExpired() const { return m_owner.tokens().areExpired(m_owner.services().now()); }
    [[nodiscard]] Log::ILogger& log() const { return *m_owner.services().loggers.oauth2Refresher; }

    ITokenOwner& m_owner;
    IRequestFlags& m_flags;
    RefreshController& m_controller;
    RefreshWorker& m_tokenRefresher;
    Poller& m_poller;
    const Next m_granted;
    const Next m_putOff;
    const QString m_flag;
    Util::SteadyTimer m_claiming;
    bool m_synchronous = false;
    bool m_locked = false;
    bool m_published = false;
    bool m_elsewhere = false;
    bool m_putOffForToken = false;
};

} // namespace Velquor::WebServices::Internal
