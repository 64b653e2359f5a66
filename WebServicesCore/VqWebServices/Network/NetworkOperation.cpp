#include "Network/NetworkOperation.h"

#include "Network/Diagnosis/DisplayUrl.h"
#include "Network/DownloadFile.h"
#include "Network/NetworkAccessManager.h"
#include "Network/RequestCheck.h"
#include "Network/UploadBody.h"
#include "Network/UserAgent.h"

#include <QBuffer>

namespace Velquor::WebServices::Internal {
namespace {

bool isGet(const QString& verb) {
    return verb.compare(QLatin1String("GET"), Qt::CaseInsensitive) == 0;
}

} // namespace

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
        m_reply->setReadBufferSize(2 * maximumBodyBytes);
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

} // namespace Velquor::WebServices::Internal
