#include "Tokens/Query/QueryWorker.h"

#include <utility>

namespace Velquor::WebServices::Internal {

QueryWorker::QueryWorker(ITokenOwner& owner, IRequestFlags& flags, Loggers::Logger Loggers::*logger,
                         std::unique_ptr<const QueryLog> steps, const QString& lockName, const QString& flag)
    : TokenWorker(owner, logger)
    , m_flags(flags)
    , m_steps(std::move(steps))
    , m_flag(flag)
    , m_lock(lockName, owner.services().claims->makeGuard(lockName, owner.services().lockFolder), owner.services().loggers.lock)
    , m_claiming(owner.services().steadyClock) {}

QueryWorker::~QueryWorker() {
    if (m_claimed)
        m_flags.clear(m_flag);
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

bool QueryWorker::waitForEnd(RunWaiter& waiter, Answer answer, const TokenDependencies& services, const QueryLog& steps) {
    const bool succeeded = waiter.wait(services.tokenTimeoutMs).result != 0;
    if (answer == Answer::Joined)
        steps.joinedWaitEnded(succeeded);
    return succeeded;
}

void QueryWorker::startQuery(bool synchronous) {
    m_steps->slotCalled(synchronous);
    setSynchronous(synchronous);
    doQuery();
}

void QueryWorker::timerFired() {
    m_steps->timerFired();
    if (run().enter() != RunState::Entry::Entered)
        return;
    setSynchronous(false);
    doQuery();
}

void QueryWorker::doQuery() {
    if (isTimerActive())
        m_steps->timerStopped();
    stopTimer();
    m_steps->starting(isSynchronous());
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
    m_claimed = m_flags.setUnlessElsewhere(m_flag);
    if (!m_claimed && m_claiming.elapsedMs() >= RequestFlag::patienceMs) {
        m_flags.set(m_flag);
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
    // The other process may have stored its token since we last read the file. Otherwise it has failed or died, and this process
    // continues in its place.
    if (m_taken || takeFromFile()) {
        m_steps->otherProcessSucceeded();
        return finish(1);
    }
    m_steps->otherProcessFailed();
    query();
}

void QueryWorker::query() {
    // With the lock held: what another process has stored before it released the lock is in the file now.
    if (takeFromFile())
        return finish(1);
    const QString reason = refusal();
    if (!reason.isEmpty()) {
        log().error(reason);
        return finish(0);
    }
    setHere(true);
    if (!request())
        finish(0);
}

void QueryWorker::setHere(bool here) {
    m_steps->flagSetHere(here);
    m_here = here;
}

void QueryWorker::setElsewhere(bool elsewhere) {
    m_elsewhere = elsewhere;
    m_steps->flagSetElsewhere(elsewhere);
}

void QueryWorker::startQueryTimer(int intervalMs) {
    if (isTimerActive() && timerInterval() == intervalMs)
        return;
    startTimer(intervalMs);
    m_steps->timerStarted(intervalMs);
}

void QueryWorker::finish(int result) {
    poller().stop();
    if (m_here)
        setHere(false);
    if (m_elsewhere)
        setElsewhere(false);
    if (std::exchange(m_claimed, false)) {
        m_flags.clear(m_flag);
        m_lock.release();
    }
    // After the lock was released: a caller that wakes up may start the next query.
    run().leave(result);
    emitFinished();
}

} // namespace Velquor::WebServices::Internal
