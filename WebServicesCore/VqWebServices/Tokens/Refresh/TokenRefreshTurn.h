#pragma once

#include "Tokens/IRequestFlags.h"
#include "Tokens/ITokenOwner.h"
#include "Tokens/Poller.h"
#include "Tokens/Refresh/RefreshController.h"
#include "Tokens/Refresh/RefreshEventFilter.h"

#include <functional>

namespace Velquor::WebServices::Internal {

/// Waits until the token refresher may work: one refresh of a consumer key runs at a time among all processes, and none while an
/// OAuth2 token of the key is being refreshed.
///
/// Thread: the token refresher's. Owner: the token refresher. Errors: log lines; `putOff` is called instead of `granted` then.
class TokenRefreshTurn {
public:
    using Next = std::function<void()>;
    /// `poller`: the one of the refresher, which stops it when its run ends. Both functions are called without blocking, at once
    /// or later; `putOff` when the wait was in vain.
    TokenRefreshTurn(ITokenOwner& owner, RefreshController& controller, IRequestFlags& flags, Poller& poller, Next granted,
                     Next putOff);

    void wait(bool synchronous);
    /// Shows other processes that the token is being refreshed.
    void publish();
    /// Does nothing without the lock.
    void release();

private:
    void lockAcquired();
    void waitForOAuth2Refresh();
    void oauth2RefreshTookTooLong();
    [[nodiscard]] Log::ILogger& log() const { return *m_owner.services().loggers.refresher; }

    ITokenOwner& m_owner;
    RefreshController& m_controller;
    IRequestFlags& m_flags;
    Poller& m_poller;
    const Next m_granted;
    const Next m_putOff;
    RefreshEventFilter m_shown;
    bool m_synchronous = false;
    bool m_locked = false;
};

} // namespace Velquor::WebServices::Internal
