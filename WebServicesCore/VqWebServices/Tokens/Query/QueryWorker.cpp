#include "Tokens/Query/QueryWorker.h"

#include "VqUtil/General/HumanText.h"

#include <utility>

namespace Velquor::WebServices::Internal {

QueryWorker::QueryWorker(ITokenOwner& owner, IRequestFlags& flags, Loggers::Logger Loggers::*logger,
                         std::unique_ptr<const QueryLog> steps, const Names& names, const Retries& retries)
    : TokenWorker(owner, logger)
    , m_flags(flags)
    , m_steps(std::move(steps))
    , m_names(names)
    , m_retries(retries)
    , m_failures(owner.services().claims->makeQueryFailures(names.lock, owner.services().lockFolder))
    , m_lock(names.lock, owner.services().claims->makeGuard(names.lock, owner.services().lockFolder),
             owner.services().loggers.lock)
    , m_claiming(owner.services().steadyClock) {}

QueryWorker::~QueryWorker() {
    if (m_claimed)
        m_flags.clear(m_names.flag);
}

QueryWorker::Answer QueryWorker::ask(bool synchronous) {
    m_steps->called(synchronous, isOwnThread());
    const RunState::Entry entry = run().enter();
    if (entry == RunState::Entry::Closed) {
        m_steps->invocationFailed(synchronous);
        return Answer::Refused;
    }
    if (entry == RunState::Entry::Busy) {
        if (synchronous) {
            m_steps->joined();
            return Answer::Joined;
        }
        m_steps->skipped();
        return Answer::Skipped;
    }
    m_steps->invoking(synchronous);
    QMetaObject::invokeMethod(
        this, [this, synchronous] { startQuery(synchronous); }, Qt::QueuedConnection);
    return synchronous ? Answer::Wait : Answer::Started;
}

bool QueryWorker::waitForEnd(RunWaiter& waiter, Answer answer, const QueryLog& steps) {
    const bool succeeded = waiter.waitForEnd();
    if (answer == Answer::Joined)
        steps.joinedWaitEnded(succeeded);
    return succeeded;
}

void QueryWorker::startQuery(bool synchronous) {
    m_steps->slotCalled(synchronous);
    setSynchronous(synchronous);
    m_isRetry = false;
    doQuery();
}

void QueryWorker::timerFired() {
    m_steps->timerFired();
    // A later sign-in has started a query of its own, unless it brought the token.
    const bool isOfEarlierSignIn = owner().isLoggedIn() && owner().signInId() != m_signInId;
    if (isOfEarlierSignIn || run().enter() != RunState::Entry::Entered)
        return;
    setSynchronous(false);
    m_isRetry = true;
    doQuery();
}

void QueryWorker::doQuery() {
    stopTimer();
    m_steps->timerStopped();
    m_steps->starting(isSynchronous());
    m_signInId = owner().signInId();
    m_claiming.restart();
    if (claim())
        query();
    else
        waitForOtherProcess();
}

bool QueryWorker::claim() {
    if (!m_lock.acquire())
        return false;
    // The lock decides. A flag without the lock comes from a program that does not know the lock, or is left over.
    m_claimed = m_flags.setUnlessElsewhere(m_names.flag);
    if (!m_claimed && m_claiming.elapsedMs() >= RequestFlag::patienceMs) {
        m_flags.set(m_names.flag);
        m_claimed = true;
    }
    if (!m_claimed)
        m_lock.release();
    return m_claimed;
}

void QueryWorker::waitForOtherProcess() {
    setElsewhere(true);
    log().information(QStringLiteral("Skipping query in this process"));
    m_steps->waitingForOtherProcess(isSynchronous());
    m_taken = false;
    poller().start(
        services().tokenTimeoutMs,
        [this] {
            m_taken = takeFromFile();
            return m_taken || claim();
        },
        [this] { otherProcessEnded(); },
        [this] {
            m_steps->otherProcessTookTooLong();
            gaveUpWaiting();
        });
}

void QueryWorker::otherProcessEnded() {
    setElsewhere(false);
    // The other process may have stored its token since we last read the file. Otherwise it has failed, or it has died and this
    // process continues in its place.
    if (m_taken || takeFromFile()) {
        m_steps->otherProcessSucceeded();
        return finish(1);
    }
    m_steps->otherProcessFailed();
    m_isRetry = true;
    query();
}

void QueryWorker::query() {
    // With the lock held: what another process has stored before it released the lock is in the file now.
    const QString signIn = owner().signInId();
    if (takeFromFile())
        return finish(1);
    if (m_look == FileLook::Unread)
        return retryWhenRead();
    // The product is going away, and has not read the file.
    if (m_look == FileLook::SignInGone && !signIn.isEmpty() && owner().signInId() == signIn)
        return finish(0);
    m_signInId = owner().signInId();
    if (hasJustFailedElsewhere())
        return leaveRetryToOther();
    const QString reason = refusal();
    if (!reason.isEmpty()) {
        log().error(reason);
        return finish(0);
    }
    setHere(true);
    if (!request())
        finish(0);
}

// True when another process has stored a token, so that no query is needed.
bool QueryWorker::takeFromFile() {
    // Another thread may have read the file before.
    m_look = usableToken().isEmpty() ? owner().catchUpWithFile(owner().signInId()) : FileLook::Read;
    return m_look != FileLook::SignInGone && announce();
}

void QueryWorker::acquiredElsewhere() {
    // A query in progress finds the token itself.
    if (!run().isBusy() && owner().catchUpWithFile(owner().signInId()) != FileLook::SignInGone)
        (void)announce();
}

bool QueryWorker::announce() {
    const QByteArray token = usableToken();
    if (token.isEmpty())
        return false;
    m_failure = {};
    if (std::exchange(m_announced, token) != token)
        announceLoaded();
    return true;
}

void QueryWorker::ignoreResult() {
    m_steps->resultIgnored();
    if (owner().catchUpWithFile(m_signInId) != FileLook::SignInGone || !owner().isLoggedIn())
        return finish(0);
    // The later sign-in has found this query in progress, and started none of its own.
    m_signInId = owner().signInId();
    if (usableToken().isEmpty())
        return query();
    // The token of the sign-in itself, of which the observers know.
    noteAnnounced();
    finish(1);
}

void QueryWorker::setHere(bool here) {
    m_steps->flagSetHere(here);
    m_here = here;
}

void QueryWorker::setElsewhere(bool elsewhere) {
    m_elsewhere = elsewhere;
    m_steps->flagSetElsewhere(elsewhere);
}

// True when another process has sent the query since this one last looked, in vain.
bool QueryWorker::hasJustFailedElsewhere() {
    const QueryFailure failure = m_failures->read(m_signInId);
    // Twice the interval, since timers are not exact.
    const bool isNew = !(failure == m_failure) && failure.isWithin(2LL * m_retries.intervalMs, now().toMSecsSinceEpoch());
    // The first try of a caller that waits is made in any case. It is also made when the other process has given up.
    if (!isNew || (!m_isRetry && (isSynchronous() || failure.count > m_retries.maximum)))
        return false;
    m_failure = failure;
    return true;
}

void QueryWorker::leaveRetryToOther() {
    log().information(QStringLiteral("Skipping query in this process"));
    if (mayRetry())
        startQueryTimer();
    finish(0);
}

// The file may hold a token of another process, which a query would invalidate.
void QueryWorker::retryWhenRead() {
    log().warning(QStringLiteral("The login state file cannot be read. Will retry token query after %1")
                      .arg(Util::timeSpanText(m_retries.intervalMs)));
    startQueryTimer();
    finish(0);
}

void QueryWorker::noteFailure() {
    // The count starts again when the last query was given up, or was for another sign-in.
    const bool continues = mayRetry() && m_failure.signInId == m_signInId;
    noteFailures(continues ? m_failure.count + 1 : 1);
}

void QueryWorker::noteFinalFailure() {
    noteFailures(m_retries.maximum + 1);
}

void QueryWorker::noteFailures(int count) {
    m_failure = {count, now().toMSecsSinceEpoch(), m_signInId};
    if (m_claimed)
        m_failures->write(m_failure);
}

void QueryWorker::startQueryTimer() {
    if (isTimerActive())
        return;
    startTimer(m_retries.intervalMs);
    m_steps->timerStarted(m_retries.intervalMs);
}

void QueryWorker::finish(int result) {
    poller().stop();
    if (result != 0)
        m_failure = {};
    if (m_here)
        setHere(false);
    if (m_elsewhere)
        setElsewhere(false);
    if (std::exchange(m_claimed, false)) {
        if (result != 0)
            m_failures->remove();
        m_flags.clear(m_names.flag);
        m_lock.release();
    }
    // After the lock was released: a caller that wakes up may start the next query.
    run().leave(result);
    emitFinished();
}

} // namespace Velquor::WebServices::Internal
