#pragma once

#include "VqLog/ILogger.h"

#include <QObject>
#include <QString>
#include <QVariantMap>
#include <memory>

namespace Velquor::Util {

/// Messages between the processes of one user over a local socket: one process serves, all others connect, and every message
/// reaches all others once. When the serving process goes, another takes its place, and what was accepted is not lost.
///
/// Thread: lives on the thread that makes it, which runs an event loop and receives the messages; `send` may be called from any.
/// The connections are served on a thread of their own, so that a process that is busy for a while keeps nobody waiting but
/// itself. Owner: whoever sends. Errors: false and a line in the log. A peer that sends what is no message, is too slow, or
/// belongs to another user is dropped.
class IPCManager : public QObject {
    Q_OBJECT

public:
    explicit IPCManager(std::shared_ptr<Log::ILogger> logger, QObject* parent = nullptr);
    ~IPCManager() override;

    /// `folder` is owner-only and the same for all processes of the user: for locks, and for the socket where there is no better
    /// place. True as soon as messages are taken; the connection follows.
    bool start(const QString& serverName, const QString& folder);
    /// Nothing is received after it has returned. What was accepted is handed over to the system, within 200 ms.
    void stop();

    /// True when the message is accepted: it will reach every process that is there. False when it is too long (64 KiB as a
    /// frame), holds a value of a type that has no form, or the messaging is stopped; or when 2 MiB wait to be sent.
    bool send(const QString& name, const QVariantMap& params);

    [[nodiscard]] bool isServing() const;

signals:
    void MessageReceived(const QString& name, const QVariantMap& params);

private:
    void deliver();

    class Private;
    const std::unique_ptr<Private> m_private;
};

} // namespace Velquor::Util
