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

/// What one process knows of the messaging: its connections, the latest messages, and which of them it has seen.
///
/// Every process keeps the latest messages, its own and those of others. When the server goes, each sends its own again to the
/// new one, which tells everybody who comes what it has lately heard. Who has seen a message drops it, and so does a newcomer
/// with one that is older than itself. So the messages of one sender keep their order. Thread: the one that makes it; `accept`
/// and `isServing` may be called from any. Owner: its thread. Errors: a line in the log.
class MessageBroker : public QObject {
    Q_OBJECT

public:
    /// Where it is, and where its messages go. The inbox outlives the hub.
    struct Place {
        QString address;
        QString guardName;
        QString guardFolder;
    };
    MessageBroker(const Place& place, std::shared_ptr<Log::ILogger> logger, MessageInbox& inbox);
    ~MessageBroker() override;

    /// False when more waits to be sent than is kept.
    [[nodiscard]] bool accept(const MessageFrame& frame);
    /// Hands over to the system what it can, within a short time, and ends all connections.
    void finish();
    [[nodiscard]] bool isServing() const { return m_election.isServing(); }

private:
    void takeAccepted();
    void becomeServer();
    void becomeClient(QLocalSocket* socket);
    void addClient(QLocalSocket* socket);
    [[nodiscard]] PeerConnection* addPeer(QLocalSocket* socket);
    void receive(PeerConnection* peer, const MessageFrame& frame);
    void greet(PeerConnection* peer, const MessageFrame& hello);
    [[nodiscard]] bool isFromBefore(const MessageFrame& frame) const;
    void beThere();
    void receiveMessage(PeerConnection* peer, const MessageFrame& frame);
    void removePeer(PeerConnection* peer, const QString& reason);
    void loseServer();
    void relay();
    void forgetOld();
    [[nodiscard]] bool holdsAny() const;
    void warn(const QString& text);

    const std::shared_ptr<Log::ILogger> m_logger;
    ServerElection m_election;
    MessageInbox& m_inbox;
    QVector<PeerConnection*> m_clients;
    PeerConnection* m_server = nullptr;
    quint64 m_lastNumber = 0;
    qint64 m_thereSinceMs = 0; ///< When it was first connected or served; 0 before.

    MessageJournal m_all{MessageJournal::Age::SinceItCame};       ///< For who is served.
    MessageJournal m_own{MessageJournal::Age::SinceItWasWritten}; ///< For the server.
    quint64 m_ownUnsent = 0;
    SeenMessages m_seen;
    QTimer m_forgetting;
    QString m_lastWarning;
    QElapsedTimer m_sinceWarning;

    QMutex m_mutex;
    QVector<MessageFrame> m_accepted;
    qint64 m_waitingSize = 0;
    int m_waitingCount = 0;
};

} // namespace Velquor::Util
