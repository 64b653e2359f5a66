#include "VqUtil/Messaging/ServerElection.h"

#include "VqUtil/Messaging/PeerIdentity.h"

#include <QRandomGenerator>
#include <algorithm>
#include <utility>

namespace Velquor::Util {

namespace {

constexpr int shortestPauseMs = 10;
constexpr int longestPauseMs = 500;
constexpr int connectMs = 2000;
// A server rejects a client within this time. A server that is killed has rarely run for so short a time.
constexpr int briefConnectionMs = 50;
// A fallback for a removal that the system does not report. Rare, so that an idle process can sleep.
constexpr int serverCheckMs = 30000;
constexpr int maximumRestoreAttempts = 3;

} // namespace

ServerElection::ServerElection(const QString& address, const QString& guardName, const QString& guardFolder,
                               std::shared_ptr<Log::ILogger> logger, QObject* parent)
    : QObject(parent)
    , m_address(address)
    , m_guard(guardName, guardFolder)
    , m_logger(std::move(logger)) {
    qRegisterMetaType<QLocalSocket::LocalSocketError>("QLocalSocket::LocalSocketError");
    m_nextTry.setSingleShot(true);
    connect(&m_nextTry, &QTimer::timeout, this, &ServerElection::connectToServer);
    connect(&m_serverCheck, &QTimer::timeout, this, &ServerElection::checkServer);
    m_serverCheck.setInterval(serverCheckMs);
    m_serverCheck.setTimerType(Qt::VeryCoarseTimer);
}

// The address is released before the lock: the next holder of the lock must find it free.
ServerElection::~ServerElection() {
    if (m_socket)
        m_socket->disconnect(this);
    m_server.reset();
    m_guard.release();
}

void ServerElection::join() {
    if (m_connectedSince.isValid() && m_connectedSince.elapsed() < briefConnectionMs)
        lengthenPause();
    else
        m_pauseMs = 0;
    retryIn(m_pauseMs);
}

void ServerElection::lengthenPause() {
    m_pauseMs = std::min(std::max(m_pauseMs * 2, shortestPauseMs), longestPauseMs);
}

void ServerElection::connectToServer() {
    delete m_socket;
    m_socket = new QLocalSocket(this);
    // Queued: a local socket may emit its signals from within `connectToServer`, before the caller has finished.
    connect(m_socket, &QLocalSocket::connected, this, &ServerElection::connected, Qt::QueuedConnection);
    connect(m_socket, &QLocalSocket::errorOccurred, this, &ServerElection::notConnected, Qt::QueuedConnection);
    m_nextTry.start(connectMs);
    m_socket->connectToServer(m_address);
}

void ServerElection::connected() {
    if (!m_socket || sender() != m_socket || m_socket->state() != QLocalSocket::ConnectedState)
        return;
    if (!isPeerOfSameUser(m_socket->socketDescriptor(), PeerRole::Server)) {
        warnOnce(QStringLiteral("Messages are not sent: the server at %1 belongs to another user").arg(m_address));
        retryIn(longestPauseMs);
        return;
    }
    m_nextTry.stop();
    m_connectedSince.start();
    m_guard.release();
    m_hasGuard = false;
    QLocalSocket* const socket = m_socket;
    socket->disconnect(this);
    m_socket.clear();
    emit ConnectedToServer(socket);
}

// Without the lock this only tries to take it, and then connects once more. Another process may have started to serve between our
// first attempt and the lock. When the attempt under the lock fails too, no process serves, and none can start while we hold it.
void ServerElection::notConnected() {
    if (!m_socket || sender() != m_socket)
        return;
    if (m_hasGuard) {
        startServing();
        return;
    }
    switch (m_guard.acquire(0)) {
    case ProcessGuard::Result::Acquired:
    case ProcessGuard::Result::AcquiredAbandoned:
        m_hasGuard = true;
        retryIn(0);
        return;
    case ProcessGuard::Result::Failed:
        warnOnce(QStringLiteral("Failed to take the lock of the messaging server. %1").arg(m_guard.errorText()));
        retryIn(longestPauseMs);
        return;
    case ProcessGuard::Result::TimedOut: break;
    }
    lengthenPause();
    retryIn(m_pauseMs + QRandomGenerator::global()->bounded(shortestPauseMs));
}

void ServerElection::startServing() {
    if (!listen()) {
        m_guard.release();
        m_hasGuard = false;
        retryIn(longestPauseMs);
        return;
    }
    m_isServing = true;
    delete m_socket;
    m_nextTry.stop();
    m_serverCheck.start();
    keepReachable();
    m_logger->information(QStringLiteral("This process serves the messages between processes at %1").arg(m_address));
    emit Elected();
}

bool ServerElection::listen() {
    m_server = std::make_unique<QLocalServer>();
    m_server->setSocketOptions(QLocalServer::UserAccessOption);
    connect(m_server.get(), &QLocalServer::newConnection, this, &ServerElection::acceptClients, Qt::QueuedConnection);
    if (m_server->listen(m_address))
        return true;
    warnOnce(QStringLiteral("Failed to serve messages at %1. %2").arg(m_address, m_server->errorString()));
    m_server.reset();
    return false;
}

void ServerElection::acceptClients() {
    while (m_server && m_server->hasPendingConnections()) {
        QLocalSocket* const socket = m_server->nextPendingConnection();
        if (isPeerOfSameUser(socket->socketDescriptor(), PeerRole::Client)) {
            emit ClientConnected(socket);
        } else {
            warnOnce(QStringLiteral("Refused a connection from a process of another user"));
            socket->abort();
            socket->deleteLater();
        }
    }
}

// Qt's server stops listening by itself when the system runs out of descriptors, and anybody may remove the socket file.
void ServerElection::checkServer() {
    if (m_server->isListening() && isLocalServerReachable(m_address))
        return;
    m_server->close();
    if (!m_server->listen(m_address))
        warnOnce(QStringLiteral("Failed to serve messages at %1. %2").arg(m_address, m_server->errorString()));
}

// The file may be removed again before the watch is in place, so check after setting the watch. Bounded: a program that keeps
// removing the file must not occupy this thread. The timer repairs the rest.
void ServerElection::keepReachable() {
    for (int attempt = 0; attempt < maximumRestoreAttempts; ++attempt) {
        checkServer();
        watchSocketFile();
        if (isLocalServerReachable(m_address))
            return;
    }
}

void ServerElection::watchSocketFile() {
    const QString file = localServerSocketFile(m_address);
    if (file.isEmpty())
        return;
    if (!m_socketFileWatch) {
        m_socketFileWatch = std::make_unique<QFileSystemWatcher>();
        connect(m_socketFileWatch.get(), &QFileSystemWatcher::fileChanged, this, &ServerElection::keepReachable);
    }
    // The watch is on the file and not on its path. Renew it, since the path may lead to a new file.
    m_socketFileWatch->removePath(file);
    m_socketFileWatch->addPath(file);
}

void ServerElection::retryIn(int ms) {
    if (m_socket)
        m_socket->disconnect(this);
    m_nextTry.start(ms);
}

void ServerElection::warnOnce(const QString& text) {
    if (text == m_lastWarning)
        return;
    m_lastWarning = text;
    m_logger->warning(text);
}

} // namespace Velquor::Util
