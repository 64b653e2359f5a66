// The part of a cache that asks the web service.

#include "Caches/CacheImp.h"
#include "Network/Diagnosis/DisplayUrl.h"
#include "VqUtil/General/HumanText.h"

#include <QMutexLocker>
#include <VqWebServices/Cache.h>

namespace Velquor::WebServices {

using namespace Internal;

namespace {
constexpr int tokenRetryMs = 5000;
constexpr qint64 msPerSecond = 1000;
} // namespace

void CacheImp::UpdateNowSlot() {
    findOutWhetherItCanUpdate();
    loadOnce();
    if (!m_view.isAvailable)
        return update();
    endRun();
    checkForUpdate();
}

bool CacheImp::mayUpdate() {
    if (!m_canUpdate) {
        m_log.information(QStringLiteral("Skipping update. Can't update cache now."));
        return false;
    }
    if (!m_tokens.isLoggedIn() || m_tokens.isLoginExpired()) {
        m_log.information(QStringLiteral("Skipping update. Not logged in or login session has expired."));
        return false;
    }
    if (m_refreshes->isBusy() || m_tokens.tokens().areExpired(now())) {
        m_log.information(QStringLiteral("Skipping update. Token has expired or refresh is in progress. Will retry update in %1.")
                              .arg(Util::timeSpanText(tokenRetryMs)));
        startTimer(Shot::Single, tokenRetryMs);
        return false;
    }
    return true;
}

void CacheImp::update() {
    if (!mayUpdate())
        return endRun();
    m_log.information(QStringLiteral("Preparing to update"));
    QNetworkRequest request(m_owner->GetUrlOverride());
    if (m_view.isAvailable && m_lastModified.isValid())
        request.setRawHeader("If-Modified-Since", CacheTiming::toHttpDate(m_lastModified));
    if (!signRequest(request)) {
        m_log.error(QStringLiteral("Skipping update since failed to sign request. Probably just logged out."));
        startTimer(Shot::Repeated, facts().checkSeconds * msPerSecond);
        return endRun();
    }
    m_log.information(QStringLiteral("Starting update in separate thread"));
    m_exchange.send(request, QStringLiteral("GET"), {}, m_tokens.services().tokenTimeoutMs, m_tokens.services().loggers.network);
}

bool CacheImp::signRequest(QNetworkRequest& request) {
    const QUrl url = request.url();
    m_log.information(QStringLiteral("Signing request: %1").arg(displayUrl(url)));
    m_askedFor = m_tokens.signInId();
    m_askedWith = identity();
    SigningKeys keys;
    const bool isSigned =
        url.isValid() && m_tokens.signingKeys(keys).isEmpty() && signGet(*m_tokens.services().oauthHost, url, keys, request);
    if (isSigned)
        m_log.information(QStringLiteral("Finished signing request successfully: %1").arg(displayUrl(url)));
    else
        m_log.error(QStringLiteral("Failed to sign request: %1").arg(displayUrl(url)));
    return isSigned;
}

void CacheImp::exchangeFinished(const ExchangeOutcome& outcome) {
    m_log.information(QStringLiteral("Update thread finished%1").arg(QString()));
    const bool isOfThisSignIn = !m_view.isClosed && !m_askedFor.isEmpty() && m_tokens.signInId() == m_askedFor;
    if (isOfThisSignIn)
        settle(outcome);
    else
        m_log.information(QStringLiteral("The reply belongs to a sign-in that is over"));
    m_log.information(QStringLiteral("Update finished"));
    endRun();
    // The sign-in that came meanwhile found this update under way and left it at that.
    if (!isOfThisSignIn)
        lookAgain();
}

void CacheImp::settle(const ExchangeOutcome& outcome) {
    if (outcome.result == OperationResult::Success && outcome.reply.status == 304 && m_view.isAvailable) {
        m_log.information(QStringLiteral("Finished update. Cache not modified since server returned 304."));
        m_failures = 0;
        // The value keeps its date, so without this it would be asked for again at once.
        startTimer(Shot::Repeated, facts().checkSeconds * msPerSecond);
        return;
    }
    if (outcome.hasStatus200())
        return keep(outcome);
    const bool isCut = outcome.reply.status == 200;
    const CacheFailure failure{outcome.reply.status, outcome.reply.networkError, isCut, outcome.reply.clockKind};
    fail(outcome.reply.isNull ? QStringLiteral("Failed to update cache: Reply is null")
                              : QStringLiteral("Failed to update cache: %1%2").arg(outcome.errorText(), outcome.problemText()),
         failure);
}

void CacheImp::keep(const ExchangeOutcome& outcome) {
    if (!m_owner->ParseReplyOverride(outcome.reply.body)) {
        fail(QStringLiteral("Failed to update cache: %1%2")
                 .arg(QStringLiteral("Server returned invalid response body"), QString()),
             {outcome.reply.status, outcome.reply.networkError, true, outcome.reply.clockKind});
        return;
    }
    const QDateTime date = now();
    {
        const QMutexLocker lock(&m_mutex);
        m_updateDate = date;
    }
    m_lastModified = CacheTiming::fromHttpDate(outcome.reply.header("Last-Modified"));
    m_failures = 0;
    m_view.isAvailable = true;
    m_storage.save(m_askedWith, {outcome.reply.body, date}, [this] { return !m_view.isClosed; });
    m_owner->CacheUpdatedOverride();
    if (!m_view.isClosed)
        Q_EMIT m_owner->CacheUpdated();
    m_log.information(
        QStringLiteral("Finished update. Cache updated successfully at %1.").arg(date.toUTC().toString(Qt::ISODate)));
    (void)isUpdateDue();
}

void CacheImp::fail(const QString& text, const CacheFailure& failure) {
    m_log.error(text);
    if (failure.clockKind != ClockKind::None)
        m_tokens.services().clockProblemSeen();
    const qint64 checkSeconds = facts().checkSeconds;
    if (!m_owner->UpdateError(failure)) {
        startTimer(Shot::Repeated, checkSeconds * msPerSecond);
        return;
    }
    const qint64 delayMs = CacheTiming::retryDelayMs(m_failures++, checkSeconds);
    m_log.information(QStringLiteral("Will retry update in %1").arg(Util::timeSpanText(delayMs)));
    startTimer(Shot::Single, delayMs);
}

void CacheImp::endRun() {
    m_view.updates->leave(m_view.isAvailable ? 1 : 0);
}

void CacheImp::Abort() {
    if (!m_exchange.isUnderWay())
        return;
    m_log.information(QStringLiteral("Aborting update"));
    m_exchange.cancel();
    m_log.information(QStringLiteral("Update thread finished%1").arg(QStringLiteral(". Aborted.")));
    m_log.information(QStringLiteral("Update aborted"));
    endRun();
}

} // namespace Velquor::WebServices
