#pragma once

#include "Network/ICancelController.h"
#include "Network/ReplyHandler.h"
#include "VqLog/ILogger.h"

#include <QNetworkRequest>
#include <QObject>
#include <QPointer>
#include <QThread>
#include <QTimer>
#include <memory>

namespace Velquor::WebServices::Internal {

class KeptManager;
class NetworkAccessManager;

/// Sends one HTTP request at a time, with User-Agent, verb, time-out and cancellation; its ReplyHandler makes one result and one
/// message of the reply. It can be started again when its request has finished.
///
/// Thread: the one it lives on; `Canceled()` of the controller may come from any. Owner: the caller that starts it; it may be
/// destroyed at any time, also from inside RequestFinished. Errors: every failure ends in one RequestFinished with
/// result Failure or Canceled and a message.
class NetworkOperation final : public QObject {
    Q_OBJECT

public:
    /// `kept`: where the thread keeps its network manager between two operations; null: nowhere. It must outlive this object.
    NetworkOperation(std::shared_ptr<ICancelController> cancelController, std::shared_ptr<Log::ILogger> logger,
                     KeptManager* kept = nullptr);
    ~NetworkOperation() override;
    Q_DISABLE_COPY_MOVE(NetworkOperation)

    /// Sends a request and returns at once. `upload` is read at once and may be null; a time-out of 0 or less means none. Null
    /// when a request is running or this one was refused. `runGet` waits for a request.
    QNetworkReply* Send(const QNetworkRequest& request, const QString& verb, QIODevice* upload, int timeoutInMsec);

    /// Whether this process may use the network; true unless set. When it may not, every operation fails. Thread: any.
    static void allow(bool isAllowed);

    [[nodiscard]] OperationResult result() const { return m_handler.result(); }
    [[nodiscard]] QString errorMessage() const { return m_handler.errorMessage(); }
    [[nodiscard]] QNetworkReply* reply() const { return m_handler.reply(); }
    [[nodiscard]] QByteArray requestBody() const { return m_requestBody; }
    [[nodiscard]] QString verb() const { return m_verb; }
    [[nodiscard]] QList<QSslError> sslErrors() const { return m_handler.sslErrors(); }

    /// Transfers the finished reply to the caller; null while a request runs.
    [[nodiscard]] std::unique_ptr<QNetworkReply> takeReply() { return m_handler.take(); }

    /// After Settled: the thread has the open connection for the next operation.
    [[nodiscard]] bool hasKeptConnection() const { return m_hasKeptConnection; }

    /// The thread that waits for this operation, when it is another than the operation's.
    void setWaitingThread(Qt::HANDLE thread) { m_waitingThread = thread; }

    /// The longest time without progress of a download, in milliseconds; 180000 unless set.
    void setDownloadTimeout(int timeoutInMsec) { m_downloadTimeoutInMsec = timeoutInMsec; }

Q_SIGNALS:
    void RequestFinished();
    /// For an owner on another thread: RequestFinished has returned, and the reply may be taken.
    void Settled();
    void DownloadProgress(QNetworkReply* reply, qint64 done, qint64 total);

public Q_SLOTS:
    void StartOperation(QNetworkRequest request, QString downloadToFile, QThread* pThreadToExit);
    void StartOperation(QNetworkRequest request, QString verb, QByteArray data, int timeoutInMsec, QThread* pThreadToExit);
    void AbortOperation();
    void DownloadProgressSlot(qint64 done, qint64 total);
    void Timeout();
    void CanceledSlot();
    /// Ends the part of this object for a finished request, when none of its functions is on the stack.
    void settle();

private:
    [[nodiscard]] bool isRunning() const { return m_handler.isRunning(); }
    [[nodiscard]] bool prepare(const QNetworkRequest& request, const QString& verb);
    void takeManager();
    [[nodiscard]] QNetworkRequest withUserAgent(QNetworkRequest request) const;
    [[nodiscard]] QNetworkReply* send(const QNetworkRequest& request);
    void sendAgain();
    [[nodiscard]] QNetworkReply* sendGet(const QNetworkRequest& request);
    [[nodiscard]] QNetworkReply* sendCustom(const QNetworkRequest& request);
    void watch(QNetworkReply* reply);
    void startTimer(int timeoutInMsec);
    void pauseTimer();
    void resumeTimer();
    void refuse(const QString& problem);
    void abandon(const QString& reason);
    void cancel(const QString& reason);
    void OperationFinished();
    void announce();

    std::shared_ptr<ICancelController> m_cancelController;
    std::shared_ptr<Log::ILogger> m_logger;
    QString m_verb;
    KeptManager* const m_kept;
    Qt::HANDLE m_waitingThread = nullptr;
    bool m_hasKeptConnection = false;
    std::unique_ptr<NetworkAccessManager> m_manager;
    ReplyHandler m_handler; ///< After the manager: the reply must be destroyed first.
    QPointer<QThread> m_threadToExit;
    std::unique_ptr<QTimer> m_timer;
    int m_pausedMsec = -1; ///< the remaining time when a prompt stopped the timer; -1 without a prompt
    QByteArray m_requestBody;
    int m_downloadTimeoutInMsec = 180000;
};

} // namespace Velquor::WebServices::Internal
