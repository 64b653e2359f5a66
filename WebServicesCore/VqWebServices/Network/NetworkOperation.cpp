#include "Network/NetworkOperation.h"

#include "Network/DisplayUrl.h"
#include "Network/DownloadFile.h"
#include "Network/NetworkAccessManager.h"
#include "Network/NetworkErrorText.h"
#include "Network/RequestCheck.h"
#include "Network/SslErrorText.h"
#include "Network/UploadBody.h"
#include "Network/UserAgent.h"

#include <QBuffer>

namespace Velquor::WebServices {
namespace {

/// A reply that is kept in memory may not be larger; what the services answer is far smaller.
constexpr qint64 MaximalBodyBytes = 4 * 1024 * 1024;

bool isGet(const QString& verb) {
    return verb.compare(QLatin1String("GET"), Qt::CaseInsensitive) == 0;
}

} // namespace

/// Marks that a function of the reply is on the stack, so that the reply must outlive it. The operation may go
/// meanwhile.
class NetworkOperation::ReplyCall final {
public:
    explicit ReplyCall(NetworkOperation* operation)
        : m_operation(operation) {
        ++operation->m_replyCalls;
    }
    ~ReplyCall() {
        if (m_operation)
            --m_operation->m_replyCalls;
    }
    Q_DISABLE_COPY_MOVE(ReplyCall)

private:
    QPointer<NetworkOperation> m_operation;
};

NetworkOperation::NetworkOperation(std::shared_ptr<ICancelController> cancelController, std::shared_ptr<Log::ILogger> logger)
    : m_cancelController(std::move(cancelController))
    , m_logger(std::move(logger)) {
    if (m_cancelController)
        connect(m_cancelController.get(), &ICancelController::Canceled, this, &NetworkOperation::CanceledSlot);
}

NetworkOperation::~NetworkOperation() {
    abandon(QStringLiteral("Object deleted"));
    // While the user is being asked for proxy credentials further up on this thread, reply and manager are in use there.
    if (m_reply && m_ownsReply && m_manager && m_manager->isPrompting()) {
        m_reply->setParent(m_manager.get());
        m_ownsReply = false;
    }
    discardReply();
    NetworkAccessManager::retire(std::move(m_manager));
}

void NetworkOperation::StartOperation(QNetworkRequest request, QString verb, QByteArray data, int timeoutInMsec,
                                      QThread* pThreadToExit) {
    if (m_logger)
        m_logger->debug(QStringLiteral("NetworkOperation::StartOperation called: %1 %2").arg(verb, displayUrl(request.url())));
    if (isRunning())
        return;
    m_threadToExit = pThreadToExit;
    QBuffer upload(&data);
    upload.open(QIODevice::ReadOnly);
    Send(request, verb, &upload, timeoutInMsec, false);
}

void NetworkOperation::StartOperation(QNetworkRequest request, QString downloadToFile, QThread* pThreadToExit) {
    const QString verb = QStringLiteral("GET");
    if (m_logger)
        m_logger->debug(QStringLiteral("NetworkOperation::StartOperation called: %1 %2").arg(verb, displayUrl(request.url())));
    if (isRunning())
        return;
    m_threadToExit = pThreadToExit;
    m_requestBody.clear();
    if (!prepare(request, verb))
        return;
    if (!downloadToFile.isEmpty()) {
        m_download = std::make_unique<DownloadFile>(downloadToFile);
        startTimer(m_downloadTimeoutInMsec);
    }
    sendGet(request);
    watchReply();
    if (m_reply)
        connect(m_reply, &QNetworkReply::downloadProgress, this, &NetworkOperation::DownloadProgressSlot);
}

QNetworkReply* NetworkOperation::Send(const QNetworkRequest& request, const QString& verb, QIODevice* upload, int timeoutInMsec,
                                      bool wait) {
    if (isRunning())
        return nullptr;
    // A thread that has never run an event loop gets what timers and sockets need from this object only.
    QEventLoop loop;
    m_requestBody = upload ? upload->readAll() : QByteArray();
    if (!prepare(request, verb))
        return nullptr;
    if (timeoutInMsec > 0)
        startTimer(timeoutInMsec);
    if (isGet(verb))
        sendGet(request);
    else
        sendCustom(request);
    watchReply();
    return wait && m_reply ? waitForReply(loop) : m_reply.data();
}

QNetworkReply* NetworkOperation::waitForReply(QEventLoop& loop) {
    const QPointer<NetworkOperation> self(this);
    const QPointer<QNetworkReply> reply(m_reply);
    m_eventLoop = &loop;
    loop.exec(QEventLoop::ExcludeUserInputEvents);
    // Whoever was told of the end may have destroyed this object, or started it again. And the loop ends early when the
    // whole thread is told to quit.
    if (self && m_reply == reply && !m_finished)
        cancel(QStringLiteral("Event loop ended"));
    return self && m_reply == reply ? reply.data() : nullptr;
}

bool NetworkOperation::prepare(const QNetworkRequest& request, const QString& verb) {
    m_verb = verb;
    discardReply();
    m_timer.reset();
    m_download.reset();
    m_result = OperationResult::NotFinished;
    m_errorMessage.clear();
    m_finished = false;
    m_ended = false;
    m_isAbandoned = false;
    m_sslErrors.clear();
    const QString problem = requestProblem(request, verb);
    if (!problem.isEmpty()) {
        refuse(problem);
        return false;
    }
    if (!m_manager) {
        m_manager = std::make_unique<NetworkAccessManager>(m_logger);
        connect(m_manager.get(), &NetworkAccessManager::PromptOpened, this, &NetworkOperation::pauseTimer);
        connect(m_manager.get(), &NetworkAccessManager::PromptClosed, this, &NetworkOperation::resumeTimer);
    }
    return true;
}

void NetworkOperation::refuse(const QString& problem) {
    m_finished = true;
    m_result = OperationResult::Failure;
    m_errorMessage = problem;
    if (m_logger)
        m_logger->error(problem);
    announce();
}

QNetworkRequest NetworkOperation::withUserAgent(QNetworkRequest request) const {
    const QString agent = userAgent();
    if (!agent.isEmpty() && !request.hasRawHeader("User-Agent"))
        request.setRawHeader("User-Agent", agent.toUtf8());
    return request;
}

void NetworkOperation::sendGet(const QNetworkRequest& request) {
    m_reply = m_manager->get(withUserAgent(request));
}

void NetworkOperation::sendCustom(const QNetworkRequest& request) {
    auto body = std::make_unique<UploadBody>(m_requestBody);
    m_reply = m_manager->sendCustomRequest(withUserAgent(request), m_verb.toUtf8(), body.get());
    if (m_reply)
        body.release()->setParent(m_reply);
}

void NetworkOperation::watchReply() {
    if (!m_reply) {
        refuse(QStringLiteral("Request was not sent. No reply object"));
        return;
    }
    adoptReply();
    connect(m_reply, &QNetworkReply::finished, this, &NetworkOperation::RequestFinishedSlot);
    connect(m_reply, &QNetworkReply::sslErrors, this, &NetworkOperation::SslErrors);
    if (m_download) {
        connect(m_reply, &QNetworkReply::readyRead, this, &NetworkOperation::ReadyRead);
    } else {
        // The peer is not read much further before somebody has looked.
        m_reply->setReadBufferSize(2 * MaximalBodyBytes);
        connect(m_reply, &QNetworkReply::readyRead, this, &NetworkOperation::checkBodySize);
    }
}

void NetworkOperation::startTimer(int timeoutInMsec) {
    m_pausedMsec = -1;
    m_timer = std::make_unique<QTimer>();
    m_timer->setSingleShot(true);
    connect(m_timer.get(), &QTimer::timeout, this, &NetworkOperation::Timeout);
    m_timer->start(timeoutInMsec);
}

void NetworkOperation::pauseTimer() {
    m_pausedMsec = m_timer && m_timer->isActive() ? m_timer->remainingTime() : -1;
    if (m_pausedMsec >= 0)
        m_timer->stop();
}

void NetworkOperation::resumeTimer() {
    if (m_pausedMsec >= 0 && m_timer && isRunning() && !m_finished)
        m_timer->start(m_pausedMsec);
    m_pausedMsec = -1;
}

void NetworkOperation::discardReply() {
    // A thread that is ending, or never runs an event loop, would not get round to a deferred delete.
    if (m_reply && m_ownsReply && m_replyCalls == 0)
        delete m_reply;
    else if (m_reply && m_ownsReply)
        m_reply->deleteLater();
    m_reply.clear();
    m_ownsReply = false;
}

void NetworkOperation::adoptReply() {
    if (m_reply->parent()) {
        m_reply->setParent(nullptr);
        m_ownsReply = true;
    }
}

std::unique_ptr<QNetworkReply> NetworkOperation::takeReply() {
    if (isRunning() || !m_ownsReply || m_isAbandoned)
        return nullptr;
    std::unique_ptr<QNetworkReply> reply(m_reply.data());
    m_reply.clear();
    m_ownsReply = false;
    return reply;
}

void NetworkOperation::AbortOperation() {
    abandon(QStringLiteral("Canceled by caller"));
}

void NetworkOperation::CanceledSlot() {
    abandon(QStringLiteral("Canceled by caller"));
}

// The framework's own thread may be waiting for the reply to hear of the encryption, while the manager waits five seconds for that
// thread to end. A reply that goes before its manager sets the thread free, so an abandoned one is not handed out.
void NetworkOperation::abandon(const QString& reason) {
    m_isAbandoned = isRunning();
    cancel(reason);
}

void NetworkOperation::Timeout() {
    cancel(QStringLiteral("Timed out"));
}

void NetworkOperation::cancel(const QString& reason) {
    endWith(OperationResult::Canceled, reason.isEmpty() ? QStringLiteral("Operation was canceled")
                                                        : QStringLiteral("Operation was canceled. %1.").arg(reason));
}

void NetworkOperation::endWith(OperationResult result, const QString& message) {
    if (!isRunning() || m_ended)
        return;
    m_ended = true;
    m_result = result;
    m_errorMessage = message;
    const QPointer<NetworkOperation> self(this);
    const QPointer<QNetworkReply> reply(m_reply);
    {
        const ReplyCall call(this);
        // The reply says that it has finished before this call returns; then this object may be gone or busy with
        // another.
        reply->abort();
    }
    if (self && m_reply == reply && !m_finished)
        OperationFinished();
}

void NetworkOperation::DownloadProgressSlot(qint64 done, qint64 total) {
    const ReplyCall call(this);
    if (m_finished)
        return;
    if (m_download && m_timer)
        m_timer->start(m_downloadTimeoutInMsec);
    Q_EMIT DownloadProgress(m_reply, done, total);
}

void NetworkOperation::ReadyRead() {
    const ReplyCall call(this);
    if (!m_download || !m_reply || m_finished)
        return;
    const QString path = m_download->temporaryPath();
    if (!m_download->open())
        cancel(QStringLiteral("Failed to open temp local file %1 for download").arg(path));
    else if (!m_download->append(m_reply->readAll()))
        cancel(QStringLiteral("Failed to write temp local file %1 for download").arg(path));
}

void NetworkOperation::checkBodySize() {
    const ReplyCall call(this);
    if (m_reply && m_reply->bytesAvailable() > MaximalBodyBytes) {
        endWith(OperationResult::Failure,
                QStringLiteral("Reply body is larger than %1 bytes").arg(QString::number(MaximalBodyBytes)));
    }
}

void NetworkOperation::SslErrors(QList<QSslError> errors) {
    const ReplyCall call(this);
    m_sslErrors = errors;
    if (!m_logger)
        return;
    for (const QSslError& error : qAsConst(m_sslErrors)) {
        const QStringList certificate = certificateDescription(error.certificate());
        m_logger->error(QStringLiteral("NetworkOperation::SslError: %1 (%2): %3. %4")
                            .arg(sslErrorName(error.error()), QString::number(error.error()), error.errorString(),
                                 certificate.join(QLatin1Char('\n'))));
    }
}

void NetworkOperation::RequestFinishedSlot() {
    const ReplyCall call(this);
    if (m_logger && m_reply) {
        m_logger->debug(QStringLiteral("NetworkOperation::RequestFinishedSlot called: %1 %2")
                            .arg(m_verb, displayUrl(m_reply->request().url())));
    }
    OperationFinished();
}

void NetworkOperation::OperationFinished() {
    if (m_finished)
        return;
    m_finished = true;
    if (m_timer)
        m_timer->stop();
    if (m_reply) {
        adoptReply();
        settleResult();
        completeDownload();
        if (m_logger) {
            m_logger->debug(QStringLiteral("NetworkOperation::OperationFinished Emitting RequestFinished: %1 %2")
                                .arg(m_verb, displayUrl(m_reply->request().url())));
        }
    }
    announce();
}

void NetworkOperation::settleResult() {
    if (m_ended)
        return;
    switch (m_reply->error()) {
    case QNetworkReply::NoError:
        m_result = OperationResult::Success;
        checkBodyIsWhole();
        break;
    case QNetworkReply::OperationCanceledError:
        m_result = OperationResult::Canceled;
        m_errorMessage = QStringLiteral("Operation was canceled");
        break;
    default: m_result = OperationResult::Failure; m_errorMessage = operationErrorText(*m_reply);
    }
}

void NetworkOperation::checkBodyIsWhole() {
    const QVariant length = m_reply->header(QNetworkRequest::ContentLengthHeader);
    const int status = httpStatus(*m_reply);
    const bool hasBody = m_reply->operation() != QNetworkAccessManager::HeadOperation && status != 204 && status != 304;
    if (m_download || !length.isValid() || !hasBody)
        return;
    // On a connection that it uses again, the framework sometimes takes the peer's close for the end of the body.
    const qint64 expected = length.toLongLong();
    if (m_reply->bytesAvailable() < expected) {
        m_result = OperationResult::Failure;
        m_errorMessage = QStringLiteral("Size check failed. Expected size: %1. Actual size: %2")
                             .arg(QString::number(expected), QString::number(m_reply->bytesAvailable()));
    }
}

void NetworkOperation::completeDownload() {
    if (!m_download)
        return;
    // The page that comes with a redirect is not the file; nothing else marks such a reply as failed.
    const int status = httpStatus(*m_reply);
    if (m_result == OperationResult::Success && status >= 300 && status != 304) {
        m_result = OperationResult::Failure;
        m_errorMessage = operationErrorText(*m_reply);
    }
    if (m_result == OperationResult::Success) {
        const QString problem = m_download->complete(m_reply->header(QNetworkRequest::ContentLengthHeader).toLongLong());
        if (!problem.isEmpty()) {
            m_result = OperationResult::Failure;
            m_errorMessage = problem;
        }
    }
    // The temporary file goes with it; one of that name that is there later is another operation's.
    m_download.reset();
}

void NetworkOperation::announce() {
    // Nothing of this object may be touched after the signal: its owner may destroy it or start it again there.
    const QPointer<QEventLoop> loop(m_eventLoop);
    const QPointer<QThread> threadToExit(m_threadToExit);
    Q_EMIT RequestFinished();
    if (loop)
        loop->exit();
    if (threadToExit)
        threadToExit->exit(0);
}

} // namespace Velquor::WebServices
