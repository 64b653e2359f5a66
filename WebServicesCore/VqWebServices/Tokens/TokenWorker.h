#pragma once

#include "Tokens/ITokenOwner.h"
#include "Tokens/Poller.h"
#include "Tokens/RunState.h"

#include <QNetworkRequest>
#include <QObject>
#include <QTimer>
#include <memory>

namespace Velquor::WebServices::Internal {

/// The base of the workers that query or refresh a token: one run at a time, one timer, one request on a thread of its own.
///
/// Thread: lives on the token operations thread; functions that other threads may call say so. Owner: the object deleter of the
/// product's session. Errors: results of the run; the derived classes log.
class TokenWorker : public QObject {
    Q_OBJECT

public:
    /// `logger` selects this worker's logger among the library's.
    TokenWorker(ITokenOwner& owner, Loggers::Logger Loggers::*logger);
    ~TokenWorker() override;

    /// Outlives this object, for callers that wait. Any thread.
    [[nodiscard]] std::shared_ptr<RunState> runState() const { return m_run; }
    [[nodiscard]] bool isTimerActive() const { return m_timerActive; }
    /// Cancels the request in progress; `handleReply` is called with the cancelled outcome. This object's thread.
    void abort();

protected:
    [[nodiscard]] ITokenOwner& owner() const { return m_owner; }
    [[nodiscard]] const TokenDependencies& services() const { return m_owner.services(); }
    [[nodiscard]] Log::ILogger& log() const { return *(m_owner.services().loggers.*m_logger); }
    [[nodiscard]] QDateTime now() const { return m_owner.services().now(); }
    [[nodiscard]] bool isOwnThread() const;

    [[nodiscard]] bool isSynchronous() const { return m_synchronous; }
    void setSynchronous(bool synchronous) { m_synchronous = synchronous; }
    [[nodiscard]] bool isAborted() const { return m_aborted; }

    /// Sends a request; its end is passed to `handleReply` on this thread.
    void send(const QNetworkRequest& request, const QString& verb, const QByteArray& body);
    virtual void handleReply(const ExchangeOutcome& outcome) = 0;

    /// Single shot; `timerFired` follows.
    void startTimer(int intervalMs);
    void stopTimer();
    [[nodiscard]] int timerInterval() const { return m_timer.interval(); }
    virtual void timerFired() = 0;

    [[nodiscard]] RunState& run() const { return *m_run; }
    [[nodiscard]] Poller& poller() { return m_poller; }

private:
    ITokenOwner& m_owner;
    Loggers::Logger Loggers::*const m_logger;
    const std::shared_ptr<RunState> m_run = std::make_shared<RunState>();
    Poller m_poller;
    QTimer m_timer;
    std::atomic<bool> m_timerActive{false};
    const std::unique_ptr<IExchange> m_exchange;
    bool m_synchronous = false;
    bool m_aborted = false;
};

} // namespace Velquor::WebServices::Internal
