#include "TestKit/ServiceTest.h"

namespace Velquor::TestKit {

using namespace WebServices;
using namespace WebServices::Internal;

void ServiceTest::cleanup() {
    m_session.reset();
    m_fixture.reset();
}

void ServiceTest::startService(const QStringList& options) {
    QVERIFY(m_service.start(options));
    SupportFiles::setSearchPaths(m_service.folder());
}

void ServiceTest::startOver() {
    QVERIFY(m_service.reset());
    m_fixture = std::make_unique<SessionFixture>();
}

void ServiceTest::signIn(LoginSession& session, const QString& productKey, const QString& user) {
    session.RestoreLogin(productKey, false);
    signInAgain(session, productKey, user);
}

void ServiceTest::signInAgain(LoginSession& session, const QString& productKey, const QString& user) {
    const InitiatedLogin login = session.InitiateLogin(productKey, QString());
    QCOMPARE(login.code, LoginCode::success);
    QVERIFY(m_service.approve(login.url, user));
    QCOMPARE(session.CompleteLogin(productKey, nullptr), LoginCode::success);
}

bool ServiceTest::signOut(LoginSession& session, const QString& productKey) {
    QNetworkReply::NetworkError error = QNetworkReply::NoError;
    return session.Logout(productKey, error, true);
}

QString ServiceTest::accessToken(LoginSession& session, const QString& productKey) {
    Util::SecretBytes token;
    Util::SecretBytes secret;
    return session.GetAccessToken(productKey, false, token, secret) ? token.toText() : QString();
}

void ServiceTest::delay(const QString& endPoint, int milliseconds, int count) {
    QVERIFY(m_service.addFault(endPoint, "delay", {{"delay_ms", milliseconds}}, count));
}

} // namespace Velquor::TestKit
