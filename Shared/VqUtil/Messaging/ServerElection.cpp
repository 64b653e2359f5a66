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
// As long as a server takes to end what it does not want; one that is killed is hardly ever that young.
constexpr int briefConnectionMs = 50;
// In case that the system does not tell of the removal: rare enough to let an idle process sleep.
constexpr int serverCheckMs = 30000;
constexpr int mostNameAttempts = 3;

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

// The name is given back before the lock.
ServerElection::~ServerElection() {
    if (m_socket)
        m_socket->disconnect(this);
    m_server.reset();
    m_guard.release();
}

void ServerElection::seek() {
    if (m_connectedSince.isValid() && m_connectedSince.elapsed() < briefConnectionMs)
        lengthenPause();
    else
        m_pauseMs = 0;
    seekLater(m_pauseMs);
}

void ServerElection::lengthenPause() {
    m_pauseMs = std::min(std::max(m_pauseMs * 2, shortestPauseMs), longestPauseMs);
}

void ServerElection::connectToServer() {
    delete m_socket;
    m_socket = new QLocalSocket(this);
    // Queued, since a socket may answer while it is still being asked.
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
        seekLater(longestPauseMs);
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

// The second time the lock is there: nobody who keeps to it can have begun to serve since then, and nobody answers.
void ServerElection::notConnected() {
    if (!m_socket || sender() != m_socket)
        return;
    if (m_hasGuard) {
        takeSeat();
        return;
    }
    switch (m_guard.acquire(0)) {
    case ProcessGuard::Result::Acquired:
    case ProcessGuard::Result::AcquiredFromTheDead:
        m_hasGuard = true;
        seekLater(0);
        return;
    case ProcessGuard::Result::Failed:
        warnOnce(QStringLiteral("Failed to take the lock of the messaging server. %1").arg(m_guard.errorText()));
        seekLater(longestPauseMs);
        return;
    case ProcessGuard::Result::TimedOut: break;
    }
    lengthenPause();
    seekLater(m_pauseMs + QRandomGenerator::global()->bounded(shortestPauseMs));
}

void ServerElection::takeSeat() {
    if (!listen()) {
        m_guard.release();
        m_hasGuard = false;
        seekLater(longestPauseMs);
        return;
    }
    m_isServing = true;
    delete m_socket;
    m_nextTry.stop();
    m_serverCheck.start();
    keepName();
    m_logger->information(QStringLiteral("This process serves the messages between processes at %1").arg(m_address));
    emit SeatTaken();
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

// The server stops listening by itself when the system runs short of descriptors, and its socket may be removed by somebody.
void ServerElection::checkServer() {
    if (m_server->isListening() && isLocalServerNamed(m_address))
        return;
    m_server->close();
    if (!m_server->listen(m_address))
        warnOnce(QStringLiteral("Failed to serve messages at %1. %2").arg(m_address, m_server->errorString()));
}

// The name may go again before it is watched.
void ServerElection::keepName() {
    for (int attempt = 0; attempt < mostNameAttempts; ++attempt) {
        checkServer();
        watchName();
        if (isLocalServerNamed(m_address))
            return;
    }
}

void ServerElection::watchName() {
    const QString file = localServerFile(m_address);
    if (file.isEmpty())
        return;
    if (!m_nameWatch) {
        m_nameWatch = std::make_unique<QFileSystemWatcher>();
        connect(m_nameWatch.get(), &QFileSystemWatcher::fileChanged, this, &ServerElection::keepName);
    }
    // The watch is on the file, which may be another one now, and not on its name.
    m_nameWatch->removePath(file);
    m_nameWatch->addPath(file);
}

void ServerElection::seekLater(int ms) {
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
