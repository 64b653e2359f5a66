#pragma once

#include "TestKit/LoopbackHttpServer.h"
#include "TestKit/RecordingLogger.h"
#include "TestKit/Test.h"

#include <QNetworkRequest>

namespace Velquor::TestKit {

/// What tests of exchanges share: a scripted server on loopback that says "hello" at one page, and a log.
///
/// Thread: the test's.
class NetworkFixture : public QObject {
protected:
    void startOver() {
        m_logger->clear();
        m_server.setScript(page, {answer("200 OK", "hello")});
    }
    [[nodiscard]] QNetworkRequest request(const QString& path = page) const { return QNetworkRequest(m_server.url(path)); }

    /// What an operation says of a status or a network error.
    [[nodiscard]] static QString faultText(int error, int status, const QString& phrase, const QString& vqsPhrase = {},
                                           const QString& oauth = QStringLiteral("No error")) {
        return QStringLiteral(
                   "NetworkError code: %1 Http status code: %2 Http reason phrase: %3 Vqs reason phrase: %4 OAuth error: %5")
            .arg(QString::number(error), QString::number(status), phrase, vqsPhrase, oauth);
    }

    inline static const QString page = QStringLiteral("/page");
    inline static const Script silence{{}, 0, 0, 0, false}; ///< Never answers and never closes.

    LoopbackHttpServer m_server;
    std::shared_ptr<RecordingLogger> m_logger = std::make_shared<RecordingLogger>();
};

} // namespace Velquor::TestKit
