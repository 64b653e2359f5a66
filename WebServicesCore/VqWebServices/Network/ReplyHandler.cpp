#include "Network/ReplyHandler.h"

#include "Network/Bodies/DownloadFile.h"
#include "Network/Diagnosis/DisplayUrl.h"
#include "Network/Diagnosis/NetworkErrorText.h"
#include "Network/Diagnosis/SslErrorText.h"
#include "Network/EndedReply.h"

#include <utility>

namespace Velquor::WebServices::Internal {

/// Marks that a function of the reply is on the stack: the reply must not be deleted until it has returned. The handler may be
/// destroyed in the meantime.
class ReplyHandler::ReplyCall final {
public:
    explicit ReplyCall(ReplyHandler* handler)
        : m_handler(handler) {
        ++handler->m_replyCalls;
    }
    ~ReplyCall() {
        if (m_handler)
            --m_handler->m_replyCalls;
    }
    Q_DISABLE_COPY_MOVE(ReplyCall)

private:
    QPointer<ReplyHandler> m_handler;
};

ReplyHandler::ReplyHandler(std::shared_ptr<Log::ILogger> logger, QObject* parent)
    : QObject(parent)
    , m_logger(std::move(logger)) {}

ReplyHandler::~ReplyHandler() {
    discard();
}

void ReplyHandler::reset(const QString& verb) {
    m_verb = verb;
    discard();
    m_download.reset();
    m_reportsProgress = false;
    m_result = OperationResult::NotFinished;
    m_errorMessage.clear();
    m_finished = false;
    m_ended = false;
    m_isAbandoned = false;
    m_sslErrors.clear();
}

void ReplyHandler::downloadTo(const QString& path) {
    m_download = std::make_unique<DownloadFile>(path);
}

void ReplyHandler::refuse(const QString& problem) {
    m_finished = true;
    fail(problem);
}

void ReplyHandler::fail(const QString& message) {
    m_result = OperationResult::Failure;
    m_errorMessage = message;
}

void ReplyHandler::watch(QNetworkReply* reply) {
    discard();
    m_reply = reply;
    adopt();
    connect(m_reply, &QNetworkReply::finished, this, &ReplyHandler::RequestFinishedSlot);
    connect(m_reply, &QNetworkReply::sslErrors, this, &ReplyHandler::SslErrors);
    if (m_reportsProgress)
        connect(m_reply, &QNetworkReply::downloadProgress, this, &ReplyHandler::DownloadProgressSlot);
    if (m_download) {
        connect(m_reply, &QNetworkReply::readyRead, this, &ReplyHandler::ReadyRead);
    } else {
        connect(m_reply, &QNetworkReply::readyRead, this, &ReplyHandler::checkBodySize);
        boundReadAhead();
    }
}

// Bounds what the framework reads ahead of checkBodySize(). The framework crashes when it gets the bound while it opens a tunnel.
// So with TLS it gets the bound when the connection is encrypted, or on a kept connection with the head of the reply.
void ReplyHandler::boundReadAhead() {
    QNetworkReply* const reply = m_reply;
    const auto bound = [reply] { reply->setReadBufferSize(2 * maximumBodyBytes); };
    if (reply->url().scheme() != QLatin1String("https")) {
        bound();
        return;
    }
    connect(reply, &QNetworkReply::encrypted, reply, bound);
    connect(reply, &QNetworkReply::metaDataChanged, reply, bound);
}

// The framework makes its manager the parent of a reply; without a parent it can be destroyed earlier, or handed over.
void ReplyHandler::adopt() {
    if (m_reply->parent()) {
        m_reply->setParent(nullptr);
        m_ownsReply = true;
    }
}

void ReplyHandler::discard() {
    // A thread that is ending, or never runs an event loop, would not get round to a deferred delete.
    if (m_reply && m_ownsReply && m_replyCalls == 0)
        delete m_reply;
    else if (m_reply && m_ownsReply)
        m_reply->deleteLater();
    m_reply.clear();
    m_ownsReply = false;
}

void ReplyHandler::leaveTo(QObject* owner) {
    if (!m_reply || !m_ownsReply)
        return;
    m_reply->setParent(owner);
    m_ownsReply = false;
}

void ReplyHandler::release() {
    if (!m_reply || !m_ownsReply || isRunning() || m_isAbandoned)
        return;
    if (m_ended)
        replaceByCopy();
    // Objects that are connected must not be destroyed on two threads at once.
    m_reply->disconnect(this);
    m_reply->moveToThread(nullptr);
}

void ReplyHandler::replaceByCopy() {
    auto copy = std::make_unique<EndedReply>(*m_reply);
    discard();
    m_reply = copy.release();
    m_ownsReply = true;
}

std::unique_ptr<QNetworkReply> ReplyHandler::take() {
    if (isRunning() || !m_ownsReply || m_isAbandoned)
        return nullptr;
    std::unique_ptr<QNetworkReply> reply(m_reply.data());
    m_reply.clear();
    m_ownsReply = false;
    return reply;
}

// The framework's own thread may wait for the reply to learn that the connection is encrypted, while the destructor of the
// manager waits five seconds for that thread to end. A reply destroyed before its manager sets the thread free, so an abandoned
// one is never handed out.
void ReplyHandler::abandonWith(OperationResult result, const QString& message) {
    m_isAbandoned = isRunning();
    endWith(result, message);
}

void ReplyHandler::endWith(OperationResult result, const QString& message) {
    if (!isRunning() || m_ended)
        return;
    m_ended = true;
    m_result = result;
    m_errorMessage = message;
    const QPointer<ReplyHandler> self(this);
    const QPointer<QNetworkReply> reply(m_reply);
    {
        const ReplyCall call(this);
        // The reply emits finished() before this call returns. By then this object may be destroyed, or busy with another reply.
        reply->abort();
    }
    if (self && m_reply == reply && !m_finished)
        finish();
}

void ReplyHandler::DownloadProgressSlot(qint64 done, qint64 total) {
    const ReplyCall call(this);
    if (!m_finished)
        Q_EMIT Progress(done, total);
}

void ReplyHandler::ReadyRead() {
    const ReplyCall call(this);
    if (!m_download || !m_reply || m_finished)
        return;
    const QString path = m_download->temporaryPath();
    if (!m_download->open())
        endWith(OperationResult::Canceled, QStringLiteral("Operation was canceled. %1.")
                                               .arg(QStringLiteral("Failed to open temp local file %1 for download").arg(path)));
    else if (!m_download->append(m_reply->readAll()))
        endWith(OperationResult::Canceled, QStringLiteral("Operation was canceled. %1.")
                                               .arg(QStringLiteral("Failed to write temp local file %1 for download").arg(path)));
}

void ReplyHandler::checkBodySize() {
    const ReplyCall call(this);
    if (m_reply && m_reply->bytesAvailable() > maximumBodyBytes) {
        endWith(OperationResult::Failure,
                QStringLiteral("Reply body is larger than %1 bytes").arg(QString::number(maximumBodyBytes)));
    }
}

void ReplyHandler::SslErrors(QList<QSslError> errors) {
    const ReplyCall call(this);
    m_sslErrors = std::move(errors);
    if (!m_logger)
        return;
    for (const QSslError& error : qAsConst(m_sslErrors)) {
        const QStringList certificate = certificateDescription(error.certificate());
        m_logger->error(QStringLiteral("NetworkOperation::SslError: %1 (%2): %3. %4")
                            .arg(sslErrorName(error.error()), QString::number(error.error()), error.errorString(),
                                 certificate.join(QLatin1Char('\n'))));
    }
}

void ReplyHandler::RequestFinishedSlot() {
    const ReplyCall call(this);
    if (m_logger && m_reply) {
        m_logger->debug(QStringLiteral("NetworkOperation::RequestFinishedSlot called: %1 %2")
                            .arg(m_verb, displayUrl(m_reply->request().url())));
    }
    const QPointer<QNetworkReply> reply(m_reply);
    if (reply && !m_ended && reply->error() == QNetworkReply::ProxyAuthenticationRequiredError)
        Q_EMIT RefusedByProxy();
    if (m_reply == reply)
        finish();
}

void ReplyHandler::finish() {
    if (m_finished)
        return;
    m_finished = true;
    if (m_reply) {
        adopt();
        settleResult();
        completeDownload();
    }
    // The last line: a receiver may destroy this object.
    Q_EMIT Finished();
}

void ReplyHandler::settleResult() {
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
    default: fail(operationErrorText(*m_reply));
    }
}

void ReplyHandler::checkBodyIsWhole() {
    const QVariant length = m_reply->header(QNetworkRequest::ContentLengthHeader);
    const int status = httpStatus(*m_reply);
    const bool hasBody = m_reply->operation() != QNetworkAccessManager::HeadOperation && status != 204 && status != 304;
    if (m_download || !length.isValid() || !hasBody)
        return;
    // On a connection that it uses again, the framework sometimes takes the peer's close for the end of the body.
    const qint64 expected = length.toLongLong();
    if (m_reply->bytesAvailable() < expected) {
        fail(QStringLiteral("Size check failed. Expected size: %1. Actual size: %2")
                 .arg(QString::number(expected), QString::number(m_reply->bytesAvailable())));
    }
}

void ReplyHandler::completeDownload() {
    if (!m_download)
        return;
    // The page that comes with a redirect is not the file; nothing else marks such a reply as failed.
    const int status = httpStatus(*m_reply);
    if (m_result == OperationResult::Success && status >= 300 && status != 304)
        fail(operationErrorText(*m_reply));
    if (m_result == OperationResult::Success) {
        const Util::Result<void> completed =
            m_download->complete(m_reply->header(QNetworkRequest::ContentLengthHeader).toLongLong());
        if (!completed)
            fail(completed.reason());
    }
    // Now: a temporary file of that name that exists later belongs to another operation.
    m_download.reset();
}

} // namespace Velquor::WebServices::Internal
