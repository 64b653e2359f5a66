#include "Tokens/TokenWorker.h"

#include "Network/NetworkOperationAsync.h"

#include <QThread>
#include <utility>

namespace Velquor::WebServices {

TokenWorker::TokenWorker(ITokenOwner& owner)
    : m_owner(owner)
    , m_polling(this)
    , m_timer(this) {
    m_timer.setSingleShot(true);
    connect(&m_timer, &QTimer::timeout, this, [this] {
        m_timerActive = false;
        timerFired();
    });
}

TokenWorker::~TokenWorker() {
    m_polling.stop();
    if (m_operation)
        m_operation->disconnect(this);
    m_operation.reset();
    m_run->close();
}

bool TokenWorker::isOwnThread() const { return QThread::currentThread() == thread(); }

QUrl TokenWorker::endPoint(const QString& serverKey, const QString& endPointKey) const {
    return QUrl(services().urls->endPoint(m_owner.server(), serverKey, endPointKey));
}

void TokenWorker::send(const QNetworkRequest& request, const QString& verb, const QByteArray& body) {
    m_aborted = false;
    m_operation = std::make_unique<NetworkOperationAsync>(request, verb, body, services().networkLogger);
    m_operation->setTimeout(services().tokenTimeoutMs);
    connect(m_operation.get(), &NetworkOperationAsync::RequestFinished, this, &TokenWorker::requestFinished);
    // A thread that cannot be started is told as the end of the request too.
    m_operation->Start();
}

void TokenWorker::requestFinished(QNetworkReply* reply) {
    if (!m_operation)
        return;
    const ExchangeOutcome outcome = outcomeOf(*m_operation, reply);
    // It is the operation that tells this, so it may go only later.
    m_operation.release()->deleteLater();
    handleReply(outcome);
}

void TokenWorker::abort() {
    if (!m_operation)
        return;
    m_aborted = true;
    // Going away is how an operation is cancelled; it tells its end before it is gone.
    const std::unique_ptr<NetworkOperationAsync> operation = std::move(m_operation);
    operation->disconnect(this);
    ExchangeOutcome outcome;
    outcome.result = OperationResult::Canceled;
    outcome.message = QStringLiteral("Aborted");
    handleReply(outcome);
}

void TokenWorker::startTimer(int intervalMs) {
    m_timer.start(intervalMs);
    m_timerActive = true;
}

void TokenWorker::stopTimer() {
    m_timer.stop();
    m_timerActive = false;
}

QString TokenWorker::modeWord(bool synchronous) {
    return synchronous ? QStringLiteral("synchronous") : QStringLiteral("asynchronous");
}

QString TokenWorker::modeAdverb(bool synchronous) {
    return synchronous ? QStringLiteral("synchronously") : QStringLiteral("asynchronously");
}

} // namespace Velquor::WebServices
