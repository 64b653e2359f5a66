#pragma once

#include "VqLog/ILogger.h"

#include <QObject>
#include <QString>
#include <QVariantMap>
#include <memory>

namespace Velquor::Util {

/// Messages between the processes of one user over a local socket: one process serves, all others connect, and every message reaches
/// all others once. When the serving process goes, another takes its place, and what was accepted is not lost.
///
/// Thread: lives on the thread that starts it, which runs an event loop; `send` may be called from any. Owner: whoever sends.
/// Errors: false and a line in the log. A peer that sends what is no message, is too slow, or belongs to another user is dropped.
class IPCManager : public QObject {
    Q_OBJECT

public:
    explicit IPCManager(std::shared_ptr<Log::ILogger> logger, QObject* parent = nullptr);
    ~IPCManager() override;

    /// `folder` is owner-only and the same for all processes of the user: for locks, and for the socket where there is no better
    /// place. True as soon as messages are taken; the connection follows.
    bool start(const QString& serverName, const QString& folder);
    void stop();

    /// True when the message is accepted: it will reach every process that is there. False when it is too long (64 KiB as a frame),
    /// holds a value of a type that has no form, or the messaging is stopped; or when 2 MiB wait to be sent.
    bool send(const QString& name, const QVariantMap& params);

    [[nodiscard]] bool isServing() const;

signals:
    void MessageReceived(const QString& name, const QVariantMap& params);

private:
    class Private;
    const std::unique_ptr<Private> m_private;
};

} // namespace Velquor::Util
