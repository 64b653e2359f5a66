// The words of the OAuth2 token query and refresh.

#include "Tokens/Query/QueryTexts.h"
#include "Tokens/Refresh/RefreshTexts.h"

namespace Velquor::WebServices::Internal {

namespace {

QueryTexts makeOAuth2QueryTexts() {
    QueryTexts texts;
    texts.logger = &Loggers::oauth2Fetcher;
    texts.called = QStringLiteral("%1 OAuth2 token query called from %2 thread");
    texts.skippedAsynchronous = QStringLiteral("Skipping asynchronous OAuth2 token query since query is already in progress");
    texts.alreadyInProgress = QStringLiteral("OAuth2 token query is already in progress. Waiting for it to finish");
    texts.waitEnded = QStringLiteral("Wait ended. OAuth2 token query has %1");
    texts.invoking = QStringLiteral("Invoking query method to do OAuth2 token query in query thread. Waiting for it to finish.");
    texts.invokingAsynchronously =
        QStringLiteral("Invoking query method asynchronously to start OAuth2 token query in query thread and returning");
    texts.invocationFailed = QStringLiteral("Failed to invoke query method to do OAuth2 token query in query thread");
    texts.asynchronousInvocationFailed =
        QStringLiteral("Failed to invoke query method to start OAuth2 token query in query thread");
    texts.slotCalled = QStringLiteral("StartQueryOAuth2Token called to do %2 OAuth2 token query");
    texts.asynchronousSlotCalled = QStringLiteral("StartQueryOAuth2TokenAsync called to do %1 OAuth2 token query");
    texts.timerMessage = QStringLiteral("OAuth2 token query timer message");
    texts.timerStarted = QStringLiteral("OAuth2 token query timer started with interval %1");
    texts.timerStopped = QStringLiteral("OAuth2 token query timer stopped");
    texts.starting = QStringLiteral("Starting %1 OAuth2 token query");
    texts.flagSetHere = QStringLiteral("OAuth2TokenQueryInProgressInThisProcess flag set to %1");
    texts.flagSetElsewhere = QStringLiteral("OAuth2TokenQueryInProgressInAnotherProcess flag set to %1");
    texts.inProgressElsewhere = QStringLiteral("OAuth2 token query is in progress in another process. %1.");
    texts.tellsAsynchronousWait = true;
    texts.succeededElsewhere =
        QStringLiteral("Finished waiting for OAuth2 token query to finish in another process. OAuth2 token query successful.");
    texts.failedElsewhere =
        QStringLiteral("Finished waiting for OAuth2 token query to finish in another process. OAuth2 token query failed.");
    return texts;
}

RefreshTexts makeOAuth2RefreshTexts() {
    const auto waitEnded = QStringLiteral("Wait ended. OAuth2 token refresh has %1.");
    RefreshTexts texts;
    texts.logger = &Loggers::oauth2Refresher;
    texts.timerStarted = QStringLiteral("OAuth2 token refresh timer started with interval %1");
    texts.timerStopped = QStringLiteral("OAuth2 token refresh timer stopped");
    texts.stoppingTimer = QStringLiteral("Stopping OAuth2 token refresh timer. %1.");
    texts.lateMessage =
        QStringLiteral("OAuth2 token refresh timer message arrived %1 %2. Timer message was expected at %3, but arrived at %4.");
    texts.timerMessage = QStringLiteral("OAuth2 token refresh timer message: %1");
    texts.invalidExpiry = QStringLiteral("Invalid OAuth2 token expiry date found");
    texts.calledFromOwnThread = QStringLiteral("%1 OAuth2 token refresh called from refresher thread");
    texts.calledFromOtherThread = QStringLiteral("%1 OAuth2 token refresh called from different thread");
    texts.alreadyInProgress = QStringLiteral("OAuth2 token refresh is already in progress. Waiting for it to finish.");
    texts.skippedAsynchronous = QStringLiteral("Skipping asynchronous OAuth2 token refresh since refresh is already in progress");
    texts.emittingStart = QStringLiteral("Emitting signal to start %1 OAuth2 token refresh in refresh thread %2");
    texts.slotCalled = QStringLiteral("Slot called in refresh thread to start %1 OAuth2 token refresh");
    texts.waiting = QStringLiteral("Starting local event loop to wait for OAuth2 token refresh to finish");
    texts.finishedWaiting = QStringLiteral("Finished local event loop. OAuth2 token refresh %1.%2");
    texts.waitTimedOut = waitEnded.arg(QStringLiteral("failed"));
    texts.waitSucceeded = waitEnded.arg(QStringLiteral("finished successfully"));
    texts.waitFailed = texts.waitTimedOut;
    texts.flagSet = QStringLiteral("OAuth2TokenRefreshInProgress flag set to %1");
    texts.starting = QStringLiteral("Starting %1 OAuth2 token refresh");
    texts.emittingFinished =
        QStringLiteral("Emitting RefreshFinishedInternal signal for OAuth2 token refresh from refresh thread");
    return texts;
}

} // namespace

const QueryTexts& oauth2QueryTexts() {
    static const QueryTexts texts = makeOAuth2QueryTexts();
    return texts;
}

const RefreshTexts& oauth2RefreshTexts() {
    static const RefreshTexts texts = makeOAuth2RefreshTexts();
    return texts;
}

} // namespace Velquor::WebServices::Internal
