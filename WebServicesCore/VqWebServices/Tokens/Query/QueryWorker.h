#pragma once

#include "Tokens/IRequestFlags.h"
#include "Tokens/Query/QueryLog.h"
#include "Tokens/RequestLock.h"
#include "Tokens/TokenWorker.h"

namespace Velquor::WebServices::Internal {

/// The steps of a token query that OAuth 1.0 and OAuth2 share: starts from any thread, one query at a time among all processes of
/// the user, waiting callers, a timer for the next try. The derived class has what differs, and its QueryLog
/// the texts.
///
/// Thread, owner and errors: as of TokenWorker.
class QueryWorker : public TokenWorker {
    Q_OBJECT

public:
    /// `lockName` names the lock between the processes, `flag` the hint for them.
    QueryWorker(ITokenOwner& owner, IRequestFlags& flags, Loggers::Logger Loggers::*logger, std::unique_ptr<const QueryLog> steps,
                const QString& lockName, const QString& flag);
    ~QueryWorker() override;

    enum class Answer {
        Refused, ///< The worker is being destroyed.
        Skipped, ///< Asynchronous, and a query is in progress.
        Wait,    ///< The query was started; wait for its end.
        Joined,  ///< A query was in progress; wait for its end.
        Started, ///< Asynchronous: it was started.
    };
    /// Any thread, while the caller prevents the deletion of this object. A synchronous caller constructs its RunWaiter first.
    [[nodiscard]] Answer ask(bool synchronous);

    /// The second half of a synchronous call: waits and returns whether the query succeeded. Any thread but the worker's.
    /// The worker may be gone by then, so the caller brings the log along.
    [[nodiscard]] static bool waitForEnd(RunWaiter& waiter, Answer answer, const TokenDependencies& services,
                                         const QueryLog& steps);

    /// Another process is doing the query. Any thread.
    [[nodiscard]] bool isInProgressElsewhere() const { return m_elsewhere; }

protected:
    /// Why the query cannot be done, as a log text; empty when it can.
    [[nodiscard]] virtual QString refusal() = 0;
    /// Uses the token that another process has put into the file. True when the query is not needed any more.
    [[nodiscard]] virtual bool takeFromFile() = 0;
    /// Sends the request; false, with a line in the log, when it cannot be sent.
    [[nodiscard]] virtual bool request() = 0;
    /// Emits the signal of the derived class.
    virtual void emitFinished() = 0;
    /// Another process holds the lock for too long (it may hang). Ends the query as failed, with another try as after other
    /// failures.
    virtual void gaveUpWaiting() = 0;

    void startQueryTimer(int intervalMs);
    void finish(int result);

    IRequestFlags& m_flags;

private slots:
    void startQuery(bool synchronous);

private:
    void timerFired() final;
    void doQuery();
    void waitForOtherProcess();
    void otherProcessEnded();
    void query();
    [[nodiscard]] bool claim();
    void setElsewhere(bool elsewhere);
    void setHere(bool here);

    const std::unique_ptr<const QueryLog> m_steps;
    const QString m_flag;
    RequestLock m_lock;
    Util::SteadyTimer m_claiming;
    bool m_claimed = false; ///< The lock between the processes is held and the flag set here.
    bool m_here = false;    ///< A request of this process is in progress.
    bool m_taken = false;
    std::atomic<bool> m_elsewhere{false};
};

} // namespace Velquor::WebServices::Internal
