#pragma once

#include "Tokens/IRequestClaims.h"
#include "Tokens/IRequestFlags.h"
#include "Tokens/Query/QueryLog.h"
#include "Tokens/RequestLock.h"
#include "Tokens/TokenWorker.h"

namespace Velquor::WebServices::Internal {

/// The steps of a token query that OAuth 1.0 and OAuth2 share: starts from any thread, one query at a time among all processes of
/// the user, waiting callers, a timer for the next try. The derived class has what differs, and its QueryLog
/// the texts.
///
/// A failed query is tried again by one process for all: the others see that it has just failed, and only look again when the
/// next try is due. When nobody has tried by then, one of them does.
///
/// Thread, owner and errors: as of TokenWorker.
class QueryWorker : public TokenWorker {
    Q_OBJECT

public:
    /// What other processes see of a query.
    struct Names {
        QString lock; ///< Keeps two queries apart.
        QString flag; ///< A hint that a query is in progress.
    };
    /// After a failure the query is tried again, and given up after so many tries in a row.
    struct Retries {
        int intervalMs;
        int maximum;
    };
    QueryWorker(ITokenOwner& owner, IRequestFlags& flags, Loggers::Logger Loggers::*logger, std::unique_ptr<const QueryLog> steps,
                const Names& names, const Retries& retries);
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
    [[nodiscard]] static bool waitForEnd(RunWaiter& waiter, Answer answer, const QueryLog& steps);

    /// Another process is doing the query. Any thread.
    [[nodiscard]] bool isInProgressElsewhere() const { return m_elsewhere; }

protected:
    /// Why the query cannot be done, as a log text; empty when it can.
    [[nodiscard]] virtual QString refusal() = 0;
    /// The token as it is now, encrypted; empty when there is none that can be used.
    [[nodiscard]] virtual QByteArray usableToken() const = 0;
    /// Notifies the observers of a token that another process has obtained.
    virtual void announceLoaded() = 0;
    /// Sends the request; false, with a line in the log, when it cannot be sent.
    [[nodiscard]] virtual bool request() = 0;
    /// Emits the signal of the derived class.
    virtual void emitFinished() = 0;
    /// Another process holds the lock for too long (it may hang). Ends the query as failed, with another try as after other
    /// failures.
    virtual void gaveUpWaiting() = 0;

    /// Another process reports that it has obtained the token.
    void acquiredElsewhere();
    /// The observers are notified of the present token: a report of another process about it must not notify them again.
    void noteAnnounced() { m_announced = usableToken(); }

    /// The sign-in for which the query is done.
    [[nodiscard]] const QString& signInId() const { return m_signInId; }
    /// Ends a query whose sign-in is over. When the user has signed in again since, the query is done for that sign-in.
    void ignoreResult();

    /// Counts a failure, for all processes.
    void noteFailure();
    /// Counts a failure after which no process tries again.
    void noteFinalFailure();
    /// After so many failures the query is tried again.
    [[nodiscard]] bool mayRetry() const { return m_failure.count <= m_retries.maximum; }
    void startQueryTimer();
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
    [[nodiscard]] bool takeFromFile();
    [[nodiscard]] bool announce();
    void noteFailures(int count);
    [[nodiscard]] bool hasJustFailedElsewhere();
    void leaveRetryToOther();
    void retryWhenRead();
    void setElsewhere(bool elsewhere);
    void setHere(bool here);

    const std::unique_ptr<const QueryLog> m_steps;
    const Names m_names;
    const Retries m_retries;
    const std::unique_ptr<IQueryFailures> m_failures;
    QueryFailure m_failure; ///< The last one that this process knows, of any process.
    RequestLock m_lock;
    Util::SteadyTimer m_claiming;
    bool m_claimed = false; ///< The lock between the processes is held and the flag set here.
    bool m_here = false;    ///< A request of this process is in progress.
    bool m_taken = false;
    FileLook m_look = FileLook::Read; ///< The last one.
    bool m_isRetry = false;           ///< Of this or of another process, not the first try.
    QString m_signInId;
    QByteArray m_announced; ///< The encrypted token that the observers were last notified of.
    std::atomic<bool> m_elsewhere{false};
};

} // namespace Velquor::WebServices::Internal
