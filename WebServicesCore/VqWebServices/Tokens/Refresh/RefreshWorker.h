#pragma once

#include "Tokens/Refresh/RefreshLog.h"
#include "Tokens/TokenWorker.h"

#include <QDateTime>

namespace Velquor::WebServices::Internal {

/// The dance of a refresh, the same for OAuth 1.0 and OAuth2: a timer ahead of the expiry, starts from any thread, one run at a
/// time, waiting callers. The derived class has what differs, and its RefreshLog the texts.
///
/// Thread, owner and errors: as of TokenWorker.
class RefreshWorker : public TokenWorker {
    Q_OBJECT

public:
    RefreshWorker(ITokenOwner& owner, Loggers::Logger Loggers::*logger, std::unique_ptr<const RefreshLog> steps);

    /// Why a refresh is asked for.
    enum class Reason {
        Requested, ///< A new token is wanted whatever the old one is like.
        Expired,   ///< The caller found the token expired: nothing is to be done when it is not, after all.
    };

    /// What a caller does after asking.
    enum class Answer {
        Refused, ///< Nobody works here any more.
        Skipped, ///< Asynchronous, and a refresh is under way already.
        Wait,    ///< Wait for the end of the one that is under way, which may be one's own.
        Started, ///< Asynchronous: it was started.
    };
    /// Any thread, as long as the caller keeps this object from going away. A synchronous caller makes its RunWaiter first.
    [[nodiscard]] Answer ask(bool synchronous, Reason reason);

    /// The end of a synchronous call: waits, and tells whether the refresh succeeded. Any thread but the worker's.
    /// The worker may be gone by then, so the caller brings the log along.
    [[nodiscard]] static bool waitForEnd(RunWaiter& waiter, const TokenDependencies& services, const RefreshLog& steps);

signals:
    void StartRefreshToken(bool synchronous);
    void RefreshFinishedInternal(int result);

public slots:
    void LoggedIn() { updateRefreshTimer(); }
    /// There are news of the token or of the sign-in, which may well be the same as before.
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
    /// The refresh itself, entered once at a time; ends in `finish`.
    virtual void refresh() = 0;
    /// Gives back the locks of a refresh that ends.
    virtual void releaseLocks() = 0;

    /// The token as it is now, encrypted; empty when there is none.
    [[nodiscard]] virtual QByteArray heldToken() const = 0;
    /// A token has arrived, whoever obtained it: the failures of the one before count no more.
    virtual void forgetFailures() = 0;

    /// Ends the run with the token that another process has obtained.
    virtual void takeFromFile() = 0;
    /// Ends the run since its sign-in is over.
    virtual void signInGone() = 0;

    /// The reasons that all kinds of refresh share; empty when none of them holds.
    [[nodiscard]] QString sharedStopReason() const;

    /// How long the token still lives and whether it is to be refreshed now, in the words of a timer message ("Token %1. %2").
    [[nodiscard]] TokenState expiryState(const QString& text, bool isRetry) const;

    void updateRefreshTimer();
    void stopRefreshTimer();
    void startRefreshTimer(int intervalMs);
    void finish(int result);
    /// The end of a run that failed: another try follows, unless another token has arrived meanwhile.
    void finishAndRetry(int intervalMs);
    /// The end of a run whose sign-in is over. There may be another one, with tokens of its own.
    void finishForSignInGone(const QString& text);

    /// A look at the file before the user is signed out: true when the run has ended with that, since another process has renewed
    /// the token or ended the sign-in.
    [[nodiscard]] bool isSettledElsewhere();
    /// Ends the run and the sign-in, which cannot be used any more.
    void giveUp(const QString& text);

    /// The sign-in as it was when the run was begun.
    [[nodiscard]] const QString& signInId() const { return m_signInMark; }
    void noteSignIn() { m_signInMark = owner().signInId(); }

    /// From now on `isAnotherToken` compares with the present one: it is what the server is asked to renew.
    void noteTriedToken() { m_triedToken = heldToken(); }
    /// Whether there is a token, and another one than that of the present run or of the last one.
    [[nodiscard]] bool isAnotherToken() const;
    /// The timer runs for another try, whatever the token's life.
    [[nodiscard]] bool isRetry() const { return m_isRetry; }

    /// True when the run was asked for because of an expired token only.
    [[nodiscard]] bool isOnlyForExpired() const { return m_onlyForExpired; }

private:
    std::atomic<quintptr> m_threadId{0}; ///< The system's number of this object's thread, for the log; 0 until it runs.
    void timerFired() final;
    void doRefresh(bool synchronous);

    const std::unique_ptr<const RefreshLog> m_steps;
    QDateTime m_expectedArrival;
    QByteArray m_triedToken;
    QString m_signInMark;
    bool m_isRetry = false;
    std::atomic<bool> m_onlyForExpired{false};
};

} // namespace Velquor::WebServices::Internal
