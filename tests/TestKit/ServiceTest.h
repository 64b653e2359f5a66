#pragma once

#include "TestKit/AccountServiceProcess.h"
#include "TestKit/SessionFixture.h"

#include <QtTest>
#include <memory>

namespace Velquor::TestKit {

/// What tests of a session against the account service share: the service, the folders of one user, and a sign-in.
///
/// Thread: the test's. Owner: the test, which derives from it and keeps its sessions behind what is here.
class ServiceTest : public QObject {
protected:
    void startService(const QStringList& options = {}) {
        QVERIFY(m_service.start(options));
        WebServices::Internal::SupportFiles::setSearchPaths(m_service.folder());
    }

    /// A service that has seen nobody yet, and a user who has no files.
    void beginAnew() {
        QVERIFY(m_service.reset());
        m_fixture = std::make_unique<SessionFixture>();
    }

    /// Restores the session, and signs the user in with the product of this key.
    void signIn(WebServices::Internal::LoginSession& session, const QString& key = QStringLiteral("demo-product-0001"),
                const QString& user = QStringLiteral("ada")) {
        session.RestoreLogin(key, false);
        const WebServices::Internal::InitiatedLogin login = session.InitiateLogin(key, QString());
        QCOMPARE(login.code, WebServices::Internal::LoginCode::success);
        QVERIFY(m_service.approve(login.url, user));
        QCOMPARE(session.CompleteLogin(key, nullptr), WebServices::Internal::LoginCode::success);
    }

    AccountServiceProcess m_service;
    std::unique_ptr<SessionFixture> m_fixture;
};

} // namespace Velquor::TestKit
