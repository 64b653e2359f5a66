#include "simulation/Library/AccountService.h"

#include <QEventLoop>
#include <QTimer>
#include <QUrl>
#include <utility>

namespace Velquor::Simulation {

using namespace WebServices::Internal;

namespace {

Ledger::Parameters formParameters(const QByteArray& form) {
    Ledger::Parameters parameters;
    for (const QByteArray& pair : form.split('&'))
        parameters.insert(pair.left(pair.indexOf('=')), QByteArray::fromPercentEncoding(pair.mid(pair.indexOf('=') + 1)));
    return parameters;
}

Ledger::Parameters oauthParameters(const QNetworkRequest& request) {
    Ledger::Parameters parameters;
    const QByteArray header = request.rawHeader("Authorization").mid(6);
    for (const QByteArray& part : header.split(',')) {
        const QByteArray pair = part.trimmed();
        const int equals = pair.indexOf('=');
        const QByteArray value = pair.mid(equals + 1);
        parameters.insert(pair.left(equals), QByteArray::fromPercentEncoding(value.mid(1, value.size() - 2)));
    }
    return parameters;
}

ExchangeOutcome outcomeOf(const Ledger::Answer& answer) {
    ExchangeOutcome outcome;
    outcome.reply.isNull = false;
    outcome.reply.status = answer.status;
    outcome.reply.body = answer.body;
    outcome.reply.problem.problem = QString::fromLatin1(answer.problem);
    outcome.result = answer.status == 200 ? OperationResult::Success : OperationResult::Failure;
    if (answer.status == 0)
        outcome.reply.networkError = QNetworkReply::TimeoutError;
    else if (answer.status != 200)
        outcome.reply.networkError = QNetworkReply::ProtocolInvalidOperationError;
    return outcome;
}

} // namespace

class SimExchange final : public QObject, public IExchange {
public:
    SimExchange(AccountService& service, Finished finished, QObject* parent)
        : QObject(parent)
        , m_service(service)
        , m_finished(std::move(finished)) {
        m_timer.setSingleShot(true);
        connect(&m_timer, &QTimer::timeout, this, [this] {
            // The step says what comes next.
            const Next next = std::move(m_next);
            next();
        });
    }

    void send(const QNetworkRequest& request, const QString&, const QByteArray& body, int timeoutMs,
              const std::shared_ptr<Log::ILogger>&) override {
        m_isUnderWay = true;
        m_sentUs = m_service.m_world.nowUs();
        m_timeoutMs = timeoutMs;
        after(travelMs(), [this, request, body] { arrive(request, body); });
    }
    [[nodiscard]] bool isUnderWay() const override { return m_isUnderWay; }
    void cancel() override {
        m_isUnderWay = false;
        m_timer.stop();
    }

private:
    using Next = std::function<void()>;

    [[nodiscard]] int travelMs() const {
        static constexpr int spansMs[] = {20, 0, 500, 5000};
        const bool isKilled = m_service.m_process.isKilled;
        return spansMs[isKilled ? 0 : m_service.m_world.choices().pick(int(std::size(spansMs)), "travel")];
    }
    [[nodiscard]] bool isLost(const char* what) const {
        return m_service.m_world.choices().chance(m_service.m_line.lostPercent, what);
    }
    void after(int spanMs, Next next) {
        m_next = std::move(next);
        m_timer.start(spanMs);
    }

    void arrive(const QNetworkRequest& request, const QByteArray& body) {
        ServiceLine& line = m_service.m_line;
        if (m_service.m_process.isKilled || isLost("lost request"))
            return fail();
        line.requests[request.url().path()]++;
        if (m_service.m_world.nowUs() < line.downUntilUs) {
            if (line.outage == ServiceLine::Outage::Silence)
                return fail();
            if (line.outage == ServiceLine::Outage::RefusedConnections)
                return finish({0, {}, {}, 0});
            m_service.countOutage(Ledger::signInOf(oauthParameters(request).value("oauth_session_handle")));
            return after(travelMs(), [this] { finish({503, {}, {}, 0}); });
        }
        const Ledger::Answer answer = body.isEmpty() ? line.ledger.answer(request.url().path(), oauthParameters(request))
                                                     : line.ledger.oauth2Answer(formParameters(body));
        if (answer.token > 0)
            line.askers[answer.token] = &m_service.m_process;
        if (!isLost("lost answer"))
            return after(travelMs(), [this, answer] { finish(answer); });
        line.lostAnswers++;
        fail();
    }
    void fail() {
        m_service.m_faults++;
        const qint64 passedMs = (m_service.m_world.nowUs() - m_sentUs) / 1000;
        after(int(std::max<qint64>(0, m_timeoutMs - passedMs)), [this] { finish({0, {}, {}, 0}); });
    }
    void finish(const Ledger::Answer& answer) {
        m_isUnderWay = false;
        if (answer.token > 0)
            m_service.m_outages.clear();
        // The function may send the next request, or destroy this object.
        const Finished finished = m_finished;
        finished(outcomeOf(answer));
    }

    AccountService& m_service;
    const Finished m_finished;
    QTimer m_timer{this};
    Next m_next;
    bool m_isUnderWay = false;
    qint64 m_sentUs = 0;
    int m_timeoutMs = 0;
};

// The library counts an outage once a minute, less a tenth, and gives up after the fifth.
void AccountService::countOutage(int signIn) {
    m_faults++;
    Outage& outage = m_outages[signIn];
    if (outage.count > 0 && m_world.nowUs() - outage.lastUs < 54000000)
        return;
    outage = {outage.count + 1, m_world.nowUs()};
    if (outage.count >= 5)
        m_line.exhausted.insert(signIn);
}

std::unique_ptr<IExchange> AccountService::makeExchange(IExchange::Finished finished, QObject* parent) {
    return std::make_unique<SimExchange>(*this, std::move(finished), parent);
}

ExchangeOutcome AccountService::get(const QNetworkRequest& request, int timeoutMs, const std::shared_ptr<Log::ILogger>& logger,
                                    const std::shared_ptr<ICancelController>& cancel) {
    ExchangeOutcome outcome;
    QEventLoop loop;
    SimExchange exchange(
        *this,
        [&outcome, &loop](const ExchangeOutcome& end) {
            outcome = end;
            loop.quit();
        },
        nullptr);
    QObject::connect(cancel.get(), &ICancelController::Canceled, &loop, [&outcome, &exchange, &loop] {
        exchange.cancel();
        outcome.result = OperationResult::Canceled;
        loop.quit();
    });
    exchange.send(request, QStringLiteral("GET"), {}, timeoutMs, logger);
    loop.exec(QEventLoop::ExcludeUserInputEvents);
    return outcome;
}

} // namespace Velquor::Simulation
