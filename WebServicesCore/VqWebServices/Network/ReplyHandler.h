#pragma once

#include "Network/OperationResult.h"
#include "VqLog/ILogger.h"

#include <QNetworkReply>
#include <QObject>
#include <QPointer>
#include <QSslError>
#include <memory>

namespace Velquor::WebServices::Internal {

class DownloadFile;

/// The reply of one network operation from the moment it is sent: follows it, bounds its body, streams it into a file when
/// wanted, and folds its end into one result and one message.
///
/// The reply is destroyed before the network manager that made it, see discard(). Thread: the operation's. Owner: the operation,
/// as a member with it as parent; both may be destroyed from inside the signals. Errors: a result and a message.
class ReplyHandler final : public QObject {
    Q_OBJECT

public:
    ReplyHandler(std::shared_ptr<Log::ILogger> logger, QObject* parent);
    ~ReplyHandler() override;
    Q_DISABLE_COPY_MOVE(ReplyHandler)

    /// Forgets the last reply and its outcome.
    void reset(const QString& verb);
    /// The body of the next reply goes into a file instead of memory.
    void downloadTo(const QString& path);
    /// Emits `Progress` for the next reply.
    void reportProgress() { m_reportsProgress = true; }
    /// Follows a reply, which becomes this object's.
    void watch(QNetworkReply* reply);
    /// The outcome of a request that was not sent.
    void refuse(const QString& problem);

    [[nodiscard]] bool isRunning() const { return m_reply && m_reply->isRunning(); }
    [[nodiscard]] bool isFinished() const { return m_finished; }
    [[nodiscard]] bool isDownload() const { return m_download != nullptr; }
    [[nodiscard]] QNetworkReply* reply() const { return m_reply; }
    [[nodiscard]] OperationResult result() const { return m_result; }
    [[nodiscard]] QString errorMessage() const { return m_errorMessage; }
    [[nodiscard]] QList<QSslError> sslErrors() const { return m_sslErrors; }

    /// Ends a reply that is running with a result of its own. `Finished` has been emitted when this returns.
    void endWith(OperationResult result, const QString& message);
    /// The same for a caller that wants no reply any more: take() gives none then.
    void abandonWith(OperationResult result, const QString& message);

    /// Takes the finished reply from its thread, so that take() may be called on another.
    void release();
    /// Hands over the finished reply; null while it runs, or when it was abandoned.
    [[nodiscard]] std::unique_ptr<QNetworkReply> take();
    void discard();
    /// Makes `owner` destroy the reply, which is in use further up on this thread.
    void leaveTo(QObject* owner);

Q_SIGNALS:
    /// The proxy wants credentials. A receiver may let this object watch another reply, which takes the place of this one.
    void RefusedByProxy();
    /// Once for each reply, when result and message are final.
    void Finished();
    void Progress(qint64 done, qint64 total);

private Q_SLOTS:
    void DownloadProgressSlot(qint64 done, qint64 total);
    void ReadyRead();
    void RequestFinishedSlot();
    void SslErrors(QList<QSslError> errors);

private:
    class ReplyCall;

    /// A reply that is kept in memory may not be larger; what the services answer is far smaller.
    static constexpr qint64 maximumBodyBytes = 4LL * 1024 * 1024;

    void boundReadAhead();
    void replaceByCopy();
    void adopt();
    void finish();
    void settleResult();
    void completeDownload();
    void checkBodySize();
    void checkBodyIsWhole();
    void fail(const QString& message);

    const std::shared_ptr<Log::ILogger> m_logger;
    QString m_verb;
    std::unique_ptr<DownloadFile> m_download;
    OperationResult m_result = OperationResult::NotFinished;
    QString m_errorMessage;
    QPointer<QNetworkReply> m_reply;
    bool m_ownsReply = false;
    bool m_reportsProgress = false;
    bool m_finished = false;
    bool m_ended = false;       ///< endWith() has decided result and message, whatever the reply says.
    bool m_isAbandoned = false; ///< The caller does not want the reply any more.
    int m_replyCalls = 0;       ///< How many calls from or into the reply are on the stack.
    QList<QSslError> m_sslErrors;
};

} // namespace Velquor::WebServices::Internal
