#include "Session/Operations/LoginStateFollower.h"

#include "Session/Operations/ProductConfigurator.h"
#include "Session/Store/LoginStateStore.h"

#include <QScopeGuard>

namespace Velquor::WebServices::Internal {

using Event = WebServicesPrivateCore::WebServicesEvent;

namespace {
// Many times what reading the file takes.
constexpr int applyPatienceMs = 1000;
// Enough for a thread that has just taken the lock to set its flag, and too short for a user to notice.
constexpr int leastWaitMs = 20;
} // namespace

LoginStateFollower::LoginStateFollower(SessionState& state)
    : m_state(state)
    , m_logger(*state.services().loggers.session) {}

bool LoginStateFollower::follow(int waitMs) {
    // A token worker, which waits, may ask in the middle of the restore that made it: it waits for the end of the restore.
    const bool isTooEarly = waitMs == 0 && !m_state.isRestored();
    if (isTooEarly || m_state.isStopped() || isUpToDate())
        return true;
    if (m_state.unread().isWaiting())
        return false;
    Changes changes;
    {
        const std::unique_ptr<LockedState> state = lockState(waitMs);
        // The flag is already set when this thread is itself applying the file; there is nothing more to apply then.
        if (!state->isHeld() || m_isApplying.exchange(true))
            return false;
        const auto applied = qScopeGuard([this] { m_isApplying = false; });
        // During a network step of this thread the state must not change. While this thread waited, another one may have applied
        // the file.
        const bool isDone = isUpToDate();
        if (state->isNetworkStepActive() || isDone)
            return isDone;
        changes = exchangeWithFile(*state);
    }
    // Observers are called with no lock held.
    if (m_state.isStopped())
        return true;
    if (changes.isSignedOut)
        m_state.events().deliverEvent(Event::LoggedOut, QString());
    if (changes.isSignedIn)
        m_state.events().deliverEvent(Event::LoggedIn, QString());
    return changes.hasRead;
}

LoginStateFollower::Changes LoginStateFollower::exchangeWithFile(LockedState& state) {
    const BasicLoginState before = m_state.basic();
    const bool wasLoggedIn = m_state.isLoggedIn();
    const LoginStateReader::Followed followed = applyFile(state);
    if (followed.hasRead && m_state.unsaved().isDue())
        LoginStateStore(state, LoginStateFile::briefTimeoutMs).save();
    const bool isLoggedIn = m_state.isLoggedIn();
    const bool isSame = before.isSameSignIn(m_state.basic());
    const Changes changes{followed.hasRead, wasLoggedIn && (!isLoggedIn || followed.isSignedOut),
                          isLoggedIn && (!wasLoggedIn || !isSame)};
    if (changes.isSignedOut)
        m_state.notified().add(Event::LoggedOut);
    if (changes.isSignedIn)
        m_state.notified().add(Event::LoggedIn);
    return changes;
}

bool LoginStateFollower::isUpToDate() const {
    return !m_state.hasFileChanged() && !m_state.unsaved().isDue();
}

std::unique_ptr<LockedState> LoginStateFollower::lockState(int waitMs) const {
    auto state = std::make_unique<LockedState>(m_state, qMax(waitMs, leastWaitMs));
    // A thread in a sign-in or sign-out writes the file itself, and the next operation looks again. But a thread that is applying
    // the file is waited for, so that the answer of this operation knows the change.
    if (!state->isHeld() && m_isApplying)
        state = std::make_unique<LockedState>(m_state, applyPatienceMs);
    return state;
}

LoginStateReader::Followed LoginStateFollower::applyFile(LockedState& state) {
    if (!m_state.hasFileChanged())
        return {true, false};
    // Wait briefly: a worker asks again, and the main thread must go on.
    const LoginStateReader::Followed followed = LoginStateReader(state).follow();
    // Before the restore nothing may be saved, so no token work starts.
    if (followed.hasRead && m_state.isRestored())
        ProductConfigurator(state).configureAll();
    return followed;
}

void LoginStateFollower::saveRemainder() {
    if (!m_state.unsaved().isPending())
        return;
    LockedState state(m_state, applyPatienceMs);
    if (!state.isHeld())
        return;
    if (!state.isNetworkStepActive())
        LoginStateStore(state, LoginStateFile::briefTimeoutMs).save();
    state.unsaved().succeed();
}

} // namespace Velquor::WebServices::Internal
