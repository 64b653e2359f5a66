#pragma once

#include "Values/Loggers.h"

#include <QString>

namespace Velquor::WebServices::Internal {

/// The words of one kind of refresh for the steps that all kinds share. Placeholders as in the texts. A plain value.
struct RefreshTexts {
    Loggers::Logger Loggers::*logger = nullptr; ///< Where they are written.
    QString timerStarted;
    QString timerStopped;
    QString stoppingTimer;
    QString lateMessage;
    QString timerMessage;
    QString invalidExpiry;
    QString calledFromOwnThread;
    QString calledFromOtherThread;
    QString alreadyInProgress;
    QString skippedAsynchronous;
    QString emittingStart;
    QString slotCalled;
    QString waiting;
    QString finishedWaiting;
    QString waitTimedOut;
    QString waitSucceeded;
    QString waitFailed;
    QString flagSet;
    QString starting;
    QString emittingFinished;
};

/// The words of the OAuth 1.0 refresh.
[[nodiscard]] const RefreshTexts& tokenRefreshTexts();

/// The words of the OAuth2 refresh.
[[nodiscard]] const RefreshTexts& oauth2RefreshTexts();

} // namespace Velquor::WebServices::Internal
