#pragma once

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QMutex>
#include <QSslCertificate>
#include <QSslKey>
#include <QString>
#include <QThread>
#include <QUrl>
#include <memory>

namespace Velquor::TestKit {

/// What the server does with every request for one path.
struct Script {
    QByteArray bytes;          ///< sent as it is; empty: nothing is sent
    qint64 filler = 0;         ///< that many bytes 'x' after it
    int delayInMsec = 0;       ///< before the first byte
    int dripInMsec = 0;        ///< between single bytes; 0: all at once
    bool close = true;         ///< close afterwards
    int dripFrom = 0;          ///< so many bytes go at once before the dripping
    int openForInMsec = 0;     ///< between the last byte and the close
    QByteArray challenge = {}; ///< sent instead to a request without credentials for a proxy; empty: no difference
};

struct ReceivedRequest {
    QByteArray verb;
    QByteArray path;
    QByteArray head;
    QByteArray body;
    quint16 connection = 0; ///< the client's port
};

/// A whole answer with status line, length and body; `headers` are lines that end in CR LF.
[[nodiscard]] QByteArray answer(const QByteArray& status, const QByteArray& body, const QByteArray& headers = {});

class LoopbackListener;

/// A scripted HTTP server on a free loopback port, on a thread of its own, so that it answers (or does not) whatever
/// the tested thread does. Paths without a script get 404. Thread: all operations from any thread.
class LoopbackHttpServer final {
public:
    enum class Transport { Plain, SelfSignedTls };

    explicit LoopbackHttpServer(Transport transport = Transport::Plain);
    ~LoopbackHttpServer();
    Q_DISABLE_COPY_MOVE(LoopbackHttpServer)

    void setScript(const QString& path, const Script& script);
    [[nodiscard]] QUrl url(const QString& pathAndQuery) const;
    [[nodiscard]] QList<ReceivedRequest> requests(const QString& path) const;
    [[nodiscard]] int count(const QString& path) const { return requests(path).size(); }
    /// Waits until the path has been asked for; false after 5 s.
    [[nodiscard]] bool waitForRequest(const QString& path) const;
    [[nodiscard]] QSslCertificate certificate() const;

private:
    std::unique_ptr<LoopbackListener> m_listener;
    QThread m_thread;
    bool m_isTls = false;
    quint16 m_port = 0;
};

} // namespace Velquor::TestKit
