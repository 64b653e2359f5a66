#include "Tokens/Refresh/RefreshWorker.h"

#include "Tokens/Refresh/RefreshTiming.h"
#include "VqUtil/General/HumanText.h"

#include <QThread>
#include <utility>

namespace Velquor::WebServices::Internal {

RefreshWorker::RefreshWorker(ITokenOwner& owner, Loggers::Logger Loggers::*logger, std::unique_ptr<const RefreshLog> steps)
    : TokenWorker(owner, logger)
    , m_steps(std::move(steps)) {
    connect(this, &RefreshWorker::StartRefreshToken, this, &RefreshWorker::StartRefreshTokenSlot, Qt::QueuedConnection);
    // A posted call moves with this object, so this runs on the new thread before anything else.
    QMetaObject::invokeMethod(
        this, [this] { m_threadId = reinterpret_cast<quintptr>(QThread::currentThreadId()); }, Qt::QueuedConnection);
}

RefreshWorker::Answer RefreshWorker::ask(bool synchronous, Reason reason) {
    m_steps->called(synchronous, isOwnThread());
    const RunState::Entry entry = run().enter();
    if (entry == RunState::Entry::Closed)
        return Answer::Refused;
    if (entry == RunState::Entry::Busy) {
        if (synchronous) {
            m_steps->joined();
            return Answer::Wait;
        }
        m_steps->skipped();
        return Answer::Skipped;
    }
    m_onlyForExpired = reason == Reason::Expired;
    // On this thread directly: a queued call would start only after its caller has stopped waiting for it.
    if (isOwnThread()) {
        doRefresh(synchronous);
        return Answer::Started;
    }
    m_steps->emittingStart(synchronous, m_threadId);
    emit StartRefreshToken(synchronous);
    return synchronous ? Answer::Wait : Answer::Started;
}

RunWaiter::Outcome RefreshWorker::waitInLoop(RunWaiter& waiter, const TokenDependencies& services, const RefreshLog& steps) {
    steps.waiting();
    const RunWaiter::Outcome outcome = waiter.wait(services.tokenTimeoutMs);
    steps.finishedWaiting(outcome.result != 0, outcome.isTimedOut);
    return outcome;
}

bool RefreshWorker::waitForEnd(RunWaiter& waiter, const TokenDependencies& services, const RefreshLog& steps) {
    const RunWaiter::Outcome outcome = waitInLoop(waiter, services, steps);
    const bool succeeded = outcome.result != 0;
    if (outcome.isTimedOut)
        steps.waitTimedOut();
    else if (succeeded)
        steps.waitSucceeded();
    else
        steps.waitFailed(outcome.result);
    return succeeded;
}

void RefreshWorker::StartRefreshTokenSlot(bool synchronous) {
    m_steps->slotCalled(synchronous);
    doRefresh(synchronous);
}

void RefreshWorker::doRefresh(bool synchronous) {
    setSynchronous(synchronous);
    m_isRetry = false;
    // Before the wait for locks, in which another process may renew the token: isAnotherToken() shows it then.
    noteTriedToken();
    stopRefreshTimer();
    m_steps->flagSet(true);
    m_steps->starting(synchronous);
    refresh();
}

void RefreshWorker::finish(int result) {
    poller().stop();
    endTurn();
    m_steps->emittingFinished();
    // After the locks were released: a caller that wakes up may start the next refresh.
    run().leave(result);
    emit RefreshFinishedInternal(result);
}

bool RefreshWorker::isAnotherToken() const {
    const QByteArray held = heldToken();
    return !held.isEmpty() && held != m_triedToken;
}

void RefreshWorker::finishAndRetry(int intervalMs) {
    armRetry(intervalMs);
    finish(0);
}

void RefreshWorker::putOff() {
    finish(0);
    armRetry(busyRetryMs);
}

void RefreshWorker::armRetry(int intervalMs) {
    // A token that another process has stored during the run needs no retry.
    if (isAnotherToken()) {
        forgetFailures();
        return updateRefreshTimer();
    }
    startRefreshTimer(intervalMs);
    m_isRetry = true;
}

void RefreshWorker::finishForSignInGone(const QString& text) {
    log().warning(text);
    finish(0);
    updateRefreshTimer();
}

void RefreshWorker::TokenAvailable() {
    // The end of the run sets the timer.
    if (run().isBusy())
        return;
    // A change that does not concern this token must not start a retry early that was delayed on purpose.
    if (isAnotherToken())
        forgetFailures();
    else if (m_isRetry && isTimerActive() && timerStopReason().isEmpty())
        return;
    updateRefreshTimer();
}

QString RefreshWorker::sharedStopReason() const {
    if (!owner().configuration())
        return QStringLiteral("No configuration");
    if (!owner().isLoggedIn())
        return QStringLiteral("Not logged in");
    if (owner().isLoginExpired())
        return QStringLiteral("Login session has expired");
    if (!owner().tokens().areComplete())
        return QStringLiteral("No access token");
    return {};
}

RefreshWorker::TokenState RefreshWorker::expiryState(const QString& text) const {
    const qint64 seconds = now().secsTo(expiryDate());
    const bool isDue = isTimeToRefresh(seconds);
    const QString state =
        seconds <= 0 ? QStringLiteral("has expired") : QStringLiteral("expires in %1").arg(Util::timeSpanText(seconds * 1000));
    return {text.arg(state, isDue ? QStringLiteral("Time to refresh now") : QStringLiteral("No need to refresh now")), isDue};
}

void RefreshWorker::updateRefreshTimer() {
    m_isRetry = false;
    const QString reason = timerStopReason();
    if (!reason.isEmpty()) {
        m_steps->stoppingTimer(reason);
        stopRefreshTimer();
        return;
    }
    const QDateTime expiry = expiryDate();
    if (!expiry.isValid()) {
        m_steps->invalidExpiry();
        return;
    }
    startRefreshTimer(refreshIntervalMs(now().secsTo(expiry), shortestIntervalMs()));
}

void RefreshWorker::startRefreshTimer(int intervalMs) {
    startTimer(intervalMs);
    m_expectedArrival = now().addMSecs(intervalMs);
    m_steps->timerStarted(intervalMs);
}

void RefreshWorker::stopRefreshTimer() {
    stopTimer();
    m_steps->timerStopped();
    m_expectedArrival = {};
}

void RefreshWorker::timerFired() {
    const QDateTime arrival = now();
    const TimerLateness lateness = timerLateness(m_expectedArrival, arrival);
    if (lateness.isNotable())
        m_steps->timerLate(lateness, m_expectedArrival, arrival);
    m_expectedArrival = arrival.addMSecs(timerInterval());
    const TokenState state = tokenState();
    m_steps->timerFired(state.text);
    if (state.isDue) {
        (void)ask(false, Reason::Requested);
        return;
    }
    // Nothing to try again: a caller wanted a new token ahead of time, and the old one is still good.
    forgetFailures();
    updateRefreshTimer();
}

bool RefreshWorker::isSettledElsewhere() {
    const FileLook look = owner().catchUpWithFile(m_signInId);
    // Renewing invalidated our token. Expiry dates do not show which is newer: a clock may have been corrected.
    if (look == FileLook::SignInGone)
        signInGone();
    else if (isAnotherToken())
        takeFromFile();
    else if (look == FileLook::Unread)
        retryWhenRead();
    else
        return false;
    return true;
}

// The file may hold a newer token, so the refusal of this one ends nothing.
void RefreshWorker::retryWhenRead() {
    log().warning(QStringLiteral("The login state file cannot be read. Will retry token refresh after %1")
                      .arg(Util::timeSpanText(networkRetryMs)));
    finishAndRetry(networkRetryMs);
}

void RefreshWorker::giveUp(const QString& text) {
    log().error(text);
    // First, since the sign-out asks the server: a caller that waits on the main thread must not wait for that too.
    finish(0);
    owner().forceLogout(m_signInId);
}

} // namespace Velquor::WebServices::Internal
