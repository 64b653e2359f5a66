#include "Caches/CacheImp.h"

#include "Caches/CacheTiming.h"

#include <VqWebServices/Cache.h>

namespace Velquor::WebServices {

using namespace Internal;

CacheImp::CacheImp(const CacheDependencies& parts, CacheView& view, const QString& name, const QString& nodePath)
    : m_tokens(parts.owner)
    , m_views(parts.views)
    , m_view(view)
    , m_log(name, parts.owner.services().loggers.cache)
    , m_storage(parts.file, nodePath, m_log)
    , m_schedule(
          m_log, [this] { timerFired(); }, this)
    , m_update(
          parts.owner, parts.refreshes, m_log, [this](const ExchangeOutcome& outcome) { exchangeFinished(outcome); }, this) {}

CacheImp::~CacheImp() {
    Abort();
    // A later start of the process would take the value from the file.
    if (m_mustClear)
        m_storage.clear();
    m_view.updates->close();
}

void CacheImp::setOwner(Cache* owner) {
    m_owner = owner;
    setParent(owner);
}

void CacheImp::post(void (CacheImp::*work)()) {
    QMetaObject::invokeMethod(
        this, [this, work] { (this->*work)(); }, Qt::QueuedConnection);
}

void CacheImp::EnableCache(bool enable) {
    m_log.information(enable ? QStringLiteral("Cache is enabled") : QStringLiteral("Cache is disabled"));
    m_view.isEnabled = enable;
    if (enable)
        post(&CacheImp::lookAgain);
    else
        m_schedule.stopTimer();
}

void CacheImp::SetUpdateInterval(unsigned int seconds) {
    m_schedule.setUpdateInterval(seconds, m_view.isEnabled);
}

void CacheImp::InvalidateCache() {
    m_log.information(QStringLiteral("Invalidating cache"));
    // At once and on the caller's thread: nobody may read the old value after this call.
    m_view.isAvailable = false;
    m_mustClear = true;
    post(&CacheImp::InvalidateSlot);
}

void CacheImp::InvalidateSlot() {
    clear();
    findOutWhetherItCanUpdate();
    checkForUpdate();
}

void CacheImp::DeleteCache() {
    m_log.information(QStringLiteral("Deleting cache"));
    m_view.isAvailable = false;
    m_mustClear = true;
    post(&CacheImp::DeleteSlot);
}

void CacheImp::DeleteSlot() {
    clear();
}

void CacheImp::clear() {
    // First, or an update that ends later would write the value again, or end in "not modified" and leave no value.
    Abort();
    m_mustClear = false;
    m_storage.clear();
    clearMemory();
}

void CacheImp::timerFired() {
    if (m_view.updates->isBusy()) {
        m_log.information(QStringLiteral("Timer event received and ignored. Update is already in progress."));
        return;
    }
    if (!m_view.isEnabled) {
        m_log.information(QStringLiteral("Timer event received and ignored. Cache is disabled."));
        return;
    }
    m_log.information(QStringLiteral("Timer event received. Checking if it is time to update."));
    lookAgain();
}

void CacheImp::LoggedIn() {
    m_log.information(QStringLiteral("LoggedIn event received"));
    lookAgain();
}

void CacheImp::LoginRestored() {
    m_log.information(QStringLiteral("LoginRestored event received"));
    lookAgain();
}

void CacheImp::TokenAvailable() {
    m_log.information(QStringLiteral("TokenAvailable event received"));
    lookAgain();
}

void CacheImp::TokenRefreshed() {
    m_log.information(QStringLiteral("TokenRefreshed event received"));
    lookAgain();
}

void CacheImp::LoggedOut() {
    m_log.information(QStringLiteral("LoggedOut event received"));
    m_canUpdate = false;
    m_loadedFor.clear();
    m_log.information(QStringLiteral("Invalidating cache"));
    m_schedule.stopTimer();
    Abort();
    clearMemory();
}

void CacheImp::lookAgain() {
    findOutWhetherItCanUpdate();
    if (!m_view.isEnabled)
        return;
    loadOnce();
    checkForUpdate();
}

void CacheImp::findOutWhetherItCanUpdate() {
    m_canUpdate = !m_view.isClosed && m_tokens.isLoggedIn() && m_tokens.tokens().areComplete();
}

void CacheImp::checkForUpdate() {
    if (!m_view.isEnabled || !isUpdateDue())
        return;
    if (m_view.updates->enter() == RunState::Entry::Entered)
        update();
    else
        m_log.information(QStringLiteral("Skipping update. Update is already in progress."));
}

bool CacheImp::isUpdateDue() {
    return m_schedule.isUpdateDue(m_canUpdate, m_view.isAvailable, now());
}

void CacheImp::loadOnce() {
    const QString signInId = m_tokens.signInId();
    if (!m_canUpdate || signInId.isEmpty() || m_loadedFor == signInId || m_view.isAvailable)
        return;
    m_loadedFor = signInId;
    const CacheStorage::Value value = m_storage.load(presentIdentity(m_tokens));
    if (value.body.isEmpty())
        return;
    if (!m_owner->ParseReplyOverride(value.body)) {
        m_log.error(QStringLiteral("The value in the cache file is damaged. Cache will be rebuilt."));
        return;
    }
    m_schedule.setUpdateDate(value.updateDate);
    m_view.isAvailable = true;
    if (m_schedule.isExpired(m_canUpdate, m_view.isAvailable, now()))
        m_log.information(QStringLiteral("Cache has expired. It will be updated."));
    m_storage.logLoaded();
    m_owner->CacheLoadedOverride();
}

void CacheImp::clearMemory() {
    m_owner->ClearCacheOverride();
    m_view.isAvailable = false;
    m_lastModified = {};
    m_schedule.setUpdateDate({});
    m_log.information(QStringLiteral("Cache cleared"));
}

void CacheImp::UpdateNowSlot() {
    findOutWhetherItCanUpdate();
    loadOnce();
    if (!m_view.isAvailable)
        return update();
    endRun();
    checkForUpdate();
}

void CacheImp::update() {
    const CacheUpdate::Readiness readiness = m_update.readiness(m_canUpdate);
    if (readiness == CacheUpdate::Readiness::TokenNotReady)
        m_schedule.lookAgainAfter(CacheUpdate::tokenRetryMs);
    if (readiness != CacheUpdate::Readiness::Ready)
        return endRun();
    m_log.information(QStringLiteral("Preparing to update"));
    QNetworkRequest request(m_owner->GetUrlOverride());
    if (m_view.isAvailable && m_lastModified.isValid())
        request.setRawHeader("If-Modified-Since", CacheTiming::toHttpDate(m_lastModified));
    if (!m_update.send(request)) {
        m_schedule.lookAgainRegularly();
        endRun();
    }
}

void CacheImp::exchangeFinished(const ExchangeOutcome& outcome) {
    m_log.information(QStringLiteral("Update thread finished%1").arg(QString()));
    const bool isOfThisSignIn = !m_view.isClosed && m_update.isOfPresentSignIn();
    if (isOfThisSignIn)
        settle(outcome);
    else
        m_log.information(QStringLiteral("The reply belongs to a sign-in that is over"));
    m_log.information(QStringLiteral("Update finished"));
    endRun();
    // A new sign-in during this update was skipped because of it, so check again.
    if (!isOfThisSignIn)
        lookAgain();
}

void CacheImp::settle(const ExchangeOutcome& outcome) {
    if (outcome.result == OperationResult::Success && outcome.reply.status == 304 && m_view.isAvailable) {
        m_log.information(QStringLiteral("Finished update. Cache not modified since server returned 304."));
        m_schedule.forgetFailures();
        // The value keeps its old date; without the timer it would be requested again at once.
        m_schedule.lookAgainRegularly();
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
    m_schedule.setUpdateDate(date);
    m_lastModified = CacheTiming::fromHttpDate(outcome.reply.header("Last-Modified"));
    m_schedule.forgetFailures();
    // Readers may see the value before it is saved: a file that cannot be written must not keep them from it.
    m_view.isAvailable = true;
    m_storage.save(m_update.identity(), {outcome.reply.body, date}, [this] { return !m_view.isClosed; });
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
    if (m_owner->UpdateError(failure))
        m_schedule.retryAfterFailure();
    else
        m_schedule.lookAgainRegularly();
}

void CacheImp::endRun() {
    m_view.updates->leave(m_view.isAvailable ? 1 : 0);
}

void CacheImp::Abort() {
    if (!m_update.isUnderWay())
        return;
    m_log.information(QStringLiteral("Aborting update"));
    m_update.cancel();
    m_log.information(QStringLiteral("Update thread finished%1").arg(QStringLiteral(". Aborted.")));
    m_log.information(QStringLiteral("Update aborted"));
    endRun();
}

} // namespace Velquor::WebServices
