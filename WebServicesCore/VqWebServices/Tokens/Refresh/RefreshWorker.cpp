#include "Tokens/Refresh/RefreshWorker.h"

#include "Tokens/Refresh/RefreshTiming.h"
#include "VqUtil/General/HumanText.h"

#include <QThread>

namespace Velquor::WebServices::Internal {

namespace {

QString capitalised(const QString& word) {
    return word.left(1).toUpper() + word.mid(1);
}

} // namespace

RefreshWorker::RefreshWorker(ITokenOwner& owner, const RefreshTexts& texts)
    : TokenWorker(owner, texts.logger)
    , m_texts(texts) {
    connect(this, &RefreshWorker::StartRefreshToken, this, &RefreshWorker::StartRefreshTokenSlot, Qt::QueuedConnection);
    // Moves with this object, and so runs first on its thread.
    QMetaObject::invokeMethod(
        this, [this] { m_threadId = reinterpret_cast<quintptr>(QThread::currentThreadId()); }, Qt::QueuedConnection);
}

RefreshWorker::Answer RefreshWorker::ask(bool synchronous, Reason reason) {
    const QString called = isOwnThread() ? m_texts.calledFromOwnThread : m_texts.calledFromOtherThread;
    log().information(called.arg(capitalised(modeWord(synchronous))));
    const RunState::Entry entry = run().enter();
    if (entry == RunState::Entry::Closed)
        return Answer::Refused;
    if (entry == RunState::Entry::Busy) {
        log().information(synchronous ? m_texts.alreadyInProgress : m_texts.skippedAsynchronous);
        return synchronous ? Answer::Wait : Answer::Skipped;
    }
    m_onlyForExpired = reason == Reason::Expired;
    if (isOwnThread()) {
        doRefresh(synchronous);
        return Answer::Started;
    }
    log().information(m_texts.emittingStart.arg(modeWord(synchronous)).arg(m_threadId.load()));
    emit StartRefreshToken(synchronous);
    return synchronous ? Answer::Wait : Answer::Started;
}

bool RefreshWorker::waitForEnd(RunWaiter& waiter, const TokenDependencies& services, const RefreshTexts& texts) {
    Log::ILogger& logger = *(services.loggers.*texts.logger);
    logger.information(texts.waiting);
    const RunWaiter::Outcome outcome = waiter.wait(services.tokenTimeoutMs);
    const bool succeeded = outcome.result != 0;
    const QString note = outcome.isTimedOut ? QStringLiteral(" Local event loop timed out.") : QString();
    logger.information(texts.finishedWaiting.arg(succeeded ? QStringLiteral("succeeded") : QStringLiteral("failed"), note));
    if (outcome.isTimedOut)
        logger.warning(texts.waitTimedOut);
    else if (succeeded)
        logger.information(texts.waitSucceeded);
    else
        logger.warning(texts.waitFailed.contains(QStringLiteral("%1")) ? texts.waitFailed.arg(outcome.result) : texts.waitFailed);
    return succeeded;
}

void RefreshWorker::StartRefreshTokenSlot(bool synchronous) {
    log().information(m_texts.slotCalled.arg(modeWord(synchronous)));
    doRefresh(synchronous);
}

void RefreshWorker::doRefresh(bool synchronous) {
    setSynchronous(synchronous);
    m_isRetry = false;
    noteTriedToken();
    stopRefreshTimer();
    log().information(m_texts.flagSet.arg(QStringLiteral("true")));
    log().information(m_texts.starting.arg(modeWord(synchronous)));
    refresh();
}

void RefreshWorker::finish(int result) {
    poller().stop();
    releaseLocks();
    log().information(m_texts.flagSet.arg(QStringLiteral("false")));
    log().information(m_texts.emittingFinished);
    run().leave(result);
    emit RefreshFinishedInternal(result);
}

bool RefreshWorker::isAnotherToken() const {
    const QByteArray held = heldToken();
    return !held.isEmpty() && held != m_triedToken;
}

void RefreshWorker::finishAndRetry(int intervalMs) {
    finish(0);
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
    // The end of the run sees to the timer.
    if (run().isBusy())
        return;
    // Other news than of this token must not bring a try forward that was put off on purpose.
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

QString RefreshWorker::describeExpiry(const QString& text, bool& isDue) const {
    const qint64 seconds = now().secsTo(expiryDate());
    isDue = isDue || isTimeToRefresh(seconds);
    const QString state =
        seconds <= 0 ? QStringLiteral("has expired") : QStringLiteral("expires in %1").arg(Util::timeSpanText(seconds * 1000));
    return text.arg(state, isDue ? QStringLiteral("Time to refresh now") : QStringLiteral("No need to refresh now"));
}

void RefreshWorker::updateRefreshTimer() {
    m_isRetry = false;
    const QString reason = timerStopReason();
    if (!reason.isEmpty()) {
        log().information(m_texts.stoppingTimer.arg(reason));
        stopRefreshTimer();
        return;
    }
    const QDateTime expiry = expiryDate();
    if (!expiry.isValid()) {
        log().error(m_texts.invalidExpiry);
        return;
    }
    startRefreshTimer(refreshIntervalMs(now().secsTo(expiry), shortestIntervalMs()));
}

void RefreshWorker::startRefreshTimer(int intervalMs) {
    startTimer(intervalMs);
    m_expectedArrival = now().addMSecs(intervalMs);
    log().information(m_texts.timerStarted.arg(Util::timeSpanText(intervalMs)));
}

void RefreshWorker::stopRefreshTimer() {
    if (isTimerActive())
        log().information(m_texts.timerStopped);
    stopTimer();
    m_expectedArrival = {};
}

void RefreshWorker::timerFired() {
    const QDateTime arrival = now();
    const TimerLateness lateness = timerLateness(m_expectedArrival, arrival);
    if (lateness.isNotable()) {
        const QString span = Util::timeSpanText(qAbs(lateness.differenceMs));
        log().warning(m_texts.lateMessage.arg(span, lateness.isEarly() ? QStringLiteral("early") : QStringLiteral("late"),
                                              m_expectedArrival.toUTC().toString(Qt::ISODate),
                                              arrival.toUTC().toString(Qt::ISODate)));
    }
    m_expectedArrival = arrival.addMSecs(timerInterval());
    bool isDue = false;
    const QString state = describeToken(isDue);
    log().information(m_texts.timerMessage.arg(state));
    if (isDue)
        (void)ask(false, Reason::Requested);
    else
        updateRefreshTimer();
}

bool RefreshWorker::isSettledElsewhere() {
    const bool isSignInGone = !owner().catchUpWithFile(m_signInMark);
    // Whoever renewed the token has spent ours by it. Which of them ends later says nothing: a clock may have been put right
    // since.
    if (isSignInGone)
        signInGone();
    else if (isAnotherToken())
        takeFromFile();
    else
        return false;
    return true;
}

void RefreshWorker::giveUp(const QString& text) {
    log().error(text);
    finish(0);
    owner().forceLogout(m_signInMark);
}

} // namespace Velquor::WebServices::Internal
