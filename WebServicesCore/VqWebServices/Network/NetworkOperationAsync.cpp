#include "Network/NetworkOperationAsync.h"

#include "Network/Diagnosis/DisplayUrl.h"
#include "Network/NetworkOperation.h"
#include "Network/NetworkOperationThread.h"
#include "Network/NetworkThreads.h"

#include <QMutexLocker>
#include <utility>

namespace Velquor::WebServices::Internal {
namespace {

using StartDownload = void (NetworkOperation::*)(QNetworkRequest, QString, QThread*);
using StartRequest = void (NetworkOperation::*)(QNetworkRequest, QString, QByteArray, int, QThread*);
using StartDownloadSignal = void (NetworkOperationAsync::*)(QNetworkRequest, QString, QThread*);
using StartRequestSignal = void (NetworkOperationAsync::*)(QNetworkRequest, QString, QByteArray, int, QThread*);

} // namespace

NetworkOperationAsync::NetworkOperationAsync(const QNetworkRequest& request, std::shared_ptr<Log::ILogger> logger)
    : m_request(request)
    , m_logger(std::move(logger)) {}

NetworkOperationAsync::NetworkOperationAsync(const QNetworkRequest& request, const QString& verb, const QByteArray& body,
                                             std::shared_ptr<Log::ILogger> logger)
    : m_hasBody(true)
    , m_request(request)
    , m_logger(std::move(logger))
    , m_verb(verb)
    , m_body(body)
    , m_timeoutInMsec(60000) {}

NetworkOperationAsync::~NetworkOperationAsync() {
    if (m_operation) {
        m_aborted = true;
        if (m_thread->isRunning()) {
            Q_EMIT AbortOperation();
            // The outcome may be taken only when the worker has finished with it. Its queue handles the abort before the first
            // call, and before the second what the abort has posted.
            for (int call = 0; call < 2; ++call) {
                QMetaObject::invokeMethod(
                    m_operation, [] {}, Qt::BlockingQueuedConnection);
            }
        }
        RequestFinishedSlot();
    }
    joinThread();
}

bool NetworkOperationAsync::Start() {
    if (m_operation && m_thread && m_thread->isRunning())
        return true;
    joinThread();
    {
        const QMutexLocker lock(&m_mutex);
        m_reply.reset();
        m_result = OperationResult::NotFinished;
        m_errorMessage.clear();
    }
    m_aborted = false;
    m_finished.fetchAndStoreOrdered(0);
    if (!startThread())
        return false;
    if (m_logger) {
        m_logger->debug(QStringLiteral("NetworkOperationAsync::Start: Emitting StartOperation: %1 %2")
                            .arg(m_verb, displayUrl(m_request.url())));
    }
    if (m_hasBody)
        Q_EMIT StartOperation(m_request, m_verb, m_body, m_timeoutInMsec, nullptr);
    else
        Q_EMIT StartOperation(m_request, m_downloadToFile, nullptr);
    return true;
}

bool NetworkOperationAsync::startThread() {
    // When the server closes an open connection at the same moment, the framework sends the request again. Others than these
    // must not be sent twice.
    const bool mayBeRepeated = m_verb.compare(QLatin1String("GET"), Qt::CaseInsensitive) == 0;
    m_thread = mayBeRepeated ? NetworkThreads::instance().take(m_request) : NetworkThreads::instance().make();
    auto operation = std::make_unique<NetworkOperation>(m_cancelController, m_logger, &m_thread->kept());
    operation->setWaitingThread(m_waitingThread);
    m_operation = operation.get();
    connectOperation();
    m_operation->moveToThread(m_thread.get());
    connect(m_thread.get(), &QThread::finished, m_operation, &QObject::deleteLater);
    if (!m_thread->isRunning())
        m_thread->start(QThread::InheritPriority);
    if (m_thread->isRunning()) {
        static_cast<void>(operation.release());
        return true;
    }
    m_operation = nullptr;
    if (m_logger)
        m_logger->error(QStringLiteral("Failed to start the network thread"));
    const QMutexLocker lock(&m_mutex);
    m_result = OperationResult::Failure;
    m_errorMessage = QStringLiteral("Failed to start the network thread");
    QMetaObject::invokeMethod(this, &NetworkOperationAsync::RequestFinishedSlot, Qt::QueuedConnection);
    return false;
}

void NetworkOperationAsync::connectOperation() {
    if (m_hasBody) {
        connect(this, StartRequestSignal(&NetworkOperationAsync::StartOperation), m_operation,
                StartRequest(&NetworkOperation::StartOperation));
    } else {
        connect(this, StartDownloadSignal(&NetworkOperationAsync::StartOperation), m_operation,
                StartDownload(&NetworkOperation::StartOperation));
    }
    connect(this, &NetworkOperationAsync::AbortOperation, m_operation, &NetworkOperation::AbortOperation);
    connect(m_operation, &NetworkOperation::DownloadProgress, this, &NetworkOperationAsync::DownloadProgress);
    // The reply is taken only when the worker has left its functions, in which the request has finished.
    connect(m_operation, &NetworkOperation::RequestFinished, m_operation, &NetworkOperation::settle, Qt::QueuedConnection);
    connect(m_operation, &NetworkOperation::Settled, this, &NetworkOperationAsync::RequestFinishedSlot);
}

void NetworkOperationAsync::joinThread() {
    if (m_thread) {
        m_thread->exit(0);
        m_thread->wait();
    }
    m_thread.reset();
}

void NetworkOperationAsync::RequestFinishedSlot() {
    if (m_finished.fetchAndStoreOrdered(1) == 1)
        return;
    if (m_logger) {
        m_logger->debug(
            QStringLiteral("NetworkOperationAsync::RequestFinishedSlot called: %1 %2").arg(m_verb, displayUrl(m_request.url())));
    }
    if (m_operation)
        takeOutcome();
    if (m_logger) {
        m_logger->debug(QStringLiteral("NetworkOperationAsync::RequestFinishedSlot: Emitting RequestFinished: %1 %2")
                            .arg(m_verb, displayUrl(m_request.url())));
    }
    Q_EMIT RequestFinished(reply());
}

void NetworkOperationAsync::takeOutcome() {
    const QMutexLocker lock(&m_mutex);
    m_result = m_operation->result();
    m_errorMessage = m_operation->errorMessage();
    m_reply = m_operation->takeReply();
    if (m_reply && !m_reply->thread())
        m_reply->moveToThread(QThread::currentThread());
    if (m_aborted && m_result == OperationResult::NotFinished) {
        m_result = OperationResult::Canceled;
        m_errorMessage = QStringLiteral("Operation was canceled. %1.").arg(QStringLiteral("Object deleted"));
    }
    leaveThread();
}

void NetworkOperationAsync::leaveThread() {
    NetworkOperation* const operation = std::exchange(m_operation, nullptr);
    if (!operation->hasKeptConnection()) {
        m_thread->exit(0);
        return;
    }
    disconnect(operation);
    operation->disconnect(this);
    operation->deleteLater();
    NetworkThreads::instance().keep(std::move(m_thread), m_request);
}

OperationResult NetworkOperationAsync::result() const {
    const QMutexLocker lock(&m_mutex);
    return m_result;
}

QString NetworkOperationAsync::errorMessage() const {
    const QMutexLocker lock(&m_mutex);
    return m_errorMessage;
}

QNetworkReply* NetworkOperationAsync::reply() const {
    const QMutexLocker lock(&m_mutex);
    return m_reply.get();
}

} // namespace Velquor::WebServices::Internal
