#include "Tokens/Query/TokenQueryLog.h"

#include "Tokens/ModeWord.h"
#include "VqUtil/General/HumanText.h"

namespace Velquor::WebServices::Internal {

void TokenQueryLog::called(bool synchronous, bool isOwnThread) const {
    log().information(QStringLiteral("%1 token query called from %2 thread")
                          .arg(capitalModeWord(synchronous), isOwnThread ? QStringLiteral("same") : QStringLiteral("different")));
}

void TokenQueryLog::skipped() const {
    log().information(QStringLiteral("Skipping asycnhronous token query since query is already in progress"));
}

void TokenQueryLog::joined() const {
    log().information(QStringLiteral("Token query is already in progress. Waiting for it to finish"));
}

void TokenQueryLog::joinedWaitEnded(bool succeeded) const {
    log().information(QStringLiteral("Wait ended. Token query has %1")
                          .arg(succeeded ? QStringLiteral("finished successfully") : QStringLiteral("failed")));
}

void TokenQueryLog::invoking(bool synchronous) const {
    if (synchronous)
        log().information(QStringLiteral("Invoking query method to do token query in query thread. Waiting for it to finish."));
    else
        log().information(
            QStringLiteral("Invoking query method asynchronously to start token query in query thread and returning"));
}

void TokenQueryLog::invocationFailed(bool) const {
    log().error(QStringLiteral("Failed to invoke query method to start token query in query thread"));
}

void TokenQueryLog::slotCalled(bool synchronous) const {
    if (synchronous)
        log().information(QStringLiteral("StartQueryToken called to do %1 token query").arg(modeWord(true)));
    else
        log().information(QStringLiteral("StartQueryTokenAsync called to do %1 token query").arg(modeWord(false)));
}

void TokenQueryLog::starting(bool synchronous) const {
    log().information(QStringLiteral("Starting %1 token query").arg(modeWord(synchronous)));
}

void TokenQueryLog::timerStarted(int intervalMs) const {
    log().information(QStringLiteral("Token query timer started with interval %1").arg(Util::timeSpanText(intervalMs)));
}

void TokenQueryLog::timerStopped() const {
    log().information(QStringLiteral("Token query timer stopped"));
}

void TokenQueryLog::timerFired() const {
    log().information(QStringLiteral("Token query timer event received"));
}

void TokenQueryLog::flagSetHere(bool isSet) const {
    log().information(QStringLiteral("TokenQueryInProgressInThisProcess flag set to %1")
                          .arg(isSet ? QStringLiteral("true") : QStringLiteral("false")));
}

void TokenQueryLog::flagSetElsewhere(bool isSet) const {
    log().information(QStringLiteral("TokenQueryInProgressInAnotherProcess flag set to %1")
                          .arg(isSet ? QStringLiteral("true") : QStringLiteral("false")));
}

void TokenQueryLog::waitingForOtherProcess(bool synchronous) const {
    if (synchronous)
        log().information(
            QStringLiteral("Token query is in progress in another process. %1.").arg(QStringLiteral("Waiting for it to finish")));
}

void TokenQueryLog::otherProcessSucceeded() const {
    log().information(QStringLiteral("Finished waiting for token query to finish in another process. %1.")
                          .arg(QStringLiteral("Token query successful")));
}

void TokenQueryLog::otherProcessFailed() const {
    log().warning(QStringLiteral("Finished waiting for token query to finish in another process. %1.")
                      .arg(QStringLiteral("Token query failed")));
}

void TokenQueryLog::otherProcessTookTooLong() const {
    log().error(QStringLiteral("Finished waiting for token query to finish in another process. %1.")
                    .arg(QStringLiteral("Token query failed")));
}

void TokenQueryLog::resultIgnored() const {
    log().information(QStringLiteral("Token query finished. But ignoring the result since user has logged out."));
}

} // namespace Velquor::WebServices::Internal
