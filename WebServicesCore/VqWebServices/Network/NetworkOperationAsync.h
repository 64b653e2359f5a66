#pragma once

#include "Network/OperationResult.h"
#include "VqLog/ILogger.h"

#include <QAtomicInt>
#include <QMutex>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QObject>
#include <memory>

namespace Velquor::WebServices::Internal {

class ICancelController;
class NetworkOperation;
class NetworkOperationThread;

/// Runs a NetworkOperation on a worker thread, so that the calling thread is never blocked. The thread may have served another
/// operation, whose connection is used again.
///
/// Thread: lives on its owner's thread and emits the end there; result, message and reply may be read on any. Owner: the sender.
/// Destroying it during a request cancels, still emits the end once, and joins the worker thread. Errors: as of NetworkOperation.
/// The reply in RequestFinished stays owned by this object.
class NetworkOperationAsync final : public QObject {
    Q_OBJECT

public:
    /// A GET without a time-out; with setDownloadFile() its body goes into a file.
    NetworkOperationAsync(const QNetworkRequest& request, std::shared_ptr<Log::ILogger> logger);
    /// A request with a body and a time-out of 60000 ms.
    NetworkOperationAsync(const QNetworkRequest& request, const QString& verb, const QByteArray& body,
                          std::shared_ptr<Log::ILogger> logger);
    ~NetworkOperationAsync() override;
    Q_DISABLE_COPY_MOVE(NetworkOperationAsync)

    /// These take effect with the next Start().
    void setDownloadFile(const QString& path) { m_downloadToFile = path; }
    void setTimeout(int timeoutInMsec) { m_timeoutInMsec = timeoutInMsec; }
    /// The thread that waits for the end; null: none does.
    void setWaitingThread(Qt::HANDLE thread) { m_waitingThread = thread; }
    void setCancelController(std::shared_ptr<ICancelController> controller) { m_cancelController = std::move(controller); }

    /// True also when it is running already. False when the system gives no thread; RequestFinished follows then too.
    bool Start();

    [[nodiscard]] OperationResult result() const;
    [[nodiscard]] QString errorMessage() const;
    [[nodiscard]] QNetworkReply* reply() const;
    [[nodiscard]] QByteArray requestBody() const { return m_body; }
    [[nodiscard]] QString verb() const { return m_verb; }

Q_SIGNALS:
    void DownloadProgress(QNetworkReply* reply, qint64 done, qint64 total);
    void RequestFinished(QNetworkReply* reply);
    void StartOperation(QNetworkRequest request, QString downloadToFile, QThread* pThreadToExit);
    void StartOperation(QNetworkRequest request, QString verb, QByteArray data, int timeoutInMsec, QThread* pThreadToExit);
    void AbortOperation();

public Q_SLOTS:
    void RequestFinishedSlot();

private:
    void connectOperation();
    [[nodiscard]] bool startThread();
    void joinThread();
    void leaveThread();
    void takeOutcome();

    bool m_hasBody = false;
    QNetworkRequest m_request;
    std::shared_ptr<Log::ILogger> m_logger;
    QString m_downloadToFile;
    QString m_verb = QStringLiteral("GET");
    QByteArray m_body;
    int m_timeoutInMsec = -1;
    std::shared_ptr<ICancelController> m_cancelController;
    Qt::HANDLE m_waitingThread = nullptr;
    std::unique_ptr<QNetworkReply> m_reply;
    OperationResult m_result = OperationResult::NotFinished;
    QString m_errorMessage;
    NetworkOperation* m_operation = nullptr; ///< lives and is deleted on the worker thread
    std::unique_ptr<NetworkOperationThread> m_thread;
    bool m_aborted = false;
    QAtomicInt m_finished;
    mutable QMutex m_mutex;
};

} // namespace Velquor::WebServices::Internal
