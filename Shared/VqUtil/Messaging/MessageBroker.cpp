#include "VqUtil/Messaging/MessageBroker.h"

#include <QDeadlineTimer>
#include <QMutexLocker>
#include <algorithm>
#include <utility>

namespace Velquor::Util {

namespace {

// How long a message is sent again to a new server or client. An election takes less.
constexpr qint64 historyMs = 5000;
// Half of what a journal holds, so that the journal never removes a message that still waits.
constexpr qint64 greatestWaitingSize = MessageJournal::greatestSize / 2;
constexpr int greatestWaitingCount = MessageJournal::greatestCount / 2;
constexpr int maximumClients = 256;
constexpr int shutdownMs = 200;
// A rejected peer reconnects at once and is rejected again. One line a minute is enough.
constexpr int sameWarningMs = 60000;
constexpr quint64 ownNumber = 0;

} // namespace

MessageBroker::MessageBroker(const Endpoint& endpoint, std::shared_ptr<Log::ILogger> logger, MessageInbox& inbox)
    : m_logger(std::move(logger))
    , m_election(endpoint.address, endpoint.guardName, endpoint.guardFolder, m_logger, nullptr)
    , m_inbox(inbox) {
    connect(&m_election, &ServerElection::Elected, this, &MessageBroker::becomeServer);
    connect(&m_election, &ServerElection::ConnectedToServer, this, &MessageBroker::becomeClient);
    connect(&m_election, &ServerElection::ClientConnected, this, &MessageBroker::addClient);
    connect(&m_cleanup, &QTimer::timeout, this, &MessageBroker::removeOld);
    m_cleanup.setSingleShot(true);
    m_cleanup.setInterval(2 * static_cast<int>(historyMs));
    m_election.join();
}

MessageBroker::~MessageBroker() = default;

bool MessageBroker::accept(const MessageFrame& frame) {
    const QMutexLocker lock(&m_mutex);
    const qint64 size = frame.content.size() + MessageFrame::headerSize + 1;
    if (m_waitingSize + size > greatestWaitingSize || m_waitingCount >= greatestWaitingCount)
        return false;
    // Both count until the message is written, in `relay`.
    m_waitingSize += size;
    ++m_waitingCount;
    m_accepted.append(frame);
    if (m_accepted.size() == 1)
        QMetaObject::invokeMethod(this, &MessageBroker::takeAccepted, Qt::QueuedConnection);
    return true;
}

void MessageBroker::takeAccepted() {
    QVector<MessageFrame> accepted;
    {
        const QMutexLocker lock(&m_mutex);
        accepted.swap(m_accepted);
    }
    for (const MessageFrame& frame : std::as_const(accepted)) {
        const QByteArray bytes = frame.toBytes();
        (void)m_seen.add(frame.id);
        m_own.append(bytes, ownNumber);
        m_all.append(bytes, ownNumber);
    }
    relay();
}

void MessageBroker::becomeServer() {
    rememberStart();
    relay();
}

void MessageBroker::becomeClient(QLocalSocket* socket) {
    m_server = addPeer(socket);
    rememberStart();
    MessageFrame hello;
    hello.kind = MessageFrame::Kind::Hello;
    hello.id = MessageFrame::newId();
    m_server->send(hello.toBytes());
    // Recent messages are sent again, even those that the last server has received: it may have died before it relayed them. A
    // process that has received them already knows their ids.
    m_server->follow(&m_own, std::min(m_own.firstWithin(historyMs), std::max(m_ownUnsent, m_own.begin())));
    relay();
}

void MessageBroker::addClient(QLocalSocket* socket) {
    if (m_clients.size() >= maximumClients) {
        warn(QStringLiteral("Refused a connection: %1 processes are connected").arg(maximumClients));
        socket->abort();
        socket->deleteLater();
        return;
    }
    m_clients.append(addPeer(socket));
    m_clients.last()->expectHello();
}

PeerConnection* MessageBroker::addPeer(QLocalSocket* socket) {
    auto* const peer = new PeerConnection(socket, ++m_lastNumber, this);
    connect(peer, &PeerConnection::Received, this, &MessageBroker::receive);
    connect(peer, &PeerConnection::HasRead, this, &MessageBroker::relay);
    connect(peer, &PeerConnection::Ended, this, &MessageBroker::removePeer);
    return peer;
}

void MessageBroker::receive(PeerConnection* peer, const MessageFrame& frame) {
    if (frame.kind == MessageFrame::Kind::Message && peer->isFollowing())
        receiveMessage(peer, frame);
    else if (frame.kind != MessageFrame::Kind::Message && !peer->isFollowing())
        acceptHello(peer, frame);
    else
        peer->end(QStringLiteral("it sent a frame out of turn"));
}

// A client that has lost its server receives the recent messages: it may have missed some during the election.
void MessageBroker::acceptHello(PeerConnection* peer, const MessageFrame& hello) {
    if (hello.content.isEmpty())
        peer->follow(&m_all, m_all.firstWithin(historyMs));
    else
        peer->end(QStringLiteral("it sent what is no greeting"));
}

// Processes share the machine's clock, but a sender may report any time. After `2 * historyMs` no old message is sent again, so
// the time in a frame no longer matters.
bool MessageBroker::predatesThisProcess(const MessageFrame& frame) const {
    return frame.sentMs < m_startedMs && MessageJournal::nowMs() - m_startedMs < 2 * historyMs;
}

void MessageBroker::rememberStart() {
    if (m_startedMs == 0)
        m_startedMs = MessageJournal::nowMs();
}

void MessageBroker::receiveMessage(PeerConnection* peer, const MessageFrame& frame) {
    std::optional<MessageCodec::Message> message = MessageCodec::decode(frame.content);
    if (!message) {
        peer->end(QStringLiteral("it sent a message that cannot be read"));
        return;
    }
    if (!m_seen.add(frame.id))
        return;
    m_all.append(frame.toBytes(), peer->number());
    if (!predatesThisProcess(frame) && !m_inbox.add(std::move(*message), frame.content.size()))
        warn(QStringLiteral("Gave up messages that this process has not received for long: it is busy"));
}

void MessageBroker::removePeer(PeerConnection* peer, const QString& reason) {
    if (!reason.isEmpty())
        warn(QStringLiteral("Ended the connection with another process: %1").arg(reason));
    peer->deleteLater();
    m_clients.removeOne(peer);
    if (peer == m_server)
        loseServer();
}

void MessageBroker::loseServer() {
    m_ownUnsent = m_server->nextToWrite();
    m_server = nullptr;
    m_election.join();
}

void MessageBroker::relay() {
    const QVector<PeerConnection*> clients = m_clients;
    for (PeerConnection* const client : clients)
        client->writeMore();
    if (m_server)
        m_server->writeMore();
    // Notify our own receiver last: the other processes have the longer way.
    m_inbox.notify();
    if (!m_cleanup.isActive() && holdsAny())
        m_cleanup.start();
    if (!isServing() && !(m_server && m_server->nextToWrite() == m_own.end()))
        return;
    m_ownUnsent = m_own.end();
    const QMutexLocker lock(&m_mutex);
    if (m_accepted.isEmpty()) {
        m_waitingSize = 0;
        m_waitingCount = 0;
    }
}

void MessageBroker::removeOld() {
    quint64 needed = m_all.end();
    for (const PeerConnection* const client : std::as_const(m_clients))
        needed = client->isFollowing() ? std::min(needed, client->nextToWrite()) : needed;
    m_all.forget(historyMs, needed);
    m_own.forget(historyMs, m_server ? m_server->nextToWrite() : m_ownUnsent);
    if (holdsAny())
        m_cleanup.start();
}

bool MessageBroker::holdsAny() const {
    return m_all.begin() != m_all.end() || m_own.begin() != m_own.end();
}

void MessageBroker::warn(const QString& text) {
    if (text == m_lastWarning && !m_sinceWarning.hasExpired(sameWarningMs))
        return;
    m_lastWarning = text;
    m_sinceWarning.start();
    m_logger->warning(text);
}

void MessageBroker::finish() {
    takeAccepted();
    const QVector<PeerConnection*> clients = m_clients;
    const QDeadlineTimer deadline(shutdownMs);
    for (PeerConnection* const client : clients)
        client->finish(static_cast<int>(deadline.remainingTime()));
    if (m_server)
        m_server->finish(static_cast<int>(deadline.remainingTime()));
    const bool isLost = m_ownUnsent < m_own.end() && !isServing() && !m_server;
    if (isLost)
        m_logger->warning(QStringLiteral("Stopped the messages between processes before all were sent"));
}

} // namespace Velquor::Util
