#include "Tokens/Query/QueryWorker.h"

#include "VqUtil/General/HumanText.h"

#include <utility>

namespace Velquor::WebServices::Internal {

QueryWorker::QueryWorker(ITokenOwner& owner, IRequestFlags& flags, const QueryTexts& texts, const QString& lockName,
                         const QString& flag)
    : TokenWorker(owner, texts.logger)
    , m_flags(flags)
    , m_texts(texts)
    , m_flag(flag)
    , m_lock(lockName, owner.services().lockFolder, owner.services().loggers.lock) {}

QueryWorker::~QueryWorker() {
    if (m_claimed)
        m_flags.clear(m_flag);
}

QueryWorker::Answer QueryWorker::ask(bool synchronous) {
    const QString mode = modeWord(synchronous);
    log().information(m_texts.called.arg(mode.left(1).toUpper() + mode.mid(1),
                                         isOwnThread() ? QStringLiteral("same") : QStringLiteral("different")));
    const RunState::Entry entry = run().enter();
    if (entry == RunState::Entry::Closed) {
        log().error(synchronous ? m_texts.invocationFailed : m_texts.asynchronousInvocationFailed);
        return Answer::Refused;
    }
    if (entry == RunState::Entry::Busy) {
        log().information(synchronous ? m_texts.alreadyInProgress : m_texts.skippedAsynchronous);
        return synchronous ? Answer::Joined : Answer::Skipped;
    }
    log().information(synchronous ? m_texts.invoking : m_texts.invokingAsynchronously);
    QMetaObject::invokeMethod(
        this, [this, synchronous] { startQuery(synchronous); }, Qt::QueuedConnection);
    return synchronous ? Answer::Wait : Answer::Started;
}

bool QueryWorker::waitForEnd(RunWaiter& waiter, Answer answer, const TokenDependencies& services, const QueryTexts& texts) {
    const bool succeeded = waiter.wait(services.tokenTimeoutMs).result != 0;
    if (answer == Answer::Joined)
        (services.loggers.*texts.logger)
            ->information(texts.waitEnded.arg(succeeded ? QStringLiteral("finished successfully") : QStringLiteral("failed")));
    return succeeded;
}

void QueryWorker::startQuery(bool synchronous) {
    log().information((synchronous ? m_texts.slotCalled : m_texts.asynchronousSlotCalled).arg(modeWord(synchronous)));
    setSynchronous(synchronous);
    doQuery();
}

void QueryWorker::timerFired() {
    log().information(m_texts.timerMessage);
    if (run().enter() != RunState::Entry::Entered)
        return;
    setSynchronous(false);
    doQuery();
}

void QueryWorker::doQuery() {
    if (isTimerActive())
        log().information(m_texts.timerStopped);
    stopTimer();
    log().information(m_texts.starting.arg(modeWord(isSynchronous())));
    m_claiming.start();
    if (claim())
        query();
    else
        waitForOtherProcess();
}

bool QueryWorker::claim() {
    if (!m_lock.acquire())
        return false;
    m_claimed = m_flags.setUnlessElsewhere(m_flag);
    if (!m_claimed && m_claiming.elapsed() >= RequestFlag::patienceMs) {
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
    if (isSynchronous() || m_texts.tellsAsynchronousWait)
        log().information(m_texts.inProgressElsewhere.arg(QStringLiteral("Waiting for it to finish")));
    m_taken = false;
    poller().start(
        services().tokenTimeoutMs,
        [this] {
            m_taken = takeFromFile();
            return m_taken || claim();
        },
        [this] { otherProcessEnded(); },
        [this] {
            log().error(m_texts.failedElsewhere);
            gaveUpWaiting();
        });
}

void QueryWorker::otherProcessEnded() {
    setElsewhere(false);
    // It may have stored its token between our two looks. When it did not, it has failed or died, and we go on in its place.
    if (m_taken || takeFromFile()) {
        log().information(m_texts.succeededElsewhere);
        return finish(1);
    }
    log().warning(m_texts.failedElsewhere);
    query();
}

void QueryWorker::query() {
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
    log().information(m_texts.flagSetHere.arg(here ? QStringLiteral("true") : QStringLiteral("false")));
    m_here = here;
}

void QueryWorker::setElsewhere(bool elsewhere) {
    m_elsewhere = elsewhere;
    log().information(m_texts.flagSetElsewhere.arg(elsewhere ? QStringLiteral("true") : QStringLiteral("false")));
}

void QueryWorker::startQueryTimer(int intervalMs) {
    if (isTimerActive() && timerInterval() == intervalMs)
        return;
    startTimer(intervalMs);
    log().information(m_texts.timerStarted.arg(Util::timeSpanText(intervalMs)));
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
    run().leave(result);
    emitFinished();
}

} // namespace Velquor::WebServices::Internal
