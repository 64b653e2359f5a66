#pragma once

#include "VqLog/ILogger.h"
#include "VqUtil/Locks/ProcessGuard.h"

#include <QElapsedTimer>
#include <QFileSystemWatcher>
#include <QLocalServer>
#include <QLocalSocket>
#include <QObject>
#include <QPointer>
#include <QTimer>
#include <atomic>
#include <memory>

namespace Velquor::Util {

/// Sees to it that one process of the user serves and the others are connected to it.
///
/// Who serves holds a lock that the system frees with its holder, and only the holder puts a socket in the place of one that
/// nobody answers on. So a socket left behind by a dead process is taken over, and that of a living one never. Both sides check
/// that the other is the same user. Thread: the one that starts it. Owner: the hub. Errors: a line in the log, and another
/// attempt a little later.
class ServerElection : public QObject {
    Q_OBJECT

public:
    ServerElection(const QString& address, const QString& guardName, const QString& guardFolder,
                   std::shared_ptr<Log::ILogger> logger, QObject* parent);
    ~ServerElection() override;

    /// Takes the free seat or connects to who has it; to be called again when that connection has ended. One that ended as soon
    /// as it was made is not made anew at once: that server refuses this process, and would again.
    void seek();
    /// From any thread.
    [[nodiscard]] bool isServing() const { return m_isServing; }

signals:
    void SeatTaken();
    /// The receiver takes the sockets over.
    void ConnectedToServer(QLocalSocket* socket);
    void ClientConnected(QLocalSocket* socket);

private:
    void connectToServer();
    void connected();
    void notConnected();
    void takeSeat();
    [[nodiscard]] bool listen();
    void acceptClients();
    void checkServer();
    void keepName();
    void watchName();
    void seekLater(int ms);
    void lengthenPause();
    void warnOnce(const QString& text);

    const QString m_address;
    ProcessGuard m_guard;
    const std::shared_ptr<Log::ILogger> m_logger;
    QPointer<QLocalSocket> m_socket;
    std::unique_ptr<QLocalServer> m_server;
    QTimer m_nextTry;
    QTimer m_serverCheck;
    std::unique_ptr<QFileSystemWatcher> m_nameWatch;
    QString m_lastWarning;
    int m_pauseMs = 0;
    QElapsedTimer m_connectedSince; ///< Invalid before the first connection.
    bool m_hasGuard = false;
    std::atomic<bool> m_isServing{false};
};

} // namespace Velquor::Util
