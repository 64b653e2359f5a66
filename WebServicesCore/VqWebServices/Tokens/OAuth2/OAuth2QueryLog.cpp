#include "Tokens/OAuth2/OAuth2QueryLog.h"

#include "Tokens/ModeWord.h"
#include "VqUtil/General/HumanText.h"

namespace Velquor::WebServices::Internal {

void OAuth2QueryLog::called(bool synchronous, bool isOwnThread) const {
    log().information(QStringLiteral("%1 OAuth2 token query called from %2 thread")
                          .arg(capitalModeWord(synchronous), isOwnThread ? QStringLiteral("same") : QStringLiteral("different")));
}

void OAuth2QueryLog::skipped() const {
    log().information(QStringLiteral("Skipping asynchronous OAuth2 token query since query is already in progress"));
}

void OAuth2QueryLog::joined() const {
    log().information(QStringLiteral("OAuth2 token query is already in progress. Waiting for it to finish"));
}

void OAuth2QueryLog::joinedWaitEnded(bool succeeded) const {
    log().information(QStringLiteral("Wait ended. OAuth2 token query has %1")
                          .arg(succeeded ? QStringLiteral("finished successfully") : QStringLiteral("failed")));
}

void OAuth2QueryLog::invoking(bool synchronous) const {
    if (synchronous)
        log().information(
            QStringLiteral("Invoking query method to do OAuth2 token query in query thread. Waiting for it to finish."));
    else
        log().information(
            QStringLiteral("Invoking query method asynchronously to start OAuth2 token query in query thread and returning"));
}

void OAuth2QueryLog::invocationFailed(bool synchronous) const {
    if (synchronous)
        log().error(QStringLiteral("Failed to invoke query method to do OAuth2 token query in query thread"));
    else
        log().error(QStringLiteral("Failed to invoke query method to start OAuth2 token query in query thread"));
}

void OAuth2QueryLog::slotCalled(bool synchronous) const {
    if (synchronous)
        log().information(QStringLiteral("StartQueryOAuth2Token called to do %2 OAuth2 token query").arg(modeWord(true)));
    else
        log().information(QStringLiteral("StartQueryOAuth2TokenAsync called to do %1 OAuth2 token query").arg(modeWord(false)));
}

void OAuth2QueryLog::starting(bool synchronous) const {
    log().information(QStringLiteral("Starting %1 OAuth2 token query").arg(modeWord(synchronous)));
}

void OAuth2QueryLog::timerStarted(int intervalMs) const {
    log().information(QStringLiteral("OAuth2 token query timer started with interval %1").arg(Util::timeSpanText(intervalMs)));
}

void OAuth2QueryLog::timerStopped() const {
    log().information(QStringLiteral("OAuth2 token query timer stopped"));
}

void OAuth2QueryLog::timerFired() const {
    log().information(QStringLiteral("OAuth2 token query timer message"));
}

void OAuth2QueryLog::flagSetHere(bool isSet) const {
    log().information(QStringLiteral("OAuth2TokenQueryInProgressInThisProcess flag set to %1")
                          .arg(isSet ? QStringLiteral("true") : QStringLiteral("false")));
}

void OAuth2QueryLog::flagSetElsewhere(bool isSet) const {
    log().information(QStringLiteral("OAuth2TokenQueryInProgressInAnotherProcess flag set to %1")
                          .arg(isSet ? QStringLiteral("true") : QStringLiteral("false")));
}

void OAuth2QueryLog::waitingForOtherProcess(bool) const {
    log().information(QStringLiteral("OAuth2 token query is in progress in another process. %1.")
                          .arg(QStringLiteral("Waiting for it to finish")));
}

void OAuth2QueryLog::otherProcessSucceeded() const {
    log().information(
        QStringLiteral("Finished waiting for OAuth2 token query to finish in another process. OAuth2 token query successful."));
}

void OAuth2QueryLog::otherProcessFailed() const {
    log().warning(
        QStringLiteral("Finished waiting for OAuth2 token query to finish in another process. OAuth2 token query failed."));
}

void OAuth2QueryLog::otherProcessTookTooLong() const {
    log().error(
        QStringLiteral("Finished waiting for OAuth2 token query to finish in another process. OAuth2 token query failed."));
}

void OAuth2QueryLog::resultIgnored() const {
    log().information(QStringLiteral("OAuth2 token query finished. But ignoring the result since user has logged out."));
}

} // namespace Velquor::WebServices::Internal
