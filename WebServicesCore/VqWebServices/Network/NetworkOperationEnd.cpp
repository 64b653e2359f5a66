// The part of a network operation that hears of the reply and comes to its end.

#include "Network/Diagnosis/DisplayUrl.h"
#include "Network/Diagnosis/NetworkErrorText.h"
#include "Network/Diagnosis/SslErrorText.h"
#include "Network/DownloadFile.h"
#include "Network/NetworkOperation.h"

namespace Velquor::WebServices::Internal {

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

void NetworkOperation::AbortOperation() {
    abandon(QStringLiteral("Canceled by caller"));
}

void NetworkOperation::CanceledSlot() {
    abandon(QStringLiteral("Canceled by caller"));
}

// The framework's own thread may be waiting for the reply to hear of the encryption, while the manager waits five seconds for
// that thread to end. A reply that goes before its manager sets the thread free, so an abandoned one is not handed out.
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
    if (m_reply && m_reply->bytesAvailable() > maximumBodyBytes) {
        endWith(OperationResult::Failure,
                QStringLiteral("Reply body is larger than %1 bytes").arg(QString::number(maximumBodyBytes)));
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

} // namespace Velquor::WebServices::Internal
