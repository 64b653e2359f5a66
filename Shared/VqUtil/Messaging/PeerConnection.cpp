#include "VqUtil/Messaging/PeerConnection.h"

#include <QDeadlineTimer>

namespace Velquor::Util {

namespace {

// Bounds for the socket's buffers, so that a peer cannot make this process hold more. The rest waits in the journal, which shows
// when a peer is too slow.
constexpr qint64 readAhead = 128LL * 1024;
constexpr qint64 writeAhead = 64LL * 1024;
// How long a new client may be silent, and how long one frame may take.
constexpr int timeoutIntervalMs = 2000;

} // namespace

PeerConnection::PeerConnection(QLocalSocket* socket, quint64 number, QObject* parent)
    : QObject(parent)
    , m_socket(socket)
    , m_number(number) {
    m_socket->setParent(this);
    m_socket->setReadBufferSize(readAhead);
    m_timeout.setSingleShot(true);
    m_timeout.setInterval(timeoutIntervalMs);
    connect(&m_timeout, &QTimer::timeout, this, &PeerConnection::timeOut);
    connect(m_socket, &QLocalSocket::readyRead, this, &PeerConnection::readMore);
    connect(m_socket, &QLocalSocket::bytesWritten, this, &PeerConnection::writeMore);
    connect(m_socket, &QLocalSocket::disconnected, this, &PeerConnection::endOfStream);
    // The socket may have received data, or its end, before these signals were connected. Look from the event loop, since the
    // owner has not connected our own signals yet.
    QMetaObject::invokeMethod(
        this, [this] { m_socket->state() == QLocalSocket::ConnectedState ? readMore() : endOfStream(); }, Qt::QueuedConnection);
}

PeerConnection::~PeerConnection() {
    m_socket->disconnect(this);
}

void PeerConnection::expectHello() {
    m_timeout.start();
}

void PeerConnection::follow(MessageJournal* journal, quint64 next) {
    m_journal = journal;
    m_next = next;
    writeMore();
}

void PeerConnection::writeMore() {
    if (m_isEnded || !m_journal)
        return;
    if (m_next < m_journal->begin()) {
        end(QStringLiteral("it is too slow"));
        return;
    }
    for (; m_next < m_journal->end() && m_socket->bytesToWrite() < writeAhead; ++m_next) {
        if (m_journal->at(m_next).origin == m_number)
            continue;
        if (m_socket->state() != QLocalSocket::ConnectedState || m_socket->write(m_journal->at(m_next).frame) < 0) {
            // The socket may still hold frames from the peer, and may or may not report its end. Read them and end the
            // connection from the event loop.
            QMetaObject::invokeMethod(this, &PeerConnection::endOfStream, Qt::QueuedConnection);
            return;
        }
        m_journal->noteWritten(m_next);
    }
}

void PeerConnection::readMore() {
    if (m_isEnded)
        return;
    m_reader.add(m_socket->readAll());
    receiveFrames();
    emit HasRead();
}

void PeerConnection::receiveFrames() {
    MessageFrame frame;
    auto result = MessageFrameReader::Result::Whole;
    while (!m_isEnded && result == MessageFrameReader::Result::Whole) {
        result = m_reader.next(&frame);
        if (result == MessageFrameReader::Result::Whole) {
            m_timeout.stop();
            emit Received(this, frame);
        }
    }
    if (m_isEnded)
        return;
    if (result == MessageFrameReader::Result::Hostile)
        end(QStringLiteral("it sent what is no message"));
    else if (m_reader.isInsideFrame() && !m_timeout.isActive())
        m_timeout.start();
}

void PeerConnection::endOfStream() {
    if (m_socket->bytesAvailable() > 0)
        readMore();
    end(QString());
}

void PeerConnection::timeOut() {
    end(QStringLiteral("it did not finish its message in time"));
}

void PeerConnection::finish(int timeoutMs) {
    const QDeadlineTimer deadline(timeoutMs);
    writeMore();
    m_socket->flush();
    while (!m_isEnded && m_socket->bytesToWrite() > 0 && !deadline.hasExpired()
           && m_socket->waitForBytesWritten(static_cast<int>(deadline.remainingTime()))) {
        writeMore();
    }
}

void PeerConnection::end(const QString& reason) {
    if (m_isEnded)
        return;
    m_isEnded = true;
    m_timeout.stop();
    m_socket->abort();
    emit Ended(this, reason);
}

} // namespace Velquor::Util
