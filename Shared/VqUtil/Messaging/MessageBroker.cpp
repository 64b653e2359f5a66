#include "VqUtil/Messaging/MessageBroker.h"

#include <QDeadlineTimer>
#include <QMutexLocker>
#include <algorithm>
#include <utility>

namespace Velquor::Util {

namespace {

// Longer than it takes to find a new server.
constexpr qint64 memoryMs = 5000;
// Less than a journal holds, so that what waits is never forgotten.
constexpr qint64 greatestWaitingSize = MessageJournal::greatestSize / 2;
constexpr int greatestWaitingCount = MessageJournal::greatestCount / 2;
constexpr int mostClients = 256;
constexpr int farewellMs = 200;
// A peer that is dropped comes back at once and is dropped again.
constexpr int sameWarningMs = 60000;
constexpr quint64 ownNumber = 0;

} // namespace

MessageBroker::MessageBroker(const Place& place, std::shared_ptr<Log::ILogger> logger, MessageInbox& inbox)
    : m_logger(std::move(logger))
    , m_election(place.address, place.guardName, place.guardFolder, m_logger, nullptr)
    , m_inbox(inbox) {
    connect(&m_election, &ServerElection::SeatTaken, this, &MessageBroker::becomeServer);
    connect(&m_election, &ServerElection::ConnectedToServer, this, &MessageBroker::becomeClient);
    connect(&m_election, &ServerElection::ClientConnected, this, &MessageBroker::addClient);
    connect(&m_forgetting, &QTimer::timeout, this, &MessageBroker::forgetOld);
    m_forgetting.setSingleShot(true);
    m_forgetting.setInterval(2 * static_cast<int>(memoryMs));
    m_election.seek();
}

MessageBroker::~MessageBroker() = default;

bool MessageBroker::accept(const MessageFrame& frame) {
    const QMutexLocker lock(&m_mutex);
    const qint64 size = frame.content.size() + MessageFrame::headerSize + 1;
    if (m_waitingSize + size > greatestWaitingSize || m_waitingCount >= greatestWaitingCount)
        return false;
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
    beThere();
    relay();
}

void MessageBroker::becomeClient(QLocalSocket* socket) {
    m_server = addPeer(socket);
    beThere();
    MessageFrame hello;
    hello.kind = MessageFrame::Kind::Hello;
    hello.id = MessageFrame::newId();
    m_server->send(hello.toBytes());
    m_server->follow(&m_own, std::min(m_own.firstWithin(memoryMs), std::max(m_ownUnsent, m_own.begin())));
    relay();
}

void MessageBroker::addClient(QLocalSocket* socket) {
    if (m_clients.size() >= mostClients) {
        warn(QStringLiteral("Refused a connection: %1 processes are connected").arg(mostClients));
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
        greet(peer, frame);
    else
        peer->end(QStringLiteral("it sent a frame out of turn"));
}

// Who has lost its server is told what it may have missed on the way.
void MessageBroker::greet(PeerConnection* peer, const MessageFrame& hello) {
    if (hello.content.isEmpty())
        peer->follow(&m_all, m_all.firstWithin(memoryMs));
    else
        peer->end(QStringLiteral("it sent what is no greeting"));
}

// Whoever has been there for longer than messages are sent again does not depend on the clocks of others.
bool MessageBroker::isFromBefore(const MessageFrame& frame) const {
    return frame.sentMs < m_thereSinceMs && MessageJournal::nowMs() - m_thereSinceMs < 2 * memoryMs;
}

void MessageBroker::beThere() {
    if (m_thereSinceMs == 0)
        m_thereSinceMs = MessageJournal::nowMs();
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
    if (!isFromBefore(frame) && !m_inbox.add(std::move(*message), frame.content.size()))
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
    m_election.seek();
}

void MessageBroker::relay() {
    const QVector<PeerConnection*> clients = m_clients;
    for (PeerConnection* const client : clients)
        client->writeOn();
    if (m_server)
        m_server->writeOn();
    // The others first: they have a longer way.
    m_inbox.tell();
    if (!m_forgetting.isActive() && holdsAny())
        m_forgetting.start();
    if (!isServing() && !(m_server && m_server->nextToWrite() == m_own.end()))
        return;
    m_ownUnsent = m_own.end();
    const QMutexLocker lock(&m_mutex);
    if (m_accepted.isEmpty()) {
        m_waitingSize = 0;
        m_waitingCount = 0;
    }
}

void MessageBroker::forgetOld() {
    quint64 needed = m_all.end();
    for (const PeerConnection* const client : std::as_const(m_clients))
        needed = client->isFollowing() ? std::min(needed, client->nextToWrite()) : needed;
    m_all.forget(memoryMs, needed);
    m_own.forget(memoryMs, m_server ? m_server->nextToWrite() : m_ownUnsent);
    if (holdsAny())
        m_forgetting.start();
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
    const QDeadlineTimer deadline(farewellMs);
    for (PeerConnection* const client : clients)
        client->finish(static_cast<int>(deadline.remainingTime()));
    if (m_server)
        m_server->finish(static_cast<int>(deadline.remainingTime()));
    const bool isLost = m_ownUnsent < m_own.end() && !isServing() && !m_server;
    if (isLost)
        m_logger->warning(QStringLiteral("Stopped the messages between processes before all were sent"));
}

} // namespace Velquor::Util
