#pragma once

#include "VqLog/ILogger.h"
#include "VqUtil/Messaging/MessageInbox.h"
#include "VqUtil/Messaging/MessageJournal.h"
#include "VqUtil/Messaging/PeerConnection.h"
#include "VqUtil/Messaging/ServerElection.h"

#include <QElapsedTimer>
#include <QMutex>
#include <QObject>
#include <QVector>

namespace Velquor::Util {

/// The messaging state of one process: its connections, the latest messages, and the ids of the messages it has seen.
///
/// Every process keeps the latest messages, its own and those of others. When the serving process ends, each client sends its own
/// messages again to the new one. The new one sends the recent messages of all to every client that connects. A process drops a
/// message that it has seen, and one that is older than the process itself. So nothing is lost or doubled, and the messages of
/// one sender keep their order. Thread: the one that creates it; `accept` and `isServing` may be called from any. Owner: its
/// thread. Errors: a line in the log.
class MessageBroker : public QObject {
    Q_OBJECT

public:
    /// The address of the local server, and the lock that decides which process serves. The inbox outlives the broker.
    struct Endpoint {
        QString address;
        QString guardName;
        QString guardFolder;
    };
    MessageBroker(const Endpoint& endpoint, std::shared_ptr<Log::ILogger> logger, MessageInbox& inbox);
    ~MessageBroker() override;

    /// False when too many messages wait to be sent.
    [[nodiscard]] bool accept(const MessageFrame& frame);
    /// Writes what it can to the sockets, within 200 ms, and ends all connections.
    void finish();
    [[nodiscard]] bool isServing() const { return m_election.isServing(); }

private:
    void takeAccepted();
    void becomeServer();
    void becomeClient(QLocalSocket* socket);
    void addClient(QLocalSocket* socket);
    [[nodiscard]] PeerConnection* addPeer(QLocalSocket* socket);
    void receive(PeerConnection* peer, const MessageFrame& frame);
    void acceptHello(PeerConnection* peer, const MessageFrame& hello);
    [[nodiscard]] bool predatesThisProcess(const MessageFrame& frame) const;
    void rememberStart();
    void receiveMessage(PeerConnection* peer, const MessageFrame& frame);
    void removePeer(PeerConnection* peer, const QString& reason);
    void loseServer();
    void relay();
    void removeOld();
    [[nodiscard]] bool holdsAny() const;
    void warn(const QString& text);

    const std::shared_ptr<Log::ILogger> m_logger;
    ServerElection m_election;
    MessageInbox& m_inbox;
    QVector<PeerConnection*> m_clients;
    PeerConnection* m_server = nullptr;
    quint64 m_lastNumber = 0;
    qint64 m_startedMs = 0; ///< When it first connected or served; 0 before.

    MessageJournal m_all{MessageJournal::Age::SinceReceived}; ///< For the clients.
    MessageJournal m_own{MessageJournal::Age::SinceWritten};  ///< For the server.
    quint64 m_ownUnsent = 0;
    SeenMessages m_seen;
    QTimer m_cleanup;
    QString m_lastWarning;
    QElapsedTimer m_sinceWarning;

    QMutex m_mutex;
    QVector<MessageFrame> m_accepted;
    qint64 m_waitingSize = 0;
    int m_waitingCount = 0;
};

} // namespace Velquor::Util
