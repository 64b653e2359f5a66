#include "TestKit/LoopbackHttpServer.h"

#include "TestKit/LoopbackListener.h"
#include "TestKit/SelfSignedCertificate.h"

#include <QDeadlineTimer>
#include <QMutexLocker>
#include <QRegularExpression>
#include <QTimer>

namespace Velquor::TestKit {

QByteArray answer(const QByteArray& status, const QByteArray& body, const QByteArray& headers) {
    return "HTTP/1.1 " + status + "\r\nContent-Length: " + QByteArray::number(body.size()) + "\r\n" + headers + "\r\n" + body;
}

LoopbackHttpServer::LoopbackHttpServer(Transport transport)
    : m_listener(std::make_unique<LoopbackListener>())
    , m_isTls(transport == Transport::SelfSignedTls) {
    if (m_isTls)
        m_listener->makeCertificate();
    m_listener->moveToThread(&m_thread);
    m_thread.start();
    QMetaObject::invokeMethod(
        m_listener.get(),
        [this] {
            m_listener->listen(QHostAddress::LocalHost);
            m_port = m_listener->serverPort();
        },
        Qt::BlockingQueuedConnection);
}

LoopbackHttpServer::~LoopbackHttpServer() {
    QObject::connect(&m_thread, &QThread::finished, m_listener.release(), &QObject::deleteLater);
    m_thread.quit();
    m_thread.wait();
}

void LoopbackHttpServer::setScript(const QString& path, const Script& script) {
    m_listener->setScript(path, script);
}

QUrl LoopbackHttpServer::url(const QString& pathAndQuery) const {
    const QString scheme = m_isTls ? QStringLiteral("https") : QStringLiteral("http");
    return QUrl(QStringLiteral("%1://127.0.0.1:%2%3").arg(scheme, QString::number(m_port), pathAndQuery));
}

QList<ReceivedRequest> LoopbackHttpServer::requests(const QString& path) const {
    return m_listener->requests(path);
}

bool LoopbackHttpServer::waitForRequest(const QString& path) const {
    const QDeadlineTimer deadline(20000);
    while (requests(path).isEmpty() && !deadline.hasExpired())
        QThread::msleep(2);
    return !requests(path).isEmpty();
}

QSslCertificate LoopbackHttpServer::certificate() const {
    return m_listener->certificate();
}

void LoopbackListener::makeCertificate() {
    const SelfSignedCertificate made = makeSelfSignedCertificate();
    m_certificate = made.certificate;
    m_key = made.key;
}

void LoopbackListener::setScript(const QString& path, const Script& script) {
    const QMutexLocker lock(&m_mutex);
    m_scripts.insert(path, script);
}

QList<ReceivedRequest> LoopbackListener::requests(const QString& path) const {
    const QMutexLocker lock(&m_mutex);
    QList<ReceivedRequest> found;
    for (const ReceivedRequest& request : m_requests) {
        if (request.path == path.toUtf8())
            found += request;
    }
    return found;
}

void LoopbackListener::incomingConnection(qintptr handle) {
    auto* socket = new QSslSocket(this);
    socket->setSocketDescriptor(handle);
    connect(socket, &QSslSocket::readyRead, this, [this, socket] { read(socket); });
    connect(socket, &QSslSocket::disconnected, this, [this, socket] {
        m_received.remove(socket);
        socket->deleteLater();
    });
    if (!m_certificate.isNull()) {
        socket->setLocalCertificate(m_certificate);
        socket->setPrivateKey(m_key);
        socket->startServerEncryption();
    }
}

void LoopbackListener::read(QSslSocket* socket) {
    static const QRegularExpression length("content-length: *(\\d+)", QRegularExpression::CaseInsensitiveOption);
    QByteArray& received = m_received[socket];
    received += socket->readAll();
    const int headEnd = received.indexOf("\r\n\r\n");
    if (headEnd < 0)
        return;
    const QByteArray head = received.left(headEnd);
    const int bodyLength = length.match(QString::fromLatin1(head)).captured(1).toInt();
    if (received.size() < headEnd + 4 + bodyLength)
        return;
    const QList<QByteArray> words = head.left(head.indexOf("\r\n")).split(' ');
    const QByteArray target = words.value(1);
    const QByteArray path = target.split('?').value(0);
    Script script;
    script.bytes = answer("404 Not Found", QByteArray());
    {
        const QMutexLocker lock(&m_mutex);
        m_requests.append({words.value(0), path, head, received.mid(headEnd + 4, bodyLength), socket->peerPort()});
        script = m_scripts.value(QString::fromUtf8(path), script);
    }
    if (!script.challenge.isEmpty() && !head.toLower().contains("\nproxy-authorization:"))
        script.bytes = script.challenge;
    received.clear();
    QTimer::singleShot(script.delayInMsec, socket, [this, socket, script] { play(socket, script); });
}

void LoopbackListener::play(QSslSocket* socket, const Script& script) {
    if (script.dripInMsec > 0) {
        socket->write(script.bytes.left(script.dripFrom));
        drip(socket, script, script.dripFrom);
        return;
    }
    socket->write(script.bytes);
    if (script.filler > 0)
        socket->write(QByteArray(int(script.filler), 'x'));
    if (script.close)
        QTimer::singleShot(script.openForInMsec, socket, [socket] { socket->disconnectFromHost(); });
}

void LoopbackListener::drip(QSslSocket* socket, const Script& script, int position) {
    if (position < script.bytes.size()) {
        socket->write(script.bytes.mid(position, 1));
        QTimer::singleShot(script.dripInMsec, socket, [this, socket, script, position] { drip(socket, script, position + 1); });
    } else if (script.close) {
        socket->disconnectFromHost();
    }
}

} // namespace Velquor::TestKit
