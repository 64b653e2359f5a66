#include "Tokens/OAuth2/OAuth2RefreshLog.h"

#include "Tokens/ModeWord.h"
#include "VqUtil/General/HumanText.h"

namespace Velquor::WebServices::Internal {

void OAuth2RefreshLog::called(bool synchronous, bool isOwnThread) const {
    if (isOwnThread)
        log().information(
            QStringLiteral("%1 OAuth2 token refresh called from refresher thread").arg(capitalModeWord(synchronous)));
    else
        log().information(
            QStringLiteral("%1 OAuth2 token refresh called from different thread").arg(capitalModeWord(synchronous)));
}

void OAuth2RefreshLog::skipped() const {
    log().information(QStringLiteral("Skipping asynchronous OAuth2 token refresh since refresh is already in progress"));
}

void OAuth2RefreshLog::joined() const {
    log().information(QStringLiteral("OAuth2 token refresh is already in progress. Waiting for it to finish."));
}

void OAuth2RefreshLog::emittingStart(bool synchronous, quintptr threadId) const {
    log().information(QStringLiteral("Emitting signal to start %1 OAuth2 token refresh in refresh thread %2")
                          .arg(modeWord(synchronous))
                          .arg(threadId));
}

void OAuth2RefreshLog::slotCalled(bool synchronous) const {
    log().information(
        QStringLiteral("Slot called in refresh thread to start %1 OAuth2 token refresh").arg(modeWord(synchronous)));
}

void OAuth2RefreshLog::starting(bool synchronous) const {
    log().information(QStringLiteral("Starting %1 OAuth2 token refresh").arg(modeWord(synchronous)));
}

void OAuth2RefreshLog::flagSet(bool isSet) const {
    log().information(QStringLiteral("OAuth2TokenRefreshInProgress flag set to %1")
                          .arg(isSet ? QStringLiteral("true") : QStringLiteral("false")));
}

void OAuth2RefreshLog::emittingFinished() const {
    log().information(QStringLiteral("Emitting RefreshFinishedInternal signal for OAuth2 token refresh from refresh thread"));
}

void OAuth2RefreshLog::waiting() const {
    log().information(QStringLiteral("Starting local event loop to wait for OAuth2 token refresh to finish"));
}

void OAuth2RefreshLog::finishedWaiting(bool succeeded, bool isTimedOut) const {
    log().information(QStringLiteral("Finished local event loop. OAuth2 token refresh %1.%2")
                          .arg(succeeded ? QStringLiteral("succeeded") : QStringLiteral("failed"),
                               isTimedOut ? QStringLiteral(" Local event loop timed out.") : QString()));
}

void OAuth2RefreshLog::waitTimedOut() const {
    log().warning(QStringLiteral("Wait ended. OAuth2 token refresh has %1.").arg(QStringLiteral("failed")));
}

void OAuth2RefreshLog::waitSucceeded() const {
    log().information(QStringLiteral("Wait ended. OAuth2 token refresh has %1.").arg(QStringLiteral("finished successfully")));
}

void OAuth2RefreshLog::waitFailed(int) const {
    log().warning(QStringLiteral("Wait ended. OAuth2 token refresh has %1.").arg(QStringLiteral("failed")));
}

void OAuth2RefreshLog::timerStarted(int intervalMs) const {
    log().information(QStringLiteral("OAuth2 token refresh timer started with interval %1").arg(Util::timeSpanText(intervalMs)));
}

void OAuth2RefreshLog::timerStopped() const {
    log().information(QStringLiteral("OAuth2 token refresh timer stopped"));
}

void OAuth2RefreshLog::stoppingTimer(const QString& reason) const {
    log().information(QStringLiteral("Stopping OAuth2 token refresh timer. %1.").arg(reason));
}

void OAuth2RefreshLog::timerFired(const QString& state) const {
    log().information(QStringLiteral("OAuth2 token refresh timer message: %1").arg(state));
}

void OAuth2RefreshLog::timerLate(const TimerLateness& lateness, const QDateTime& expected, const QDateTime& arrival) const {
    log().warning(
        QStringLiteral("OAuth2 token refresh timer message arrived %1 %2. Timer message was expected at %3, but arrived at %4.")
            .arg(Util::timeSpanText(qAbs(lateness.differenceMs)),
                 lateness.isEarly() ? QStringLiteral("early") : QStringLiteral("late"), expected.toUTC().toString(Qt::ISODate),
                 arrival.toUTC().toString(Qt::ISODate)));
}

void OAuth2RefreshLog::invalidExpiry() const {
    log().error(QStringLiteral("Invalid OAuth2 token expiry date found"));
}

} // namespace Velquor::WebServices::Internal
