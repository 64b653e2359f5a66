// The part of the login session that hears of other processes and tells the observers.

#include "Session/LoginSession.h"

#include "Session/Products/TokenOperations.h"
#include "Session/Store/LoginStateLoader.h"
#include "Session/Store/LoginStateSaver.h"
#include "VqUtil/Platform/LeanDispatcher.h"

#include <QMutexLocker>
#include <QSemaphore>
#include <QThread>
#include <memory>

namespace Velquor::WebServices::Internal {

namespace {
// A main thread that is busy for longer does not get its say: the user asked to be signed out.
constexpr int vetoTimeoutMs = 5000;
// Many times what reading the file takes.
constexpr int applyPatienceMs = 1000;
// Enough for a thread that has just taken the lock to say what for; too short to be felt.
constexpr int leastWaitMs = 20;

QString emittingText(const QString& event) {
    return QStringLiteral("Emitting signal to send web services event %1 to observers in this process from main thread")
        .arg(event);
}
} // namespace

bool LoginSession::catchUp(int waitMs) {
    // One look at the file's stamp, since this runs before every operation; the file itself is read only when it has changed.
    // A token worker, which waits, may ask in the middle of the restore that made it: it waits for the end of that.
    const bool isTooEarly = waitMs == 0 && !m_state.isRestored();
    const auto isDone = [this] { return !hasFileChanged() && !m_state.unsaved.isDue(); };
    if (isTooEarly || m_state.isStopped || isDone())
        return true;
    if (m_state.unread.isWaiting())
        return false;
    // Somebody at work in a sign-in or sign-out writes the file themselves; the next operation looks again. But another thread
    // that is reading the news is waited for, so that an answer given now knows them.
    if (!m_state.lock.try_lock_for(std::chrono::milliseconds(qMax(waitMs, leastWaitMs)))
        && !(m_isCatchingUp && m_state.lock.try_lock_for(std::chrono::milliseconds(applyPatienceMs))))
        return false;
    // At once: those who find the lock taken look at this. It is set already when this very thread is taking news over, which are
    // none to itself.
    if (m_isCatchingUp.exchange(true)) {
        m_state.lock.unlock();
        return false;
    }
    // Inside a wait of a sign-in or sign-out on this thread the state must stand still. Another thread may have taken the news
    // over while we waited.
    const bool isOver = isDone();
    if (m_state.isNetworkStepActive || isOver) {
        m_isCatchingUp = false;
        m_state.lock.unlock();
        return isOver;
    }
    const BasicLoginState before = m_state.basic();
    const bool wasLoggedIn = m_state.isLoggedIn();
    // Briefly, whoever asks: a worker asks again, and the main thread must go on.
    const bool hasLooked = !hasFileChanged() || applyFile(LoginStateFile::briefTimeoutMs);
    if (hasLooked && m_state.unsaved.isDue())
        LoginStateSaver(m_state, LoginStateFile::briefTimeoutMs).save();
    const bool isLoggedIn = m_state.isLoggedIn();
    const bool isSame = before.isSameSignIn(m_state.basic());
    m_isCatchingUp = false;
    m_state.lock.unlock();
    if (m_state.isStopped)
        return true;
    if (wasLoggedIn && (!isLoggedIn || !isSame))
        RaiseEvent(Event::LoggedOut, QString(), false);
    if (isLoggedIn && (!wasLoggedIn || !isSame))
        RaiseEvent(Event::LoggedIn, QString(), false);
    return hasLooked;
}

void LoginSession::forceLogout(const QString& productKey, const QString& signInId) {
    ++m_state.pendingLogouts;
    QMetaObject::invokeMethod(
        this, [this, productKey, signInId] { LogoutSlot(productKey, signInId); }, Qt::QueuedConnection);
}

void LoginSession::LogoutSlot(const QString& productKey, const QString& signInId) {
    const auto self = weak_from_this().lock();
    // The main thread may have been busy for long: what matters is whether the sign-in is still the one that cannot be used.
    catchUp();
    QNetworkReply::NetworkError error = QNetworkReply::NoError;
    if (!m_state.isStopped && m_state.isLoggedIn() && m_state.signInId() == signInId
        && !logOut(productKey, error, true, signInId))
        m_logger.error(QStringLiteral("Failed to log out a user whose sign-in cannot be used any more."));
    --m_state.pendingLogouts;
}

bool LoginSession::applyFile(int guardTimeoutMs) {
    const LoginStateFile::Guard guard(m_state.file, guardTimeoutMs);
    if (!guard.isHeld())
        return false;
    const LoginStateFile::Content content = m_state.file.read();
    LoginStateLoader loader(m_state);
    if (content.isRead() && loader.apply(content, false))
        m_state.configureProducts();
    if (content.status == LoginStateFile::Content::Status::Missing)
        m_logger.information(
            QStringLiteral("Loading of login state skipped. Login state file %1 does not exist.").arg(m_state.file.path()));
    loader.markApplied(content);
    return content.status != LoginStateFile::Content::Status::Unreadable;
}

void LoginSession::saveWhatIsLeft() {
    if (!m_state.unsaved.isPending() || !m_state.lock.try_lock_for(std::chrono::milliseconds(applyPatienceMs)))
        return;
    if (!m_state.isNetworkStepActive)
        LoginStateSaver(m_state, LoginStateFile::briefTimeoutMs).save();
    m_state.unsaved.succeed();
    m_state.lock.unlock();
}

void LoginSession::RaiseEvent(Event event, const EventSubject& subject, bool sendToOthers) {
    const QString name = eventName(event);
    m_logger.information(QStringLiteral("Raising web services event %1").arg(name));
    if (sendToOthers)
        this->sendToOthers(event, subject);
    if (QThread::currentThread() == thread()) {
        CallObserversSlot(event, subject.consumerKey, nullptr);
        return;
    }
    m_logger.information(emittingText(name));
    emit CallObserversTrigger(event, subject.consumerKey, nullptr);
}

void LoginSession::sendToOthers(Event event, const EventSubject& subject) {
    if (event == Event::LoggedIn && !m_state.isLoggedIn()) {
        m_logger.information(
            QStringLiteral(
                "Aborting sending of web services event %1 to other processes. Not logged in currently. Some process may have forced a logout in LoggedIn event handler.")
                .arg(eventName(event)));
        return;
    }
    const QMutexLocker lock(&m_notificationMutex);
    if (m_notifications)
        m_notifications->SendInterProcessMessage(event, toParams(subject));
}

void LoginSession::startNotifications() {
    m_notificationThread = std::make_unique<QThread>();
    Util::useLeanDispatcher(*m_notificationThread, Util::ThreadServes::PostsAndTimers);
    m_notifications = new NotificationManager(m_state.services.lockFolder, m_reactions, m_state.services.loggers.ipc);
    m_notifications->moveToThread(m_notificationThread.get());
    connect(m_notificationThread.get(), &QThread::started, m_notifications, &NotificationManager::Start);
    connect(m_notificationThread.get(), &QThread::finished, m_notifications, &QObject::deleteLater);
    m_notificationThread->start(QThread::InheritPriority);
}

void LoginSession::stopNotifications() {
    {
        const QMutexLocker lock(&m_notificationMutex);
        if (!m_notifications)
            return;
        // Behind all that was handed over to be sent: `exit` from here would overtake it.
        QMetaObject::invokeMethod(
            m_notifications, [] { QThread::currentThread()->exit(0); }, Qt::QueuedConnection);
        m_notifications = nullptr;
    }
    m_logger.information(QStringLiteral("Waiting for notification thread to finish"));
    m_notificationThread->wait();
    m_logger.information(QStringLiteral("Notification thread finished"));
}

void LoginSession::CallObserversSlot(WebServicesPrivateCore::WebServicesEvent event, const QString& consumerKey,
                                     bool* pAboutToLogout) {
    // From the event loop nobody holds the session, and an observer may uninitialize the library. Null where it is not shared.
    const auto self = weak_from_this().lock();
    if (m_state.isStopped || !m_dispatcher.callObservers(event, consumerKey, pAboutToLogout))
        return;
    m_logger.information(QStringLiteral("Sending web services event %1 to slots in this process").arg(eventName(event)));
    if (event == Event::LoggedIn && !m_state.isLoggedIn()) {
        m_logger.information(
            QStringLiteral(
                "Aborting sending of web services event %1 to slots in this processes. Not logged in currently. Some process may have forced a logout in LoggedIn event handler.")
                .arg(eventName(event)));
        return;
    }
    emitToListeners(event);
}

void LoginSession::emitToListeners(Event event) {
    switch (event) {
    case Event::LoggedIn: return emit LoggedIn();
    case Event::LoginRestored: return emit LoginRestored();
    case Event::LoggingOut: return emit LoggingOut();
    case Event::LoggedOut: return emit LoggedOut();
    case Event::LoginDialogTimeoutInVqSSOServer: return emit LoginDialogTimeoutInVqSSOServer();
    case Event::TokenRefreshed: return emit TokenRefreshed();
    case Event::ServerChanged: return emit ServerChanged();
    case Event::TokenAcquired: return emit TokenAcquired();
    case Event::TokenQueryFailed: return emit TokenQueryFailed();
    case Event::TokenAvailable: return emit TokenAvailable();
    case Event::OAuth2TokenAcquired: return emit OAuth2TokenAcquired();
    case Event::OAuth2TokenQueryFailed: return emit OAuth2TokenQueryFailed();
    case Event::OAuth2TokenAvailable: return emit OAuth2TokenAvailable();
    case Event::OAuth2TokenDiscarded: return emit OAuth2TokenDiscarded();
    case Event::OAuth2TokenRefreshed: return emit OAuth2TokenRefreshed();
    default: return;
    }
}

void LoginSession::tellCaches(CacheClient::Event event) {
    const QVector<ProductSessionPointer> products = m_state.products.all();
    for (const ProductSessionPointer& product : products) {
        if (TokenOperations* const operations = product->operations())
            operations->caches().post(event);
    }
}

bool LoginSession::isLogoutVetoed(const QString& consumerKey) {
    m_logger.information(QStringLiteral("Raising web services event %1").arg(eventName(Event::AboutToLogout)));
    if (QThread::currentThread() == thread()) {
        bool veto = false;
        CallObserversSlot(Event::AboutToLogout, consumerKey, &veto);
        return veto;
    }
    m_logger.information(emittingText(eventName(Event::AboutToLogout)));
    // Shared, since the main thread may answer after this thread has stopped waiting.
    struct Answer {
        QSemaphore given;
        bool veto = false;
    };
    const auto answer = std::make_shared<Answer>();
    QMetaObject::invokeMethod(
        this,
        [this, consumerKey, answer] {
            CallObserversSlot(Event::AboutToLogout, consumerKey, &answer->veto);
            answer->given.release();
        },
        Qt::QueuedConnection);
    return answer->given.tryAcquire(1, vetoTimeoutMs) && answer->veto;
}

} // namespace Velquor::WebServices::Internal
