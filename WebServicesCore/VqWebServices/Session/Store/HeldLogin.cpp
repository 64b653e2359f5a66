#include "Session/Store/HeldLogin.h"

namespace Velquor::WebServices::Internal {

HeldLogin heldLogin(const SessionState& state) {
    HeldLogin held;
    held.state.currentServer = state.currentServer();
    held.state.logoutDate = state.logoutDate();
    held.state.user = state.basic();
    held.state.hasSignIn = held.state.user.hasUser();
    held.seen = state.seen();
    held.lastEnded = state.lastEnded();
    held.isLoggedIn = state.isLoggedIn();
    held.mayTakeServer = !state.hasPendingSignIn();
    return held;
}

} // namespace Velquor::WebServices::Internal
