#pragma once

#include "VqLog/ILogger.h"

#include <QNetworkAccessManager>
#include <memory>

namespace Velquor::WebServices {

/// The network access of one operation, with what holds for every exchange of the library: redirects are reported and
/// not followed (a signed request must not carry its credentials elsewhere), replies are not compressed (a small reply
/// could unpack to any size), network interfaces are not polled.
///
/// Thread: that of the operation. Owner: the operation. Errors: those of the replies.
class NetworkAccessManager final : public QNetworkAccessManager {
    Q_OBJECT

public:
    explicit NetworkAccessManager(std::shared_ptr<Log::ILogger> logger, QObject* parent = nullptr);

protected:
    QNetworkReply* createRequest(Operation operation, const QNetworkRequest& request, QIODevice* body) override;

private:
    std::shared_ptr<Log::ILogger> m_logger;
};

} // namespace Velquor::WebServices
