#pragma once

#include "FakeTokenOwner.h"
#include "TestKit/LoopbackHttpServer.h"
#include "TestKit/Test.h"
#include "Tokens/TokenWorker.h"

namespace Velquor::TestKit {

constexpr int second = 1000;
constexpr int minute = 60 * second;

[[nodiscard]] inline QByteArray goodTokenReply(const QByteArray& more = {}) {
    return answer("200 OK",
                  "oauth_token=new-token&oauth_token_secret=new-secret&oauth_session_handle=new-handle&oauth_expires_in=3600"
                  "&oauth_authorization_expires_in=86400"
                      + more);
}

[[nodiscard]] inline QByteArray problemReply(const QByteArray& status, const QByteArray& problem) {
    return answer(status, {}, "xoauth_problem: " + problem + "\r\n");
}

/// A token worker on the test's own thread, its owner and a scripted server. The test sets the clock, so the next attempt is
/// known to the millisecond. Thread: the test's. Owner: the test, which derives from it.
class WorkerFixture : public QObject {
protected:
    void startOver() {
        m_fixture = std::make_unique<SessionFixture>();
        m_server = std::make_unique<LoopbackHttpServer>();
        m_owner = std::make_unique<FakeTokenOwner>(*m_fixture);
        m_flags.elsewhere.clear();
    }

    /// Where the next request goes: the scripted server, unless another address is given.
    void pointTo(const QString& address) {
        m_fixture->urls.SetUrlOverrides(WebServices::Production, {{"AccountServerUrl", address},
                                                                  {"AccessTokenEndPoint", "/access"},
                                                                  {"OAuth2AccountServerUrl", address},
                                                                  {"OAuth2AccessTokenEndPoint", "/access"}});
    }
    void play(const QByteArray& bytes, bool close = true, int delayInMsec = 0) {
        m_server->setScript("/access", {bytes, 0, delayInMsec, 0, close});
        pointTo(m_server->url({}).toString());
    }
    [[nodiscard]] int requests() const { return m_server->count("/access"); }
    [[nodiscard]] QString heldToken() const { return m_fixture->cryptor->decrypt(m_owner->held.accessToken).toText(); }

    /// The milliseconds to the next attempt of the worker; -1: there is none.
    [[nodiscard]] static int interval(const WebServices::Internal::TokenWorker& worker) {
        return timer(worker)->isActive() ? timer(worker)->interval() : -1;
    }
    /// Sets the clock to the time of the next attempt and more, and lets the timer fire.
    void fire(const WebServices::Internal::TokenWorker& worker, qint64 moreMs = 0) {
        m_owner->clock = m_owner->clock.addMSecs(interval(worker) + moreMs);
        fireTimer(worker);
    }
    static void fireTimer(const WebServices::Internal::TokenWorker& worker) {
        timer(worker)->stop();
        QVERIFY(QMetaObject::invokeMethod(timer(worker), "timeout"));
    }
    /// Until what the worker does has ended.
    static void waitForEnd(const WebServices::Internal::TokenWorker& worker) {
        QTRY_VERIFY_WITH_TIMEOUT(!worker.runState()->isBusy(), 10000);
    }

    std::unique_ptr<SessionFixture> m_fixture;
    std::unique_ptr<LoopbackHttpServer> m_server;
    std::unique_ptr<FakeTokenOwner> m_owner;
    FakeRequestFlags m_flags;

private:
    [[nodiscard]] static QTimer* timer(const WebServices::Internal::TokenWorker& worker) {
        return worker.findChild<QTimer*>(QString(), Qt::FindDirectChildrenOnly);
    }
};

} // namespace Velquor::TestKit
