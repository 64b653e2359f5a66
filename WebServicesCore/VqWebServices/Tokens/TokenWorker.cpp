#include "Tokens/TokenWorker.h"

#include <QThread>

namespace Velquor::WebServices::Internal {

TokenWorker::TokenWorker(ITokenOwner& owner, Loggers::Logger Loggers::*logger)
    : m_owner(owner)
    , m_logger(logger)
    , m_poller(this, owner.services().steadyClock)
    , m_timer(this)
    , m_exchange(owner.services().network->makeExchange([this](const ExchangeOutcome& outcome) { handleReply(outcome); }, this)) {
    m_timer.setSingleShot(true);
    connect(&m_timer, &QTimer::timeout, this, [this] {
        m_timerActive = false;
        timerFired();
    });
}

TokenWorker::~TokenWorker() {
    m_poller.stop();
    m_exchange->cancel();
    // Last, when nothing runs any more: it lets waiting callers go on.
    m_run->close();
}

bool TokenWorker::isOwnThread() const {
    return QThread::currentThread() == thread();
}

void TokenWorker::send(const QNetworkRequest& request, const QString& verb, const QByteArray& body) {
    m_aborted = false;
    m_exchange->send(request, verb, body, services().tokenTimeoutMs, services().loggers.network);
}

void TokenWorker::abort() {
    if (!m_exchange->isUnderWay())
        return;
    m_aborted = true;
    m_exchange->cancel();
    // A cancelled exchange reports no end, so the run is ended here.
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

} // namespace Velquor::WebServices::Internal
