#pragma once

#include "VqLog/ILogger.h"
#include "VqUtil/Messaging/IMessaging.h"

#include <memory>

namespace Velquor::WebServices::Internal {

/// Carries the last event to the other processes of the user in a file that they watch.
///
/// Thread: its owner's, with an event loop. Owner: the notification manager. Errors: log lines; an event may be lost on it.
class IEventFile : public QObject {
    Q_OBJECT

public:
    using QObject::QObject;

    virtual void StartWatching() = 0;
    virtual void StopWatching() = 0;
    /// `id` is the number of the event.
    virtual void RaiseEvent(int id, const QVariantMap& params) = 0;

signals:
    void InterProcessEventReceived(int id, const QVariantMap& params);
};

/// Makes the two carriers of events between processes. Every event goes by both. The messaging keeps the order of a sender's
/// events; the file does not.
///
/// Thread: the notification thread. Owner: shared by the login sessions of a process. Errors: as of the carriers.
class IEventCarriers {
public:
    virtual ~IEventCarriers() = default;
    [[nodiscard]] virtual std::unique_ptr<IEventFile> makeFile(const QString& folder,
                                                               const std::shared_ptr<Log::ILogger>& logger) = 0;
    [[nodiscard]] virtual std::unique_ptr<Util::IMessaging> makeMessaging(const std::shared_ptr<Log::ILogger>& logger) = 0;
};

} // namespace Velquor::WebServices::Internal
