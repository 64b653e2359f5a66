#pragma once

#include "VqUtil/Messaging/MessageFrame.h"
#include "VqUtil/Messaging/MessageJournal.h"

#include <QLocalSocket>
#include <QObject>
#include <QTimer>

namespace Velquor::Util {

/// One connection of the messaging: cuts what comes into frames, and writes what a journal holds as fast as the other end takes
/// it.
///
/// Thread: the hub's. Owner: the hub. Errors: `Ended`, once, with the reason; nothing comes after it.
class PeerConnection : public QObject {
    Q_OBJECT

public:
    /// Takes the socket over, which is connected.
    PeerConnection(QLocalSocket* socket, quint64 number, QObject* parent);
    ~PeerConnection() override;

    [[nodiscard]] quint64 number() const { return m_number; }
    /// Whether it has said hello and is told messages.
    [[nodiscard]] bool isFollowing() const { return m_journal != nullptr; }
    [[nodiscard]] quint64 nextToWrite() const { return m_next; }

    void expectHello();
    void send(const QByteArray& frame) { m_socket->write(frame); }
    /// Writes the entries from `next` on that did not come from here.
    void follow(MessageJournal* journal, quint64 next);
    /// Writes as much as the other end can take now. Ends the connection when it has fallen so far behind that it would miss
    /// something.
    void writeOn();
    /// Hands what is still to be written to the system, waiting at most `timeoutMs`.
    void finish(int timeoutMs);
    void end(const QString& reason);

signals:
    void Received(Velquor::Util::PeerConnection* peer, const Velquor::Util::MessageFrame& frame);
    /// Follows what was received together.
    void HasRead();
    void Ended(Velquor::Util::PeerConnection* peer, const QString& reason);

private:
    void readOn();
    void receiveFrames();
    void endOfStream();
    void tooLate();

    QLocalSocket* const m_socket;
    const quint64 m_number;
    MessageFrameReader m_reader;
    MessageJournal* m_journal = nullptr;
    quint64 m_next = 0;
    QTimer m_patience;
    bool m_isEnded = false;
};

} // namespace Velquor::Util
