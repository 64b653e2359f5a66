#pragma once

#include "VqUtil/Messaging/MessageFrame.h"
#include "VqUtil/Messaging/MessageJournal.h"

#include <QLocalSocket>
#include <QObject>
#include <QTimer>

namespace Velquor::Util {

/// One connection of the messaging. It cuts the received bytes into frames and writes the frames of a journal as fast as the peer
/// reads them.
///
/// Thread: the broker's. Owner: the broker. Errors: `Ended`, once, with the reason; no signal follows it.
class PeerConnection : public QObject {
    Q_OBJECT

public:
    /// Takes ownership of the connected socket.
    PeerConnection(QLocalSocket* socket, quint64 number, QObject* parent);
    ~PeerConnection() override;

    [[nodiscard]] quint64 number() const { return m_number; }
    /// True when it writes the messages of a journal: a client after its hello, or the server.
    [[nodiscard]] bool isFollowing() const { return m_journal != nullptr; }
    [[nodiscard]] quint64 nextToWrite() const { return m_next; }

    void expectHello();
    void send(const QByteArray& frame) { m_socket->write(frame); }
    /// Writes the entries from `next` on, except those that came from this peer.
    void follow(MessageJournal* journal, quint64 next);
    /// Writes what the socket can buffer now. Ends the connection when the peer is so slow that it would miss a message.
    void writeMore();
    /// Writes the rest to the socket, waiting at most `timeoutMs`.
    void finish(int timeoutMs);
    void end(const QString& reason);

signals:
    void Received(Velquor::Util::PeerConnection* peer, const Velquor::Util::MessageFrame& frame);
    /// Emitted after all frames of one read.
    void HasRead();
    void Ended(Velquor::Util::PeerConnection* peer, const QString& reason);

private:
    void readMore();
    void receiveFrames();
    void endOfStream();
    void timeOut();

    QLocalSocket* const m_socket;
    const quint64 m_number;
    MessageFrameReader m_reader;
    MessageJournal* m_journal = nullptr;
    quint64 m_next = 0;
    QTimer m_timeout;
    bool m_isEnded = false;
};

} // namespace Velquor::Util
