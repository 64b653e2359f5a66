// The part of the login session that hears of other processes and tells the observers.

#include "Session/LoginSession.h"

#include "Session/LoginStateLoader.h"
#include "Session/LoginStateNames.h"

#include <QMutexLocker>
#include <QSemaphore>
#include <QThread>
#include <memory>

namespace Velquor::WebServices {

namespace Names = LoginStateNames;

namespace {
// A main thread that is busy for longer does not get its say: the user asked to be signed out.
constexpr int vetoTimeoutMs = 5000;
} // namespace

bool LoginSession::catchUp(int waitMs) {
    // One look at the file's stamp, since this runs before every operation; the file itself is read only when it has changed.
    if (!m_core.isRestored() || m_core.isStopped || m_core.file.currentStamp() == m_core.file.seenStamp())
        return true;
    // Somebody at work in a sign-in or sign-out writes the file themselves; the next operation looks again.
    if (!m_core.lock.try_lock_for(std::chrono::milliseconds(waitMs)))
        return false;
    // Inside a wait of a sign-in or sign-out on this very thread the state must stand still.
    if (m_core.isFlowActive) {
        m_core.lock.unlock();
        return false;
    }
    const BasicLoginState before = m_core.basic();
    const bool wasLoggedIn = m_core.isLoggedIn();
    applyFile(waitMs == 0 ? LoginStateFile::briefTimeoutMs : LoginStateFile::patientTimeoutMs);
    const bool isLoggedIn = m_core.isLoggedIn();
    const bool isSame = before.isSameSignIn(m_core.basic());
    m_core.lock.unlock();
    if (wasLoggedIn && (!isLoggedIn || !isSame))
        RaiseEvent(Event::LoggedOut, QString());
    if (isLoggedIn && (!wasLoggedIn || !isSame))
        RaiseEvent(Event::LoggedIn, QString());
    return true;
}

void LoginSession::forceLogout(const QString& productKey) {
    m_core.isLogoutPending = true;
    QMetaObject::invokeMethod(
        this, [this, productKey] { LogoutSlot(productKey); }, Qt::QueuedConnection);
}

void LoginSession::LogoutSlot(const QString& productKey) {
    QNetworkReply::NetworkError error = QNetworkReply::NoError;
    if (!m_core.isStopped && m_core.isLoggedIn() && !Logout(productKey, error, true))
        m_logger.error(QStringLiteral("Failed to log out a user whose sign-in cannot be used any more."));
    m_core.isLogoutPending = false;
}

void LoginSession::applyFile(int guardTimeoutMs) {
    const LoginStateFile::Guard guard(m_core.file, guardTimeoutMs);
    const LoginStateFile::Content content = guard.isHeld() ? m_core.file.read() : LoginStateFile::Content();
    if (!content.isRead())
        return;
    const QDomElement login = content.root().firstChildElement(Names::loginSession);
    const StateOrigin origin = compareSignIns(m_core.basic(), readBasicState(login), readLogoutDate(content.root()));
    if (m_core.basic().hasUser() && origin != StateOrigin::Same) {
        m_logger.information(QStringLiteral("User %1 was signed out in another process. Signing out in this process.")
                                 .arg(m_core.basic().userName));
        m_core.forgetUser();
    } else if (login.isNull()) {
        // Somebody removed the element without a sign-out; the tokens still live, and nothing says that they should not.
        return;
    }
    LoginStateLoader(m_core).loadFrom(content, false);
    m_core.configureProducts();
}

void LoginSession::RaiseEvent(Event event, const QString& consumerKey) {
    m_logger.information(QStringLiteral("Raising web services event %1").arg(eventName(event)));
    if (QThread::currentThread() == thread()) {
        CallObserversSlot(event, consumerKey, nullptr);
        return;
    }
    m_logger.information(
        QStringLiteral("Emitting signal to send web services event %1 to observers in this process from main thread")
            .arg(eventName(event)));
    emit CallObserversTrigger(event, consumerKey, nullptr);
}

void LoginSession::CallObserversSlot(WebServicesPrivateCore::WebServicesEvent event, const QString& consumerKey,
                                     bool* pAboutToLogout) {
    if (m_core.isStopped)
        return;
    m_dispatcher.callObservers(event, consumerKey, pAboutToLogout);
}

bool LoginSession::isLogoutVetoed(const QString& consumerKey) {
    m_logger.information(QStringLiteral("Raising web services event %1").arg(eventName(Event::AboutToLogout)));
    if (QThread::currentThread() == thread()) {
        bool veto = false;
        CallObserversSlot(Event::AboutToLogout, consumerKey, &veto);
        return veto;
    }
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

} // namespace Velquor::WebServices
