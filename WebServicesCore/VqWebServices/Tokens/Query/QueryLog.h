#pragma once

#include "VqLog/ILogger.h"

#include <QtGlobal>
#include <memory>
#include <utility>

namespace Velquor::WebServices::Internal {

/// The log lines of the steps that all kinds of token query share. Each kind has a class of its own with the whole texts, so that
/// a search for a text leads to the line that writes it.
///
/// Thread: any. Owner: the worker, or a caller that waits and may outlive the worker.
class QueryLog {
public:
    explicit QueryLog(std::shared_ptr<Log::ILogger> logger)
        : m_logger(std::move(logger)) {}
    virtual ~QueryLog() = default;
    Q_DISABLE_COPY_MOVE(QueryLog)

    virtual void called(bool synchronous, bool isOwnThread) const = 0;
    /// An asynchronous call while a query is in progress.
    virtual void skipped() const = 0;
    /// A synchronous call while a query is in progress.
    virtual void joined() const = 0;
    virtual void joinedWaitEnded(bool succeeded) const = 0;
    virtual void invoking(bool synchronous) const = 0;
    virtual void invocationFailed(bool synchronous) const = 0;
    virtual void slotCalled(bool synchronous) const = 0;
    virtual void starting(bool synchronous) const = 0;
    virtual void timerStarted(int intervalMs) const = 0;
    virtual void timerStopped() const = 0;
    virtual void timerFired() const = 0;
    virtual void flagSetHere(bool isSet) const = 0;
    virtual void flagSetElsewhere(bool isSet) const = 0;
    virtual void waitingForOtherProcess(bool synchronous) const = 0;
    virtual void otherProcessSucceeded() const = 0;
    virtual void otherProcessFailed() const = 0;
    virtual void otherProcessTookTooLong() const = 0;
    /// The sign-in for which the query was sent is over.
    virtual void resultIgnored() const = 0;

protected:
    [[nodiscard]] Log::ILogger& log() const { return *m_logger; }

private:
    const std::shared_ptr<Log::ILogger> m_logger;
};

} // namespace Velquor::WebServices::Internal
