#pragma once

#include <QNetworkReply>

namespace Velquor::WebServices::Internal {

/// What an exchange had received when it was ended before its time: request, status, headers and error, without a body.
///
/// The framework's own thread may be busy with the real reply until that is destroyed, so only this copy may change its thread.
/// Thread: the reply's; after that any. Owner: the caller.
class EndedReply final : public QNetworkReply {
public:
    /// Copies from a reply that has been aborted.
    explicit EndedReply(const QNetworkReply& reply);

    void abort() override {}

protected:
    qint64 readData(char* data, qint64 maxSize) override;
};

} // namespace Velquor::WebServices::Internal
