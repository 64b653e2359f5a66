#include "TestKit/ProxyProcess.h"

#include <QDeadlineTimer>
#include <QFile>
#include <QTcpServer>
#include <QTcpSocket>

namespace Velquor::TestKit {

namespace {

constexpr int timeoutMs = 20000;

quint16 freePort() {
    QTcpServer server;
    return server.listen(QHostAddress::LocalHost) ? server.serverPort() : quint16(0);
}

bool isListening(quint16 port) {
    QTcpSocket socket;
    socket.setProxy(QNetworkProxy::NoProxy);
    socket.connectToHost(QHostAddress(QHostAddress::LocalHost), port);
    return socket.waitForConnected(500);
}

} // namespace

bool ProxyProcess::start() {
    // Another program may take a port between the moment it was found free and its use.
    for (int attempt = 0; attempt < 3 && m_port == 0; ++attempt) {
        const quint16 port = freePort();
        if (startOn(port))
            m_port = port;
    }
    return m_port != 0;
}

bool ProxyProcess::startOn(quint16 port) {
    const QString path = m_folder.filePath("tinyproxy.conf");
    const QString log = OutsideProgram::pathFor(m_folder.filePath("tinyproxy.log"));
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return false;
    file.write(QStringLiteral("Port %1\nListen 127.0.0.1\nAllow 127.0.0.1\nTimeout 30\nMaxClients 50\nBasicAuth %2 %3\n"
                              "LogLevel Info\nLogFile \"%4\"\n")
                   .arg(QString::number(port), user(), password(), log)
                   .toUtf8());
    file.close();
    m_program = std::make_unique<OutsideProgram>();
    if (!m_program->start("tinyproxy", {"-d", "-c", OutsideProgram::pathFor(path)}))
        return false;
    const QDeadlineTimer deadline(timeoutMs);
    bool isReady = false;
    while (!isReady && !deadline.hasExpired() && !m_program->waitForFinished(20))
        isReady = isListening(port);
    return isReady;
}

int ProxyProcess::logged(const QByteArray& text) const {
    QFile file(m_folder.filePath("tinyproxy.log"));
    return file.open(QIODevice::ReadOnly) ? file.readAll().count(text) : -1;
}

} // namespace Velquor::TestKit
