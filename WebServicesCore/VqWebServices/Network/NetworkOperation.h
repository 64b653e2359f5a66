#pragma once

#include "Network/ICancelController.h"
#include "Network/OperationResult.h"
#include "VqLog/ILogger.h"

#include <QEventLoop>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QObject>
#include <QPointer>
#include <QSslError>
#include <QThread>
#include <QTimer>
#include <memory>

namespace Velquor::WebServices::Internal {

class DownloadFile;
class NetworkAccessManager;

/// One HTTP request at a time, folded into one result and one message: User-Agent, verb, time-out, cancellation and,
/// when wanted, streaming of the body into a file. It can be started again when its request has finished.
///
/// Thread: the one it lives on; `Canceled()` of the controller may come from any. Owner: whoever starts it; it may be
/// destroyed at any time, also from inside RequestFinished. Errors: every failure ends in one RequestFinished with
/// result Failure or Canceled and a message.
class NetworkOperation final : public QObject {
    Q_OBJECT

public:
    NetworkOperation(std::shared_ptr<ICancelController> cancelController, std::shared_ptr<Log::ILogger> logger);
    ~NetworkOperation() override;
    Q_DISABLE_COPY_MOVE(NetworkOperation)

    /// Sends a request. `upload` is read at once and may be null; a time-out of 0 or less means none. With `wait` it
    /// returns after the request has finished, and events other than user input are handled meanwhile; this object may
    /// then have been destroyed, which gives null. Null also when a request is running or this one was refused.
    QNetworkReply* Send(const QNetworkRequest& request, const QString& verb, QIODevice* upload, int timeoutInMsec, bool wait);

    [[nodiscard]] OperationResult result() const { return m_result; }
    [[nodiscard]] QString errorMessage() const { return m_errorMessage; }
    [[nodiscard]] QNetworkReply* reply() const { return m_reply; }
    [[nodiscard]] QByteArray requestBody() const { return m_requestBody; }
    [[nodiscard]] QString verb() const { return m_verb; }
    [[nodiscard]] QList<QSslError> sslErrors() const { return m_sslErrors; }

    /// Hands over the finished reply, which this object then forgets; null while a request runs.
    [[nodiscard]] std::unique_ptr<QNetworkReply> takeReply();

    /// How long a download may make no progress, in milliseconds; 180000 unless set.
    void setDownloadTimeout(int timeoutInMsec) { m_downloadTimeoutInMsec = timeoutInMsec; }

Q_SIGNALS:
    void RequestFinished();
    void DownloadProgress(QNetworkReply* reply, qint64 done, qint64 total);

public Q_SLOTS:
    void StartOperation(QNetworkRequest request, QString downloadToFile, QThread* pThreadToExit);
    void StartOperation(QNetworkRequest request, QString verb, QByteArray data, int timeoutInMsec, QThread* pThreadToExit);
    void AbortOperation();
    void DownloadProgressSlot(qint64 done, qint64 total);
    void ReadyRead();
    void RequestFinishedSlot();
    void SslErrors(QList<QSslError> errors);
    void Timeout();
    void CanceledSlot();

private:
    class ReplyCall;

    /// A reply that is kept in memory may not be larger; what the services answer is far smaller.
    static constexpr qint64 maximumBodyBytes = 4 * 1024 * 1024;

    [[nodiscard]] bool isRunning() const { return m_reply && m_reply->isRunning(); }
    [[nodiscard]] bool prepare(const QNetworkRequest& request, const QString& verb);
    [[nodiscard]] QNetworkRequest withUserAgent(QNetworkRequest request) const;
    void sendGet(const QNetworkRequest& request);
    void sendCustom(const QNetworkRequest& request);
    void watchReply();
    QNetworkReply* waitForReply(QEventLoop& loop);
    void startTimer(int timeoutInMsec);
    void pauseTimer();
    void resumeTimer();
    void refuse(const QString& problem);
    void discardReply();
    void adoptReply();
    void abandon(const QString& reason);
    void cancel(const QString& reason);
    void endWith(OperationResult result, const QString& message);
    void OperationFinished();
    void settleResult();
    void completeDownload();
    void checkBodySize();
    void checkBodyIsWhole();
    void announce();

    std::shared_ptr<ICancelController> m_cancelController;
    std::shared_ptr<Log::ILogger> m_logger;
    QString m_verb;
    std::unique_ptr<DownloadFile> m_download;
    OperationResult m_result = OperationResult::NotFinished;
    QString m_errorMessage;
    std::unique_ptr<NetworkAccessManager> m_manager;
    QPointer<QNetworkReply> m_reply;
    bool m_ownsReply = false;
    QPointer<QThread> m_threadToExit;
    QPointer<QEventLoop> m_eventLoop;
    std::unique_ptr<QTimer> m_timer;
    int m_pausedMsec = -1; ///< what was left when a prompt for the user stopped the timer
    bool m_finished = false;
    bool m_ended = false;       ///< endWith() has decided result and message, whatever the reply says
    bool m_isAbandoned = false; ///< cancelled by who asked, who does not want the reply any more
    int m_replyCalls = 0;       ///< how many calls from or into the reply are under way
    QByteArray m_requestBody;
    QList<QSslError> m_sslErrors;
    int m_downloadTimeoutInMsec = 180000;
};

} // namespace Velquor::WebServices::Internal
