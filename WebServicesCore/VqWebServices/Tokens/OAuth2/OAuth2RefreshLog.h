#pragma once

#include "Tokens/Refresh/RefreshLog.h"

namespace Velquor::WebServices::Internal {

/// The log lines of the OAuth2 token refresh. Thread and owner: as of RefreshLog.
class OAuth2RefreshLog final : public RefreshLog {
public:
    using RefreshLog::RefreshLog;

    void called(bool synchronous, bool isOwnThread) const override;
    void skipped() const override;
    void joined() const override;
    void emittingStart(bool synchronous, quintptr threadId) const override;
    void slotCalled(bool synchronous) const override;
    void starting(bool synchronous) const override;
    void flagSet(bool isSet) const override;
    void emittingFinished() const override;
    void waiting() const override;
    void finishedWaiting(bool succeeded, bool isTimedOut) const override;
    void waitTimedOut() const override;
    void waitSucceeded() const override;
    void waitFailed(int result) const override;
    void timerStarted(int intervalMs) const override;
    void timerStopped() const override;
    void stoppingTimer(const QString& reason) const override;
    void timerFired(const QString& state) const override;
    void timerLate(const TimerLateness& lateness, const QDateTime& expected, const QDateTime& arrival) const override;
    void invalidExpiry() const override;
};

} // namespace Velquor::WebServices::Internal
