#pragma once

#include <QObject>
#include <QString>
#include <QVariantMap>

namespace Velquor::Util {

/// Messages between the processes of one user: each other process receives every message once.
///
/// Thread: the one that creates it. That thread runs an event loop and receives the messages; `send` may be called from any.
/// Owner: the sender. Errors: false and a line in the log.
class IMessaging : public QObject {
    Q_OBJECT

public:
    using QObject::QObject;

    /// `folder` is owner-only and the same for all processes of the user. True as soon as `send` accepts messages.
    virtual bool start(const QString& serverName, const QString& folder) = 0;
    /// No message is received after the return.
    virtual void stop() = 0;
    /// True when the message is accepted: every running process will receive it.
    virtual bool send(const QString& name, const QVariantMap& params) = 0;

signals:
    void MessageReceived(const QString& name, const QVariantMap& params);
};

} // namespace Velquor::Util
