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

    inline static const QString page = QStringLiteral("/page");
    inline static const Script silence{{}, 0, 0, 0, false}; ///< Never answers and never closes.

    LoopbackHttpServer m_server;
    std::shared_ptr<RecordingLogger> m_logger = std::make_shared<RecordingLogger>();
};

} // namespace Velquor::TestKit
