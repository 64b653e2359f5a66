#include "Events/NotificationManager.h"

#include "Events/EventIdentity.h"
#include "Network/Diagnosis/SslDiagnosis.h"
#include "Values/OAuth2TokenSpecImp.h"

#include <QMutexLocker>
#include <algorithm>

namespace Velquor::WebServices::Internal {

namespace {

const auto serverName = QStringLiteral("Velquor.WebServices");
constexpr int lastLookMs = 100;
// The pause before the listener is called again: short at first, so that no user notices it, then longer, to save power.
constexpr int shortestAgainMs = 200;
constexpr int longestAgainMs = 2000;

} // namespace

NotificationManager::NotificationManager(const NotificationDependencies& services, INotificationListener& listener)
    : m_services(services)
    , m_listener(listener)
    , m_logger(services.logger)
    , m_clock(services.steadyClock)
    , m_fileTimer(this)
    , m_holdTimer(this)
    , m_lastLookTimer(this)
    , m_againTimer(this) {
    m_fileTimer.setSingleShot(true);
    m_fileTimer.setInterval(fileDelayMs);
    connect(&m_fileTimer, &QTimer::timeout, this, &NotificationManager::writeFiles);
    m_holdTimer.setSingleShot(true);
    // A coarse timer may fire early and would find nothing to release.
    m_holdTimer.setTimerType(Qt::PreciseTimer);
    // After a process was suspended, timers fire before the sockets are read. A second short timer lets the sockets go first.
    m_lastLookTimer.setSingleShot(true);
    m_lastLookTimer.setInterval(lastLookMs);
    connect(&m_holdTimer, &QTimer::timeout, &m_lastLookTimer, qOverload<>(&QTimer::start));
    connect(&m_lastLookTimer, &QTimer::timeout, this, &NotificationManager::releaseOverdue);
    m_againTimer.setSingleShot(true);
    connect(&m_againTimer, &QTimer::timeout, this, &NotificationManager::finishReactions);
}

NotificationManager::~NotificationManager() {
    writeFiles();
    if (m_events)
        m_events->StopWatching();
    if (m_sockets)
        m_sockets->stop();
}

void NotificationManager::Start() {
    m_logger->information(QStringLiteral("Ssl library: %1").arg(loadedSslVersionLine()));
    m_events = m_services.carriers->makeFile(m_services.folder, m_logger);
    connect(m_events.get(), &IEventFile::InterProcessEventReceived, this, &NotificationManager::InterProcessEventReceived);
    m_events->StartWatching();
    m_sockets = m_services.carriers->makeMessaging(m_logger);
    connect(m_sockets.get(), &Util::IMessaging::MessageReceived, this, &NotificationManager::InterProcessMessageReceived);
    if (!m_sockets->start(serverName, m_services.folder))
        m_logger->error(QStringLiteral("Failed to start local-socket messaging. Events travel by file only."));
}

bool NotificationManager::SendInterProcessMessage(Event event, const QVariantMap& params) {
    // Numbered and posted under one mutex, so that events leave in the order of their numbers.
    const QMutexLocker lock(&m_sendMutex);
    QVariantMap identified = params;
    identified.insert(EventParam::eventId, EventIdentity{m_services.senderId, m_lastNumber + 1}.eventId());
    const bool invoked = QMetaObject::invokeMethod(
        this, [this, event, identified] { SendInterProcessMessageSlot(event, identified); }, Qt::QueuedConnection);
    if (invoked)
        ++m_lastNumber;
    else
        m_logger->error(
            QStringLiteral("Failed to invoke function SendInterProcessMessageSlot asynchronously to send web services event %1")
                .arg(eventName(event)));
    return invoked;
}

void NotificationManager::SendInterProcessMessageSlot(WebServicesPrivateCore::WebServicesEvent event, const QVariantMap& params) {
    m_logger->information(QStringLiteral("Sending web services event %1 to other processes").arg(eventName(event)));
    m_sockets->send(eventName(event), params);
    m_forFile.enqueue({event, params, IPCMethod::Watcher});
    if (!m_fileTimer.isActive())
        m_fileTimer.start();
}

void NotificationManager::writeFiles() {
    while (!m_forFile.isEmpty()) {
        const ArrivedEvent one = m_forFile.dequeue();
        m_events->RaiseEvent(static_cast<int>(one.event), one.params);
    }
}

void NotificationManager::InterProcessMessageReceived(const QString& name, const QVariantMap& params) {
    const std::optional<Event> event = WebServicesPrivateCore::eventFromName(name);
    if (!event) {
        m_logger->information(
            QStringLiteral("Ignoring unknown IPC message %1. This message maybe coming from a newer version.").arg(name));
        return;
    }
    HandleInterProcessMessage(*event, params, IPCMethod::Socket);
}

void NotificationManager::InterProcessEventReceived(int id, const QVariantMap& params) {
    if (eventName(static_cast<Event>(id)).isEmpty()) {
        m_logger->information(
            QStringLiteral("Ignoring unknown IPC event %1. This event maybe coming from a newer version.").arg(id));
        return;
    }
    HandleInterProcessMessage(static_cast<Event>(id), params, IPCMethod::Watcher);
}

void NotificationManager::HandleInterProcessMessage(Event event, const QVariantMap& params, IPCMethod method) {
    const QString eventId = params.value(EventParam::eventId).toString();
    const std::optional<IPCMethod> first =
        eventId.isEmpty() ? m_handled.addWithoutId(event, params, method, m_clock.elapsedMs()) : m_handled.add(eventId, method);
    if (first) {
        // A watcher may report one change of the file as two; there is nothing to tell then.
        if (*first != method)
            m_logger->debug(
                QStringLiteral(
                    "Received and ignored duplicate web services event %1 sent by %2. This was already sent by %3 and handled.")
                    .arg(eventName(event), methodName(method), methodName(*first)));
        if (method == IPCMethod::Socket)
            handle(m_order.reachedBySocket(eventId, m_clock.elapsedMs()));
        return;
    }
    handle(m_order.take({event, params, method}, m_clock.elapsedMs()));
    // An event that is held later is due later, so a running timer stays.
    if (!m_holdTimer.isActive() && !m_lastLookTimer.isActive())
        holdOn();
}

void NotificationManager::handle(const QVector<ArrivedEvent>& events) {
    for (const ArrivedEvent& one : events) {
        m_logger->information(QStringLiteral("Received web services event %1 from another process").arg(eventName(one.event)));
        EventSubject subject = fromParams(one.params);
        if (isAboutOneToken(one.event))
            subject.oauth2Spec = GetOAuth2TokenSpec(one.params, one.event);
        m_listener.eventReceived(one.event, subject);
    }
    if (events.isEmpty() || m_againTimer.isActive())
        return;
    m_againMs = shortestAgainMs;
    finishReactions();
}

void NotificationManager::releaseOverdue() {
    handle(m_order.takeOverdue(m_clock.elapsedMs()));
    holdOn();
}

void NotificationManager::holdOn() {
    const int left = m_order.msUntilDue(m_clock.elapsedMs());
    if (left >= 0)
        m_holdTimer.start(left);
}

void NotificationManager::finishReactions() {
    if (m_listener.finishReactions())
        return;
    m_againTimer.start(m_againMs);
    m_againMs = std::min(2 * m_againMs, longestAgainMs);
}

std::optional<OAuth2TokenSpec> NotificationManager::GetOAuth2TokenSpec(const QVariantMap& params, Event event) const {
    OAuth2TokenSpec spec;
    OAuth2TokenSpecImp& data = OAuth2TokenSpecImp::of(spec);
    const auto type = params.constFind(EventParam::oauth2Type);
    if (type == params.constEnd()) {
        m_logger->warning(
            QStringLiteral("Received web services event %1 from another (probably old) process without OAuth2 token type")
                .arg(eventName(event)));
        data.legacy = true;
        return spec;
    }
    const int number = type->toInt();
    if (number != RT && number != JWT) {
        m_logger->warning(QStringLiteral("Received web services event %1 from another process with invalid OAuth2 token type %2")
                              .arg(eventName(event))
                              .arg(number));
        return {};
    }
    spec.SetType(static_cast<OAuth2TokenType>(number));
    spec.SetScope(params.value(EventParam::oauth2Scope).toString().toStdWString().c_str());
    data.legacy = params.value(EventParam::oauth2Legacy).toBool();
    return spec;
}

} // namespace Velquor::WebServices::Internal
