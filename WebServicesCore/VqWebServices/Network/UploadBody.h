#pragma once

#include <QByteArray>
#include <QIODevice>

namespace Velquor::WebServices::Internal {

/// The body of one request as a device that cannot be rewound. The framework repeats a request by itself when the peer closes
/// without an answer, and rewinds the body for that. This device refuses, so a request with a body (also an empty one) is sent
/// once, and a one-time token or nonce in it is not used twice.
///
/// Thread: the request's. Owner: the reply, as its child. Errors: as of QIODevice.
class UploadBody final : public QIODevice {
    Q_OBJECT

public:
    explicit UploadBody(const QByteArray& body);

    [[nodiscard]] qint64 size() const override { return m_body.size(); }
    bool reset() override { return false; }
    bool seek(qint64 position) override;

protected:
    qint64 readData(char* data, qint64 maximalSize) override;
    qint64 writeData(const char* data, qint64 size) override;

private:
    QByteArray m_body;
    qint64 m_given = 0;
};

} // namespace Velquor::WebServices::Internal
