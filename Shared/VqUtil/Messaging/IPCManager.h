#pragma once

#include "VqLog/ILogger.h"
#include "VqUtil/Messaging/IMessaging.h"

#include <memory>

namespace Velquor::Util {

/// Messages between the processes of one user over a local socket. One process serves, all others connect, and each other process
/// receives every message once. When the serving process ends, another one takes over, and accepted messages are not lost.
///
/// Thread: the one that creates it. That thread runs an event loop and receives the messages; `send` may be called from any.
/// The connections have a thread of their own, so that a busy receiver delays no other process. Owner: the sender. Errors: false
/// and a line in the log. A peer is disconnected when it sends invalid data, is too slow, or belongs to another user.
class IPCManager : public IMessaging {
    Q_OBJECT

public:
    explicit IPCManager(std::shared_ptr<Log::ILogger> logger, QObject* parent = nullptr);
    ~IPCManager() override;

    /// `folder` is owner-only and the same for all processes of the user. It holds locks, and the socket when the system has no
    /// runtime folder. True as soon as `send` accepts messages; the connection is made later.
    bool start(const QString& serverName, const QString& folder) override;
    /// No message is received after the return. Accepted messages are written to the socket, within 200 ms.
    void stop() override;

    /// True when the message is accepted: every running process will receive it. False when it is too long (64 KiB as a frame),
    /// when it holds a value of an unsupported type, when the messaging is stopped, or when 2 MiB wait to be sent.
    bool send(const QString& name, const QVariantMap& params) override;

    [[nodiscard]] bool isServing() const;

private:
    void deliver();

    class Private;
    const std::unique_ptr<Private> m_private;
};

} // namespace Velquor::Util
