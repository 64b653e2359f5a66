#pragma once

#include "TestKit/LoopbackHttpServer.h"

#include <QSslSocket>
#include <QTcpServer>

namespace Velquor::TestKit {

/// The listening half of LoopbackHttpServer. Thread: the server's; the operations with a lock from any.
class LoopbackListener final : public QTcpServer {
public:
    void makeCertificate();
    void setScript(const QString& path, const Script& script);
    [[nodiscard]] QList<ReceivedRequest> requests(const QString& path) const;
    [[nodiscard]] QSslCertificate certificate() const { return m_certificate; }

protected:
    void incomingConnection(qintptr handle) override;

private:
    void read(QSslSocket* socket);
    void play(QSslSocket* socket, const Script& script);
    void drip(QSslSocket* socket, const Script& script, int position);

    mutable QMutex m_mutex;
    QHash<QString, Script> m_scripts;
    QList<ReceivedRequest> m_requests;
    QHash<QSslSocket*, QByteArray> m_received;
    QSslCertificate m_certificate;
    QSslKey m_key;
};

} // namespace Velquor::TestKit
