#pragma once

#include <QByteArray>
#include <QIODevice>

namespace Velquor::WebServices::Internal {

/// The body of one request as a device that is rewound only after the proxy has asked for credentials. The framework repeats a
/// request by itself when the peer closes without an answer, and rewinds the body for that. This device refuses, so a request
/// with a body (also an empty one) reaches the server once, and a one-time token or nonce in it is not used twice. A request that
/// the proxy has refused has not reached the server, so its body may go again.
///
/// Thread: the request's. Owner: the reply, as its child. Errors: as of QIODevice.
class UploadBody final : public QIODevice {
    Q_OBJECT

public:
    explicit UploadBody(const QByteArray& body);

    [[nodiscard]] qint64 size() const override { return m_body.size(); }
    /// The proxy has refused the request, and it will be sent again with credentials.
    void allowRepetition();
    bool reset() override;
    bool seek(qint64 position) override;

protected:
    qint64 readData(char* data, qint64 maximalSize) override;
    qint64 writeData(const char* data, qint64 size) override;

private:
    QByteArray m_body;
    qint64 m_given = 0;
    int m_rewinds = 0;
    bool m_isRepeated = false;
};

} // namespace Velquor::WebServices::Internal
