#include "Tokens/Query/QueryTexts.h"

namespace Velquor::WebServices::Internal {

namespace {

QueryTexts makeTokenQueryTexts() {
    const auto elsewhere = QStringLiteral("Finished waiting for token query to finish in another process. %1.");
    QueryTexts texts;
    texts.logger = &Loggers::fetcher;
    texts.called = QStringLiteral("%1 token query called from %2 thread");
    texts.skippedAsynchronous = QStringLiteral("Skipping asycnhronous token query since query is already in progress");
    texts.alreadyInProgress = QStringLiteral("Token query is already in progress. Waiting for it to finish");
    texts.waitEnded = QStringLiteral("Wait ended. Token query has %1");
    texts.invoking = QStringLiteral("Invoking query method to do token query in query thread. Waiting for it to finish.");
    texts.invokingAsynchronously =
        QStringLiteral("Invoking query method asynchronously to start token query in query thread and returning");
    texts.invocationFailed = QStringLiteral("Failed to invoke query method to start token query in query thread");
    texts.asynchronousInvocationFailed = texts.invocationFailed;
    texts.slotCalled = QStringLiteral("StartQueryToken called to do %1 token query");
    texts.asynchronousSlotCalled = QStringLiteral("StartQueryTokenAsync called to do %1 token query");
    texts.timerMessage = QStringLiteral("Token query timer event received");
    texts.timerStarted = QStringLiteral("Token query timer started with interval %1");
    texts.timerStopped = QStringLiteral("Token query timer stopped");
    texts.starting = QStringLiteral("Starting %1 token query");
    texts.flagSetHere = QStringLiteral("TokenQueryInProgressInThisProcess flag set to %1");
    texts.flagSetElsewhere = QStringLiteral("TokenQueryInProgressInAnotherProcess flag set to %1");
    texts.inProgressElsewhere = QStringLiteral("Token query is in progress in another process. %1.");
    texts.succeededElsewhere = elsewhere.arg(QStringLiteral("Token query successful"));
    texts.failedElsewhere = elsewhere.arg(QStringLiteral("Token query failed"));
    return texts;
}

} // namespace

const QueryTexts& tokenQueryTexts() {
    static const QueryTexts texts = makeTokenQueryTexts();
    return texts;
}

} // namespace Velquor::WebServices::Internal
