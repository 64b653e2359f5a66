#include "Tokens/Refresh/TokenRefreshLog.h"

#include "Tokens/ModeWord.h"
#include "VqUtil/General/HumanText.h"

namespace Velquor::WebServices::Internal {

void TokenRefreshLog::called(bool synchronous, bool isOwnThread) const {
    if (isOwnThread)
        log().information(QStringLiteral("%1 token refresh called from refresher thread").arg(capitalModeWord(synchronous)));
    else
        log().information(QStringLiteral("%1 token refresh called from different thread").arg(capitalModeWord(synchronous)));
}

void TokenRefreshLog::skipped() const {
    log().information(QStringLiteral("Skipping asycnhronous token refresh since refresh is already in progress"));
}

void TokenRefreshLog::joined() const {
    log().information(QStringLiteral("Token refresh is already in progress. Waiting for it to finish."));
}

void TokenRefreshLog::emittingStart(bool synchronous, quintptr threadId) const {
    log().information(QStringLiteral("Emitting signal to start %1 token refresh in refresh thread %2")
                          .arg(modeWord(synchronous))
                          .arg(threadId));
}

void TokenRefreshLog::slotCalled(bool synchronous) const {
    log().information(QStringLiteral("Slot called in refresh thread to start %1 token refresh").arg(modeWord(synchronous)));
}

void TokenRefreshLog::starting(bool synchronous) const {
    log().information(QStringLiteral("Starting %1 token refresh").arg(modeWord(synchronous)));
}

void TokenRefreshLog::flagSet(bool isSet) const {
    log().information(
        QStringLiteral("TokenRefreshInProgress flag set to %1").arg(isSet ? QStringLiteral("true") : QStringLiteral("false")));
}

void TokenRefreshLog::emittingFinished() const {
    log().information(QStringLiteral("Emitting RefreshFinishedInternal signal for token refresh from refresh thread"));
}

void TokenRefreshLog::waiting() const {
    log().information(QStringLiteral("Starting local event loop to wait for token refresh to finish"));
}

void TokenRefreshLog::finishedWaiting(bool succeeded, bool isTimedOut) const {
    log().information(QStringLiteral("Finished local event loop. Token refresh %1.%2")
                          .arg(succeeded ? QStringLiteral("succeeded") : QStringLiteral("failed"),
                               isTimedOut ? QStringLiteral(" Local event loop timed out.") : QString()));
}

void TokenRefreshLog::waitTimedOut() const {
    log().warning(QStringLiteral("Wait ended. Timed out while waiting for token refresh."));
}

void TokenRefreshLog::waitSucceeded() const {
    log().information(QStringLiteral("Wait ended. Token refresh finished successfully."));
}

void TokenRefreshLog::waitFailed(int result) const {
    log().warning(QStringLiteral("Wait ended. Token refresh failed. Error code: %1.").arg(result));
}

void TokenRefreshLog::timerStarted(int intervalMs) const {
    log().information(QStringLiteral("Token refresh timer started with interval %1").arg(Util::timeSpanText(intervalMs)));
}

void TokenRefreshLog::timerStopped() const {
    log().information(QStringLiteral("Token refresh timer stopped"));
}

void TokenRefreshLog::stoppingTimer(const QString& reason) const {
    log().information(QStringLiteral("Stopping token refresh timer. %1.").arg(reason));
}

void TokenRefreshLog::timerFired(const QString& state) const {
    log().information(QStringLiteral("Token refresh timer message: %1.").arg(state));
}

void TokenRefreshLog::timerLate(const TimerLateness& lateness, const QDateTime& expected, const QDateTime& arrival) const {
    log().warning(
        QStringLiteral("Token refresh timer message arrived %1 %2. Timer message was expected at %3, but arrived at %4.")
            .arg(Util::timeSpanText(qAbs(lateness.differenceMs)),
                 lateness.isEarly() ? QStringLiteral("early") : QStringLiteral("late"), expected.toUTC().toString(Qt::ISODate),
                 arrival.toUTC().toString(Qt::ISODate)));
}

void TokenRefreshLog::invalidExpiry() const {
    log().error(QStringLiteral("Invalid token expiry date found"));
}

} // namespace Velquor::WebServices::Internal
