#include "Caches/CacheImp.h"

#include "Values/ServerName.h"
#include "VqUtil/General/HumanText.h"

#include <QCryptographicHash>
#include <QMutexLocker>
#include <QThread>
#include <VqWebServices/Cache.h>

namespace Velquor::WebServices {

using namespace Internal;

namespace {
constexpr qint64 msPerSecond = 1000;
} // namespace

CacheImp::CacheImp(const CacheDependencies& parts, CacheView& view, const QString& name, const QString& nodePath)
    : m_tokens(parts.owner)
    , m_refreshes(parts.refreshes)
    , m_views(parts.views)
    , m_view(view)
    , m_log(name, parts.owner.services().loggers.cache)
    , m_storage(parts.file, nodePath, m_log)
    , m_timer(this)
    , m_exchange([this](const ExchangeOutcome& outcome) { exchangeFinished(outcome); }, this) {
    connect(&m_timer, &QTimer::timeout, this, &CacheImp::timerFired);
}

CacheImp::~CacheImp() {
    Abort();
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
        stopTimer();
}

void CacheImp::InvalidateCache() {
    m_log.information(QStringLiteral("Invalidating cache"));
    m_view.isAvailable = false;
    post(&CacheImp::InvalidateSlot);
}

void CacheImp::InvalidateSlot() {
    // What is under way may end in "not modified", which would leave no value.
    Abort();
    clearMemory();
    findOutWhetherItCanUpdate();
    checkForUpdate();
}

void CacheImp::DeleteCache() {
    m_log.information(QStringLiteral("Deleting cache"));
    m_view.isAvailable = false;
    post(&CacheImp::DeleteSlot);
}

void CacheImp::DeleteSlot() {
    Abort();
    m_storage.clear();
    clearMemory();
}

void CacheImp::SetUpdateInterval(unsigned int seconds) {
    qint64 checkMs = 0;
    {
        const QMutexLocker lock(&m_mutex);
        m_updateSeconds = seconds;
        m_checkSeconds = CacheTiming::checkSeconds(seconds);
        checkMs = m_checkSeconds * msPerSecond;
    }
    m_log.information(QStringLiteral("Update interval changed to %1").arg(seconds));
    if (m_view.isEnabled)
        startTimer(Shot::Repeated, checkMs);
}

void CacheImp::startTimer(Shot shot, qint64 intervalMs) {
    if (QThread::currentThread() != thread()) {
        m_log.information(QStringLiteral("Posting async request to start timer in object's thread"));
        QMetaObject::invokeMethod(
            this, [this, shot, intervalMs] { startTimer(shot, intervalMs); }, Qt::QueuedConnection);
        return;
    }
    m_log.information(
        QStringLiteral("Starting %1timer with interval %2")
            .arg(shot == Shot::Single ? QStringLiteral("single shot ") : QString(), Util::timeSpanText(intervalMs)));
    m_timer.setSingleShot(shot == Shot::Single);
    m_timer.start(static_cast<int>(intervalMs));
}

void CacheImp::stopTimer() {
    if (QThread::currentThread() != thread()) {
        m_log.information(QStringLiteral("Posting async request to stop timer in object's thread"));
        post(&CacheImp::stopTimer);
        return;
    }
    m_timer.stop();
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
    stopTimer();
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
    using CacheTiming::Answer;
    const CacheTiming::Facts facts = this->facts();
    const CacheTiming::Decision decision = CacheTiming::decide(facts, now());
    switch (decision.answer) {
    case Answer::CannotUpdate: m_log.information(QStringLiteral("Can't update cache now")); break;
    case Answer::NeverExpires: m_log.information(QStringLiteral("Update not required now. Update interval is negative.")); break;
    case Answer::NotExpired:
        m_log.information(QStringLiteral("Update not required now. Cache has not expired. It will expire in %1.")
                              .arg(Util::timeSpanText(decision.msToExpiry)));
        startTimer(Shot::Single, decision.nextCheckMs);
        break;
    case Answer::Expired:
        m_log.information(QStringLiteral("Time to update cache. Cache has expired. Cache date: %1 Update interval: %2")
                              .arg(facts.updateDate.toString(Qt::ISODate))
                              .arg(facts.updateSeconds));
        break;
    case Answer::BadDate: m_log.information(QStringLiteral("Time to update cache. Cache timestamp is invalid.")); break;
    case Answer::NoValue: m_log.information(QStringLiteral("Time to update cache. Cache is not available.")); break;
    }
    return decision.isDue();
}

CacheTiming::Facts CacheImp::facts() const {
    const QMutexLocker lock(&m_mutex);
    return {m_canUpdate, m_view.isAvailable, m_updateDate, m_updateSeconds, m_checkSeconds};
}

CacheIdentity CacheImp::identity() const {
    SigningKeys keys;
    const QString missing = m_tokens.signingKeys(keys);
    const QByteArray hash =
        missing.isEmpty() ? QCryptographicHash::hash(keys.token.view(), QCryptographicHash::Md5).toHex() : QByteArray();
    return {serverName(m_tokens.server()), m_tokens.user(), QString::fromLatin1(hash)};
}

void CacheImp::loadOnce() {
    const QString mark = m_tokens.signInId();
    if (!m_canUpdate || mark.isEmpty() || m_loadedFor == mark || m_view.isAvailable)
        return;
    m_loadedFor = mark;
    const CacheStorage::Value value = m_storage.load(identity());
    if (value.body.isEmpty())
        return;
    if (!m_owner->ParseReplyOverride(value.body)) {
        m_log.error(QStringLiteral("The value in the cache file is damaged. Cache will be rebuilt."));
        return;
    }
    {
        const QMutexLocker lock(&m_mutex);
        m_updateDate = value.updateDate;
    }
    m_view.isAvailable = true;
    if (CacheTiming::decide(facts(), now()).isDue())
        m_log.information(QStringLiteral("Cache has expired. It will be updated."));
    m_storage.logLoaded();
    m_owner->CacheLoadedOverride();
}

void CacheImp::clearMemory() {
    m_owner->ClearCacheOverride();
    m_view.isAvailable = false;
    m_lastModified = {};
    {
        const QMutexLocker lock(&m_mutex);
        m_updateDate = {};
    }
    m_log.information(QStringLiteral("Cache cleared"));
}

} // namespace Velquor::WebServices
