#include "VqUtil/Messaging/PeerConnection.h"

#include <QDeadlineTimer>

namespace Velquor::Util {

namespace {

constexpr qint64 readAhead = 128 * 1024;
constexpr qint64 writeAhead = 64 * 1024;
// How long a newcomer may be silent, and how long one frame may take.
constexpr int patienceMs = 2000;

} // namespace

PeerConnection::PeerConnection(QLocalSocket* socket, quint64 number, QObject* parent)
    : QObject(parent)
    , m_socket(socket)
    , m_number(number) {
    m_socket->setParent(this);
    m_socket->setReadBufferSize(readAhead);
    m_patience.setSingleShot(true);
    m_patience.setInterval(patienceMs);
    connect(&m_patience, &QTimer::timeout, this, &PeerConnection::tooLate);
    connect(m_socket, &QLocalSocket::readyRead, this, &PeerConnection::readOn);
    connect(m_socket, &QLocalSocket::bytesWritten, this, &PeerConnection::writeOn);
    connect(m_socket, &QLocalSocket::disconnected, this, &PeerConnection::endOfStream);
    // What came before anybody listened, an end included, is looked at from the event loop.
    QMetaObject::invokeMethod(
        this, [this] { m_socket->state() == QLocalSocket::ConnectedState ? readOn() : endOfStream(); }, Qt::QueuedConnection);
}

PeerConnection::~PeerConnection() {
    m_socket->disconnect(this);
}

void PeerConnection::expectHello() {
    m_patience.start();
}

void PeerConnection::follow(MessageJournal* journal, quint64 next) {
    m_journal = journal;
    m_next = next;
    writeOn();
}

void PeerConnection::writeOn() {
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
            // Its end is told by the socket, with what came before it; in case it is not, from the event loop.
            QMetaObject::invokeMethod(this, &PeerConnection::endOfStream, Qt::QueuedConnection);
            return;
        }
        m_journal->noteWritten(m_next);
    }
}

void PeerConnection::readOn() {
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
            m_patience.stop();
            emit Received(this, frame);
        }
    }
    if (m_isEnded)
        return;
    if (result == MessageFrameReader::Result::Hostile)
        end(QStringLiteral("it sent what is no message"));
    else if (m_reader.isInsideFrame() && !m_patience.isActive())
        m_patience.start();
}

void PeerConnection::endOfStream() {
    if (m_socket->bytesAvailable() > 0)
        readOn();
    end(QString());
}

void PeerConnection::tooLate() {
    end(QStringLiteral("it did not finish its message in time"));
}

void PeerConnection::finish(int timeoutMs) {
    const QDeadlineTimer deadline(timeoutMs);
    writeOn();
    m_socket->flush();
    while (!m_isEnded && m_socket->bytesToWrite() > 0 && !deadline.hasExpired()
           && m_socket->waitForBytesWritten(static_cast<int>(deadline.remainingTime()))) {
        writeOn();
    }
}

void PeerConnection::end(const QString& reason) {
    if (m_isEnded)
        return;
    m_isEnded = true;
    m_patience.stop();
    m_socket->abort();
    emit Ended(this, reason);
}

} // namespace Velquor::Util
