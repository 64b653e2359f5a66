#include "Session/LoginSessionEvents.h"

#include "Events/NotificationManager.h"
#include "VqUtil/Threads/HostWake.h"

#include <QSemaphore>
#include <QThread>
#include <utility>

namespace Velquor::WebServices::Internal {

namespace {

// An observer may ask the user, for example about unsaved work. The limit is that of every wait for another thread.
constexpr int vetoTimeoutMs = 61000;
constexpr int vetoSliceMs = 50;

QString emittingText(const QString& event) {
    return QStringLiteral("Emitting signal to send web services event %1 to observers in this process from main thread")
        .arg(event);
}

} // namespace

LoginSessionEvents::LoginSessionEvents(SessionState& state, KeepAlive keepOwner)
    : m_state(state)
    , m_keepOwner(std::move(keepOwner))
    , m_logger(*state.services().loggers.session)
    , m_dispatcher(
          state.services().loggers.session, [this] { return m_state.isLoggedIn(); }, [this] { return m_state.isStopped(); })
    , m_notifications(state.services().threads) {
    qRegisterMetaType<Event>();
    connect(this, &LoginSessionEvents::CallObserversTrigger, this, &LoginSessionEvents::CallObserversSlot, Qt::QueuedConnection);
}

void LoginSessionEvents::startNotifications(INotificationListener& listener) {
    const SessionDependencies& services = m_state.services();
    m_notifications.start(
        {services.lockFolder, services.loggers.ipc, services.steadyClock, services.carriers, services.makeSenderId()}, listener);
}

void LoginSessionEvents::stopNotifications() {
    m_notifications.stop(m_logger);
}

void LoginSessionEvents::RaiseEvent(Event event, const EventSubject& subject, bool sendToOthers) {
    m_logger.information(QStringLiteral("Raising web services event %1").arg(eventName(event)));
    if (sendToOthers)
        this->sendToOthers(event, subject);
    deliver(event, subject);
}

void LoginSessionEvents::deliver(Event event, const EventSubject& subject) {
    if (QThread::currentThread() == thread()) {
        CallObserversSlot(event, subject.consumerKey, nullptr);
        return;
    }
    m_logger.information(emittingText(eventName(event)));
    emit CallObserversTrigger(event, subject.consumerKey, nullptr);
    Util::HostWake::instance().wake();
}

void LoginSessionEvents::sendToOthers(Event event, const EventSubject& subject) {
    if (event == Event::LoggedIn && !m_state.isLoggedIn()) {
        m_logger.information(
            QStringLiteral(
                "Aborting sending of web services event %1 to other processes. Not logged in currently. Some process may have forced a logout in LoggedIn event handler.")
                .arg(eventName(event)));
        return;
    }
    m_notifications.send(event, toParams(subject));
}

void LoginSessionEvents::CallObserversSlot(WebServicesPrivateCore::WebServicesEvent event, const QString& consumerKey,
                                           bool* pAboutToLogout) {
    // A call from the event loop has no other owner of the session on its stack, and an observer may uninitialize the library.
    const std::shared_ptr<const void> owner = m_keepOwner();
    if (m_state.isStopped() || !m_dispatcher.callObservers(event, consumerKey, pAboutToLogout))
        return;
    m_logger.information(QStringLiteral("Sending web services event %1 to slots in this process").arg(eventName(event)));
    if (event == Event::LoggedIn && !m_state.isLoggedIn()) {
        m_logger.information(
            QStringLiteral(
                "Aborting sending of web services event %1 to slots in this processes. Not logged in currently. Some process may have forced a logout in LoggedIn event handler.")
                .arg(eventName(event)));
        return;
    }
    emitToListeners(event, consumerKey);
}

void LoginSessionEvents::emitToListeners(Event event, const QString& consumerKey) {
    switch (event) {
    case Event::LoggedIn: return emit LoggedIn();
    case Event::LoginRestored: return emit LoginRestored();
    case Event::LoggingOut: return emit LoggingOut();
    case Event::LoggedOut: return emit LoggedOut();
    case Event::LoginDialogTimeoutInVqSSOServer: return emit LoginDialogTimeoutInVqSSOServer();
    case Event::TokenRefreshed: return emit TokenRefreshed(consumerKey);
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

bool LoginSessionEvents::isLogoutVetoed(const QString& consumerKey) {
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
    Util::HostWake::instance().wake();
    for (int leftMs = vetoTimeoutMs; leftMs > 0 && !m_state.isStopped(); leftMs -= vetoSliceMs) {
        if (answer->given.tryAcquire(1, vetoSliceMs))
            return answer->veto;
    }
    // Nobody has agreed. A sign-out can be tried again; unsaved work that it costs cannot be brought back.
    m_logger.error(QStringLiteral("The observers did not answer the event AboutToLogout within %1 ms.").arg(vetoTimeoutMs));
    return true;
}

} // namespace Velquor::WebServices::Internal
