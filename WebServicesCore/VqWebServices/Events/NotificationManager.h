#pragma once

#include "Events/DuplicateFilter.h"
#include "Events/INotificationListener.h"
#include "Events/ReorderBuffer.h"
#include "Events/SystemEventCarriers.h"
#include "VqUtil/General/SteadyTimer.h"

#include <QMutex>
#include <QObject>
#include <QTimer>
#include <QUuid>
#include <VqWebServices/OAuth2TokenSpec.h>
#include <memory>

namespace Velquor::WebServices::Internal {

/// What the exchange of events needs of lower layers. A plain value.
struct NotificationDependencies {
    QString folder; ///< That of the login state file.
    std::shared_ptr<Log::ILogger> logger;
    Util::SteadyClock steadyClock = Util::systemSteadyClock;
    std::shared_ptr<IEventCarriers> carriers = std::make_shared<SystemEventCarriers>();
    /// Identifies this sender; receivers keep the events of a sender in order. It differs from all others, also of earlier runs.
    QString senderId = QUuid::createUuid().toString(QUuid::WithoutBraces);
};

/// Sends web services events to the other processes of the user and receives theirs, over two carriers: local sockets and a
/// watched file. An event that arrives over both is handled once.
///
/// Thread: lives on the notification thread; SendInterProcessMessage may be called from any. Owner: the login session; deleted at
/// the end of that thread. Errors: log lines. When an event cannot be sent, the other processes see the change in the login state
/// file.
class NotificationManager : public QObject {
    Q_OBJECT

public:
    using Event = WebServicesPrivateCore::WebServicesEvent;
    /// The delay between the message of an event and its file. Writing the file is slow and reading it keeps every process busy,
    /// so the messages go first.
    static constexpr int fileDelayMs = 20;

    /// `listener` outlives this object.
    NotificationManager(const NotificationDependencies& services, INotificationListener& listener);
    ~NotificationManager() override;

    /// False when the event could not be posted to the thread of this object.
    bool SendInterProcessMessage(Event event, const QVariantMap& params);

    void HandleInterProcessMessage(Event event, const QVariantMap& params, IPCMethod method);

    /// The token spec of an OAuth2 event. An event without a type comes from an older process, which knows only one kind of
    /// token. Nothing, with a log line, for an unknown type.
    [[nodiscard]] std::optional<OAuth2TokenSpec> GetOAuth2TokenSpec(const QVariantMap& params, Event event) const;

public slots:
    void Start();
    void SendInterProcessMessageSlot(WebServicesPrivateCore::WebServicesEvent event, const QVariantMap& params);
    void InterProcessMessageReceived(const QString& name, const QVariantMap& params);
    void InterProcessEventReceived(int id, const QVariantMap& params);

private:
    void writeFiles();
    void handle(const QVector<ArrivedEvent>& events);
    void releaseOverdue();
    void holdOn();
    void finishReactions();

    const NotificationDependencies m_services;
    INotificationListener& m_listener;
    const std::shared_ptr<Log::ILogger> m_logger;
    std::unique_ptr<IEventFile> m_events;
    std::unique_ptr<Util::IMessaging> m_sockets;
    DuplicateFilter m_handled;
    ReorderBuffer m_order;
    const Util::SteadyTimer m_clock;
    QTimer m_fileTimer;
    QQueue<ArrivedEvent> m_forFile; ///< Sent by socket, not yet written to the file.
    QTimer m_holdTimer;
    QTimer m_lastLookTimer;
    QTimer m_againTimer; ///< Runs while the listener has reactions left.
    int m_againMs = 0;
    QMutex m_sendMutex;
    quint64 m_lastNumber = 0; ///< Under the mutex.
};

} // namespace Velquor::WebServices::Internal
