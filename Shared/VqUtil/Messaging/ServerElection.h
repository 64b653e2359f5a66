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

/// Elects the one process of the user that serves, and connects the others to it.
///
/// The serving process holds a lock that the system releases when its holder dies. Only the lock's holder may replace a socket
/// that does not answer. So the socket of a dead process is replaced, and that of a living process never is. Both sides check
/// that the peer is the same user. Thread: the one that creates it. Owner: the broker. Errors: a line in the log, and a retry.
class ServerElection : public QObject {
    Q_OBJECT

public:
    ServerElection(const QString& address, const QString& guardName, const QString& guardFolder,
                   std::shared_ptr<Log::ILogger> logger, QObject* parent);
    ~ServerElection() override;

    /// Connects to the serving process, or serves when there is none. Call it again when the connection has ended. A connection
    /// that closes at once is retried after a pause: the server is rejecting us.
    void join();
    /// From any thread.
    [[nodiscard]] bool isServing() const { return m_isServing; }

signals:
    /// This process serves from now on.
    void Elected();
    /// The receiver takes ownership of the socket. The same holds for `ClientConnected`.
    void ConnectedToServer(QLocalSocket* socket);
    void ClientConnected(QLocalSocket* socket);

private:
    void connectToServer();
    void connected();
    void notConnected();
    void startServing();
    [[nodiscard]] bool listen();
    void acceptClients();
    void checkServer();
    void keepReachable();
    void watchSocketFile();
    void retryIn(int ms);
    void lengthenPause();
    void warnOnce(const QString& text);

    const QString m_address;
    ProcessGuard m_guard;
    const std::shared_ptr<Log::ILogger> m_logger;
    QPointer<QLocalSocket> m_socket;
    std::unique_ptr<QLocalServer> m_server;
    QTimer m_nextTry;
    QTimer m_serverCheck;
    std::unique_ptr<QFileSystemWatcher> m_socketFileWatch;
    QString m_lastWarning;
    int m_pauseMs = 0;
    QElapsedTimer m_connectedSince; ///< Invalid before the first connection.
    bool m_hasGuard = false;
    std::atomic<bool> m_isServing{false};
};

} // namespace Velquor::Util
