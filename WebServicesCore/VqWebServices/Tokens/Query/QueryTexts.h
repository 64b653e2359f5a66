#pragma once

#include "Values/Loggers.h"

#include <QString>

namespace Velquor::WebServices::Internal {

/// The words of one kind of token query for the steps that all kinds share. Placeholders as in the texts. A plain value.
struct QueryTexts {
    Loggers::Logger Loggers::*logger = nullptr; ///< Where they are written.
    QString called;
    QString skippedAsynchronous;
    QString alreadyInProgress;
    QString waitEnded;
    QString invoking;
    QString invokingAsynchronously;
    QString invocationFailed;
    QString asynchronousInvocationFailed;
    QString slotCalled;
    QString asynchronousSlotCalled;
    QString timerMessage;
    QString timerStarted;
    QString timerStopped;
    QString starting;
    QString flagSetHere;
    QString flagSetElsewhere;
    QString inProgressElsewhere;
    bool tellsAsynchronousWait = false; ///< `inProgressElsewhere` is said when nobody waits for the query, too.
    QString succeededElsewhere;
    QString failedElsewhere;
};

/// The words of the OAuth 1.0 token query.
[[nodiscard]] const QueryTexts& tokenQueryTexts();

/// The words of the OAuth2 token query.
[[nodiscard]] const QueryTexts& oauth2QueryTexts();

} // namespace Velquor::WebServices::Internal
