#pragma once

#include "Tokens/Refresh/RefreshLog.h"
#include "Tokens/TokenWorker.h"

#include <QDateTime>

namespace Velquor::WebServices::Internal {

/// The steps of a refresh that OAuth 1.0 and OAuth2 share: a timer ahead of the expiry, starts from any thread, one run at a
/// time, waiting callers. The derived class has what differs, and its RefreshLog the texts.
///
/// Thread, owner and errors: as of TokenWorker.
class RefreshWorker : public TokenWorker {
    Q_OBJECT

public:
    RefreshWorker(ITokenOwner& owner, Loggers::Logger Loggers::*logger, std::unique_ptr<const RefreshLog> steps);

    /// Why a refresh is requested.
    enum class Reason {
        Requested, ///< A new token is needed, even if the old one is valid.
        Expired,   ///< The caller found the token expired; a valid token ends the run without a request.
    };

    /// What the caller does next.
    enum class Answer {
        Refused, ///< The worker is being destroyed.
        Skipped, ///< Asynchronous, and a refresh is in progress.
        Wait,    ///< Wait for the end of the refresh, which may have been in progress before.
        Started, ///< Asynchronous: it was started.
    };
    /// Any thread, while the caller prevents the deletion of this object. A synchronous caller constructs its RunWaiter first.
    [[nodiscard]] Answer ask(bool synchronous, Reason reason);

    /// The second half of a synchronous call: waits and returns whether the refresh succeeded. Any thread but the worker's.
    /// The worker may be gone by then, so the caller brings the log along.
    [[nodiscard]] static bool waitForEnd(RunWaiter& waiter, const TokenDependencies& services, const RefreshLog& steps);
    /// The wait of a caller that has not asked for the refresh.
    static RunWaiter::Outcome waitInLoop(RunWaiter& waiter, const TokenDependencies& services, const RefreshLog& steps);

signals:
    void StartRefreshToken(bool synchronous);
    void RefreshFinishedInternal(int result);

public slots:
    void LoggedIn() { updateRefreshTimer(); }
    /// Call when the token or the sign-in may have changed.
    void TokenAvailable();
    void LoggedOut() { stopRefreshTimer(); }
    void StartRefreshTokenSlot(bool synchronous);

protected:
    /// Why the timer must not run; empty when it may.
    [[nodiscard]] virtual QString timerStopReason() const = 0;
    [[nodiscard]] virtual QDateTime expiryDate() const = 0;
    [[nodiscard]] virtual int shortestIntervalMs() const = 0;
    /// What the timer finds when it fires.
    struct TokenState {
        QString text;       ///< For the log.
        bool isDue = false; ///< Refresh now.
    };
    [[nodiscard]] virtual TokenState tokenState() const = 0;
    /// The refresh itself; one at a time, ended by `finish`.
    virtual void refresh() = 0;
    /// Releases the locks of a refresh that ends, and shows with `clearFlag` that it is over.
    virtual void endTurn() = 0;
    void clearFlag() { m_steps->flagSet(false); }

    /// The token as it is now, encrypted; empty when there is none.
    [[nodiscard]] virtual QByteArray heldToken() const = 0;
    /// The failures so far no longer count: there is a new token, from this or another process, or the old one still lives.
    virtual void forgetFailures() = 0;

    /// Ends the run with the token that another process has obtained.
    virtual void takeFromFile() = 0;
    /// Ends the run because its sign-in is over.
    virtual void signInGone() = 0;

    /// The reasons that all kinds of refresh share; empty when none applies.
    [[nodiscard]] QString sharedStopReason() const;

    /// The remaining life of the token and whether to refresh it now, as text of the given form ("Token %1. %2").
    [[nodiscard]] TokenState expiryState(const QString& text) const;

    void updateRefreshTimer();
    void stopRefreshTimer();
    void startRefreshTimer(int intervalMs);
    void finish(int result);
    /// Ends a failed run. Another try follows, unless a new token has arrived during the run.
    void finishAndRetry(int intervalMs);
    /// The same for a run that had to wait for others too long.
    void putOff();
    /// Ends a run whose sign-in is over. There may be a new sign-in with tokens of its own.
    void finishForSignInGone(const QString& text);

    /// Reads the file before the user is signed out. True when that has ended the run: another process has renewed the token or
    /// ended the sign-in, or the file cannot be read now and the run is repeated.
    [[nodiscard]] bool isSettledElsewhere();
    /// Ends the run and the sign-in, which cannot be used any more.
    void giveUp(const QString& text);

    /// The sign-in at the start of the run.
    [[nodiscard]] const QString& signInId() const { return m_signInId; }
    void noteSignIn() { m_signInId = owner().signInId(); }

    /// Remembers the present token as the one to renew; `isAnotherToken` compares with it.
    void noteTriedToken() { m_triedToken = heldToken(); }
    /// Whether there is another token than the one that the present or last run tried to renew.
    [[nodiscard]] bool isAnotherToken() const;
    /// The run was requested with Reason::Expired.
    [[nodiscard]] bool isOnlyForExpired() const { return m_onlyForExpired; }

private:
    void retryWhenRead();

    std::atomic<quintptr> m_threadId{0}; ///< The system's id of this object's thread, for the log; 0 until it runs.
    void timerFired() final;
    void doRefresh(bool synchronous);
    void armRetry(int intervalMs);

    const std::unique_ptr<const RefreshLog> m_steps;
    QDateTime m_expectedArrival;
    QByteArray m_triedToken;
    QString m_signInId;
    bool m_isRetry = false; ///< The timer runs for another try, not for the expiry of the token.
    std::atomic<bool> m_onlyForExpired{false};
};

} // namespace Velquor::WebServices::Internal
