#pragma once

#include "Tokens/Query/QueryLog.h"

namespace Velquor::WebServices::Internal {

/// The log lines of the OAuth 1.0 token query. Thread and owner: as of QueryLog.
class TokenQueryLog final : public QueryLog {
public:
    using QueryLog::QueryLog;

    void called(bool synchronous, bool isOwnThread) const override;
    void skipped() const override;
    void joined() const override;
    void joinedWaitEnded(bool succeeded) const override;
    void invoking(bool synchronous) const override;
    void invocationFailed(bool synchronous) const override;
    void slotCalled(bool synchronous) const override;
    void starting(bool synchronous) const override;
    void timerStarted(int intervalMs) const override;
    void timerStopped() const override;
    void timerFired() const override;
    void flagSetHere(bool isSet) const override;
    void flagSetElsewhere(bool isSet) const override;
    void waitingForOtherProcess(bool synchronous) const override;
    void otherProcessSucceeded() const override;
    void otherProcessFailed() const override;
    void otherProcessTookTooLong() const override;
    void resultIgnored() const override;
};

} // namespace Velquor::WebServices::Internal
