#include "Tokens/Refresh/RefreshTexts.h"

namespace Velquor::WebServices::Internal {

namespace {

RefreshTexts makeTokenRefreshTexts() {
    RefreshTexts texts;
    texts.logger = &Loggers::refresher;
    texts.timerStarted = QStringLiteral("Token refresh timer started with interval %1");
    texts.timerStopped = QStringLiteral("Token refresh timer stopped");
    texts.stoppingTimer = QStringLiteral("Stopping token refresh timer. %1.");
    texts.lateMessage =
        QStringLiteral("Token refresh timer message arrived %1 %2. Timer message was expected at %3, but arrived at %4.");
    texts.timerMessage = QStringLiteral("Token refresh timer message: %1.");
    texts.invalidExpiry = QStringLiteral("Invalid token expiry date found");
    texts.calledFromOwnThread = QStringLiteral("%1 token refresh called from refresher thread");
    texts.calledFromOtherThread = QStringLiteral("%1 token refresh called from different thread");
    texts.alreadyInProgress = QStringLiteral("Token refresh is already in progress. Waiting for it to finish.");
    texts.skippedAsynchronous = QStringLiteral("Skipping asycnhronous token refresh since refresh is already in progress");
    texts.emittingStart = QStringLiteral("Emitting signal to start %1 token refresh in refresh thread %2");
    texts.slotCalled = QStringLiteral("Slot called in refresh thread to start %1 token refresh");
    texts.waiting = QStringLiteral("Starting local event loop to wait for token refresh to finish");
    texts.finishedWaiting = QStringLiteral("Finished local event loop. Token refresh %1.%2");
    texts.waitTimedOut = QStringLiteral("Wait ended. Timed out while waiting for token refresh.");
    texts.waitSucceeded = QStringLiteral("Wait ended. Token refresh finished successfully.");
    texts.waitFailed = QStringLiteral("Wait ended. Token refresh failed. Error code: %1.");
    texts.flagSet = QStringLiteral("TokenRefreshInProgress flag set to %1");
    texts.starting = QStringLiteral("Starting %1 token refresh");
    texts.emittingFinished = QStringLiteral("Emitting RefreshFinishedInternal signal for token refresh from refresh thread");
    return texts;
}

} // namespace

const RefreshTexts& tokenRefreshTexts() {
    static const RefreshTexts texts = makeTokenRefreshTexts();
    return texts;
}

} // namespace Velquor::WebServices::Internal
