#include "Events/NotificationManager.h"

#include "Values/OAuth2TokenSpecImp.h"

#include "Network/SslDiagnosis.h"
#include "Values/OAuth2TokenSpecImp.h"

#include <QUuid>
#include <utility>

namespace Velquor::WebServices {

namespace {

const auto serverName = QStringLiteral("Velquor.WebServices");

} // namespace

NotificationManager::NotificationManager(const QString& folder, INotificationListener& listener,
                                         std::shared_ptr<Log::ILogger> logger)
    : m_folder(folder)
    , m_listener(listener)
    , m_logger(std::move(logger)) {}

NotificationManager::~NotificationManager() {
    if (m_events)
        m_events->StopWatching();
    if (m_sockets)
        m_sockets->stop();
}

void NotificationManager::Start() {
    m_logger->information(QStringLiteral("Ssl library: %1").arg(loadedSslVersionLine()));
    m_events = std::make_unique<InterProcessEventManager>(m_folder, m_logger);
    connect(m_events.get(), &InterProcessEventManager::InterProcessEventReceived, this,
            &NotificationManager::InterProcessEventReceived);
    m_events->StartWatching();
    m_sockets = std::make_unique<Util::IPCManager>(m_logger);
    connect(m_sockets.get(), &Util::IPCManager::MessageReceived, this, &NotificationManager::InterProcessMessageReceived);
    if (!m_sockets->start(serverName, m_folder))
        m_logger->error(QStringLiteral("Failed to start local-socket messaging. Events travel by file only."));
}

bool NotificationManager::SendInterProcessMessage(Event event, const QVariantMap& params) {
    QVariantMap identified = params;
    identified.insert(EventParam::eventId, QUuid::createUuid().toString(QUuid::WithoutBraces));
    const bool invoked = QMetaObject::invokeMethod(
        this, [this, event, identified] { SendInterProcessMessageSlot(event, identified); }, Qt::QueuedConnection);
    if (!invoked)
        m_logger->error(
            QStringLiteral(
                "Failed to invoke function SendInterProcessMessageSlot asynchronously to send web services event %1")
                .arg(eventName(event)));
    return invoked;
}

void NotificationManager::SendInterProcessMessageSlot(WebServicesPrivateCore::WebServicesEvent event, const QVariantMap& params) {
    m_logger->information(QStringLiteral("Sending web services event %1 to other processes").arg(eventName(event)));
    m_sockets->send(eventName(event), params);
    m_events->RaiseEvent(static_cast<int>(event), params);
}

void NotificationManager::InterProcessMessageReceived(const QString& name, const QVariantMap& params) {
    Event event = Event::AccountCreated;
    if (!WebServicesPrivateCore::eventFromName(name, event)) {
        m_logger->information(
            QStringLiteral("Ignoring unknown IPC message %1. This message maybe coming from a newer version.").arg(name));
        return;
    }
    HandleInterProcessMessage(event, params, IPCMethod::Socket);
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
    IPCMethod first = method;
    if (!m_handled.add(params.value(EventParam::eventId).toString(), method, first)) {
        m_logger->debug(
            QStringLiteral(
                "Received and ignored duplicate web services event %1 sent by %2. This was already sent by %3 and handled.")
                .arg(eventName(event), methodName(method), methodName(first)));
        return;
    }
    m_logger->information(QStringLiteral("Received web services event %1 from another process").arg(eventName(event)));
    EventSubject subject(params.value(EventParam::consumerKey).toString());
    if (isAboutOneToken(event))
        subject.oauth2Spec = GetOAuth2TokenSpec(params, event);
    if (subject.oauth2Spec || !isAboutOneToken(event))
        m_listener.eventReceived(event, subject);
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

} // namespace Velquor::WebServices
