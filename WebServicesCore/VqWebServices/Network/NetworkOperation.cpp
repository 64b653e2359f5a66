#include "Network/NetworkOperation.h"

#include "Network/Bodies/UploadBody.h"
#include "Network/Diagnosis/DisplayUrl.h"
#include "Network/Diagnosis/DumpAllowList.h"
#include "Network/Diagnosis/NetworkErrorText.h"
#include "Network/KeptManager.h"
#include "Network/NetworkAccessManager.h"
#include "Network/UserAgent.h"
#include "VqUtil/General/Result.h"

#include <QBuffer>
#include <algorithm>
#include <atomic>

namespace Velquor::WebServices::Internal {
namespace {

bool isGet(const QString& verb) {
    return verb.compare(QLatin1String("GET"), Qt::CaseInsensitive) == 0;
}

bool isToken(const QByteArray& text) {
    static const QByteArray marks("!#$%&'*+-.^_`|~");
    return !text.isEmpty() && std::all_of(text.begin(), text.end(), [](char c) {
        return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || marks.contains(c);
    });
}

bool isHeaderValue(const QByteArray& value) {
    return !value.contains('\r') && !value.contains('\n') && !value.contains('\0');
}

std::atomic<bool> isNetworkAllowed{true};

// Verb and headers must not break out of their line.
Util::Result<void> checkRequest(const QNetworkRequest& request, const QString& verb) {
    if (!isNetworkAllowed)
        return Util::Failure{QStringLiteral("Request was not sent. There is no WebServices.logconfig file")};
    const QUrl url = request.url();
    const bool isHttp = url.scheme() == QLatin1String("http") || url.scheme() == QLatin1String("https");
    if (!url.isValid() || !isHttp || url.host().isEmpty())
        return Util::Failure{QStringLiteral("Request was not sent. Not a valid http or https url: %1").arg(displayUrl(url))};
    if (!isToken(verb.toUtf8()))
        return Util::Failure{QStringLiteral("Request was not sent. Not a valid verb: %1").arg(oneLine(verb))};
    for (const QByteArray& name : request.rawHeaderList()) {
        if (!isToken(name) || !isHeaderValue(request.rawHeader(name)))
            return Util::Failure{
                QStringLiteral("Request was not sent. Not a valid header: %1").arg(oneLine(QString::fromUtf8(name)))};
    }
    return {};
}

} // namespace

NetworkOperation::NetworkOperation(std::shared_ptr<ICancelController> cancelController, std::shared_ptr<Log::ILogger> logger,
                                   KeptManager* kept)
    : m_cancelController(std::move(cancelController))
    , m_logger(std::move(logger))
    , m_kept(kept)
    , m_handler(m_logger, this) {
    connect(&m_handler, &ReplyHandler::Finished, this, &NetworkOperation::OperationFinished);
    connect(&m_handler, &ReplyHandler::RefusedByProxy, this, &NetworkOperation::sendAgain);
    connect(&m_handler, &ReplyHandler::Progress, this, &NetworkOperation::DownloadProgressSlot);
    if (m_cancelController)
        connect(m_cancelController.get(), &ICancelController::Canceled, this, &NetworkOperation::CanceledSlot);
}

NetworkOperation::~NetworkOperation() {
    abandon(QStringLiteral("Object deleted"));
    // During a prompt for proxy credentials further up on this thread, reply and manager are still in use there.
    if (m_manager && m_manager->isPrompting())
        m_handler.leaveTo(m_manager.get());
    m_handler.discard();
    NetworkAccessManager::retire(std::move(m_manager));
}

void NetworkOperation::allow(bool isAllowed) {
    isNetworkAllowed = isAllowed;
}

// NOLINTNEXTLINE(performance-unnecessary-value-param): a slot; its types are those of the signal in NetworkOperationAsync.
void NetworkOperation::StartOperation(QNetworkRequest request, QString verb, QByteArray data, int timeoutInMsec,
                                      QThread* pThreadToExit) {
    if (m_logger)
        m_logger->debug(QStringLiteral("NetworkOperation::StartOperation called: %1 %2").arg(verb, displayUrl(request.url())));
    if (isRunning())
        return;
    m_threadToExit = pThreadToExit;
    QBuffer upload(&data);
    upload.open(QIODevice::ReadOnly);
    Send(request, verb, &upload, timeoutInMsec);
}

// NOLINTNEXTLINE(performance-unnecessary-value-param): a slot; its types are those of the signal in NetworkOperationAsync.
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
        m_handler.downloadTo(downloadToFile);
        startTimer(m_downloadTimeoutInMsec);
    }
    m_handler.reportProgress();
    watch(send(request));
}

QNetworkReply* NetworkOperation::Send(const QNetworkRequest& request, const QString& verb, QIODevice* upload, int timeoutInMsec) {
    if (isRunning())
        return nullptr;
    m_requestBody = upload ? upload->readAll() : QByteArray();
    if (!prepare(request, verb))
        return nullptr;
    if (timeoutInMsec > 0)
        startTimer(timeoutInMsec);
    watch(send(request));
    return reply();
}

bool NetworkOperation::prepare(const QNetworkRequest& request, const QString& verb) {
    m_verb = verb;
    m_handler.reset(verb);
    m_timer.reset();
    if (const Util::Result<void> check = checkRequest(request, verb); !check) {
        refuse(check.reason());
        return false;
    }
    if (!m_manager)
        takeManager();
    m_manager->startRequest();
    return true;
}

void NetworkOperation::takeManager() {
    if (m_kept)
        m_manager = m_kept->take();
    if (m_manager)
        m_manager->serve(m_logger, m_waitingThread);
    else
        m_manager = std::make_unique<NetworkAccessManager>(m_logger, m_waitingThread);
    connect(m_manager.get(), &NetworkAccessManager::PromptOpened, this, &NetworkOperation::pauseTimer);
    connect(m_manager.get(), &NetworkAccessManager::PromptClosed, this, &NetworkOperation::resumeTimer);
}

void NetworkOperation::settle() {
    // Its owner may destroy the controller while this object is destroyed on its own thread.
    if (m_cancelController)
        m_cancelController->disconnect(this);
    m_handler.release();
    m_hasKeptConnection = m_kept && m_manager && result() == OperationResult::Success && m_manager->isReusable();
    if (m_hasKeptConnection) {
        m_manager->disconnect(this);
        m_manager->disconnect(reply());
        reply()->disconnect(m_manager.get());
        m_kept->put(std::move(m_manager));
    }
    Q_EMIT Settled();
}

void NetworkOperation::refuse(const QString& problem) {
    m_handler.refuse(problem);
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

QNetworkReply* NetworkOperation::send(const QNetworkRequest& request) {
    return isGet(m_verb) ? sendGet(request) : sendCustom(request);
}

// No server has seen the request yet: the proxy has refused to open the tunnel to it.
void NetworkOperation::sendAgain() {
    if (m_manager->takeTunnelLogin())
        watch(send(reply()->request()));
}

QNetworkReply* NetworkOperation::sendGet(const QNetworkRequest& request) {
    return m_manager->get(withUserAgent(request));
}

QNetworkReply* NetworkOperation::sendCustom(const QNetworkRequest& request) {
    auto body = std::make_unique<UploadBody>(m_requestBody);
    QNetworkReply* const reply = m_manager->sendCustomRequest(withUserAgent(request), m_verb.toUtf8(), body.get());
    if (reply)
        body.release()->setParent(reply);
    return reply;
}

void NetworkOperation::watch(QNetworkReply* reply) {
    if (reply)
        m_handler.watch(reply);
    else
        refuse(QStringLiteral("Request was not sent. No reply object"));
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
    if (m_pausedMsec >= 0 && m_timer && isRunning() && !m_handler.isFinished())
        m_timer->start(m_pausedMsec);
    m_pausedMsec = -1;
}

void NetworkOperation::AbortOperation() {
    abandon(QStringLiteral("Canceled by caller"));
}

void NetworkOperation::CanceledSlot() {
    abandon(QStringLiteral("Canceled by caller"));
}

void NetworkOperation::abandon(const QString& reason) {
    m_handler.abandonWith(OperationResult::Canceled, QStringLiteral("Operation was canceled. %1.").arg(reason));
}

void NetworkOperation::Timeout() {
    const QString proxy = m_manager ? m_manager->proxyAddress() : QString();
    // The framework goes on waiting, and asks nobody, when a proxy closes the connection with its demand for credentials.
    if (!proxy.isEmpty() && reply() && httpStatus(*reply()) == 0)
        cancel(
            QStringLiteral(
                "Timed out. Nothing came through the proxy %1, which may have closed the connection when it asked for credentials")
                .arg(proxy));
    else
        cancel(QStringLiteral("Timed out"));
}

void NetworkOperation::cancel(const QString& reason) {
    m_handler.endWith(OperationResult::Canceled, QStringLiteral("Operation was canceled. %1.").arg(reason));
}

void NetworkOperation::DownloadProgressSlot(qint64 done, qint64 total) {
    if (m_handler.isDownload() && m_timer)
        m_timer->start(m_downloadTimeoutInMsec);
    Q_EMIT DownloadProgress(m_handler.reply(), done, total);
}

void NetworkOperation::OperationFinished() {
    if (m_timer)
        m_timer->stop();
    if (m_logger && reply()) {
        m_logger->debug(QStringLiteral("NetworkOperation::OperationFinished Emitting RequestFinished: %1 %2")
                            .arg(m_verb, displayUrl(reply()->request().url())));
    }
    announce();
}

void NetworkOperation::announce() {
    // A receiver may destroy this object or start it again, so nothing of it may be touched after the signal.
    const QPointer<QThread> threadToExit(m_threadToExit);
    Q_EMIT RequestFinished();
    if (threadToExit)
        threadToExit->exit(0);
}

} // namespace Velquor::WebServices::Internal
