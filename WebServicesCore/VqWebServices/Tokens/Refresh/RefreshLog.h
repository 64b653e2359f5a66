#pragma once

#include "Tokens/Refresh/RefreshTiming.h"
#include "VqLog/ILogger.h"

#include <QDateTime>
#include <QString>
#include <memory>
#include <utility>

namespace Velquor::WebServices::Internal {

/// The log lines of the steps that all kinds of token refresh share. Each kind has a class of its own with the whole texts, so
/// that a search for a text leads to the line that writes it.
///
/// Thread: any. Owner: the worker, or a caller that waits and may outlive the worker.
class RefreshLog {
public:
    explicit RefreshLog(std::shared_ptr<Log::ILogger> logger)
        : m_logger(std::move(logger)) {}
    virtual ~RefreshLog() = default;
    Q_DISABLE_COPY_MOVE(RefreshLog)

    virtual void called(bool synchronous, bool isOwnThread) const = 0;
    /// An asynchronous call while a refresh is in progress.
    virtual void skipped() const = 0;
    /// A synchronous call while a refresh is in progress.
    virtual void joined() const = 0;
    virtual void emittingStart(bool synchronous, quintptr threadId) const = 0;
    virtual void slotCalled(bool synchronous) const = 0;
    virtual void starting(bool synchronous) const = 0;
    virtual void flagSet(bool isSet) const = 0;
    virtual void emittingFinished() const = 0;
    virtual void waiting() const = 0;
    /// The local event loop of a waiting caller has ended.
    virtual void finishedWaiting(bool succeeded, bool isTimedOut) const = 0;
    virtual void waitTimedOut() const = 0;
    virtual void waitSucceeded() const = 0;
    virtual void waitFailed(int result) const = 0;
    virtual void timerStarted(int intervalMs) const = 0;
    virtual void timerStopped() const = 0;
    virtual void stoppingTimer(const QString& reason) const = 0;
    virtual void timerFired(const QString& state) const = 0;
    virtual void timerLate(const TimerLateness& lateness, const QDateTime& expected, const QDateTime& arrival) const = 0;
    virtual void invalidExpiry() const = 0;

protected:
    [[nodiscard]] Log::ILogger& log() const { return *m_logger; }

private:
    const std::shared_ptr<Log::ILogger> m_logger;
};

} // namespace Velquor::WebServices::Internal
