// What a sign-in, a refresh and an automatic sign-in report of each fault of the account service, and what they leave behind.

#include "TestKit/ServiceTest.h"

using namespace Velquor;
using namespace Velquor::WebServices;
using namespace Velquor::WebServices::Internal;

class SignInFaultTest : public TestKit::ServiceTest {
    Q_OBJECT

private slots:
    void init() {
        startOver();
        m_session = m_fixture->makeSession();
    }

    void aFailedRequestTokenIsReportedAndLeavesASecondTry() {
        const TestKit::Rows row(
            this, [&](const QString& kind, const QJsonObject& details, LoginErrorEx error, const QString& logged) {
                if (kind == "delay")
                    m_fixture->exchangeTimeoutMs = 2000;
                m_session = m_fixture->restoredSession();
                // Qt repeats a GET whose connection was closed, so a dropped connection has to be dropped each time.
                QVERIFY(m_service.addFault("request-token", kind, details, -1));
                const InitiatedLogin login = m_session->InitiateLogin(key, QString());
                QCOMPARE(login.code, LoginCode::exchangeFailed);
                QVERIFY(login.url.isEmpty());
                QVERIFY2(m_fixture->hasLogged(logged), qPrintable(m_fixture->logger->texts(Log::Level::Error).join('\n')));
                QCOMPARE(login.error, error);
                // An answer is logged whole.
                QCOMPARE(m_fixture->logger->texts(Log::Level::Error).join('\n').contains("\n\nResponse:\n"),
                         login.error != LoginErrorEx::NoReply);
                QVERIFY(m_service.reset());
                signIn(*m_session);
                QVERIFY(m_session->isLoggedIn(key));
            });
        row("closes early", "drop", {}, LoginErrorEx::NoReply, "Failed to initiate login. Http error: 0. Network error: 2");
        row("HTML", "html", {}, LoginErrorEx::InvalidReply,
            "server didn't return the following parameter(s): Request token, Request token secret, Client id");
        row("garbage", "garbage", {}, LoginErrorEx::InvalidReply,
            "didn't return the following parameter(s): Request token, Request token secret, Client id");
        row("no secret", "missing", {{"parameters", QJsonArray{"oauth_token_secret"}}}, LoginErrorEx::InvalidReply,
            "parameter(s): Request token secret. Session dump: ");
        row("no client id", "missing", {{"parameters", QJsonArray{"x_oauth_client_identifier"}}}, LoginErrorEx::InvalidReply,
            "server didn't return client id. This will happen if the consumer key is legacy key.");
        row("error 500", "status", {{"status", 500}}, LoginErrorEx::Refused,
            "Failed to initiate login. Http error: 500 Internal Server Error");
        row("a problem", "problem", {{"problem", "consumer_key_rejected"}}, LoginErrorEx::Refused, "consumer_key_rejected");
        row("a redirect", "redirect", {{"location", "https://example.com/"}}, LoginErrorEx::Refused,
            "Failed to initiate login. Http error: 302 Found");
        row("a wrong clock", "problem", {{"problem", "message_expired"}}, LoginErrorEx::WrongSystemTime,
            "System time or time zone setting in the system is incorrect.");
        row("cut short", "truncate", {{"keep_bytes", 10}}, LoginErrorEx::Refused, "Failed to initiate login. ");
        row("too late", "delay", {{"delay_ms", 60000}}, LoginErrorEx::NoReply,
            "Failed to initiate login. Operation was canceled. Timed out.");
    }

    // A support engineer has the log alone.
    void theLogHasTheReasonOfEachFaultOfATokenRequest() {
        const TestKit::Rows row(this, [&](const QString& kind, const QJsonObject& details, const QString& reason) {
            if (kind == "delay")
                m_fixture->exchangeTimeoutMs = m_fixture->tokenTimeoutMs = 2000;
            m_session = m_fixture->makeSession();
            m_session->RestoreLogin(key, false);
            const InitiatedLogin login = m_session->InitiateLogin(key, QString());
            QVERIFY(m_service.approve(login.url));
            spoil(kind, details);
            const QByteArray before = m_fixture->fileContents();
            QCOMPARE(m_session->CompleteLogin(key, nullptr), LoginCode::exchangeFailed);
            QVERIFY(!m_session->isLoggedIn(QString()));
            QCOMPARE(m_fixture->fileContents(), before);
            QVERIFY2(m_fixture->hasLogged("Failed to complete login"), qPrintable(faults()));
            QTRY_VERIFY2(faults().contains(reason), qPrintable(faults()));

            QVERIFY(m_service.reset());
            signIn(*m_session);
            spoil(kind, details);
            QVERIFY(!m_session->RefreshToken(key, true));
            QTRY_VERIFY2(faults().contains(reason), qPrintable(faults()));

            const auto other = m_fixture->makeSession(TestKit::secondKey, TestKit::secondSecret);
            m_fixture->logger->clear();
            other->RestoreLogin(TestKit::secondKey, false);
            QTRY_VERIFY2(m_fixture->hasLogged("Failed to query token"), qPrintable(faults()));
            QTRY_VERIFY2(faults().contains(reason), qPrintable(faults()));
        });
        row("closes early", "drop", {}, "Connection closed");
        row("cut short", "truncate", {{"keep_bytes", 10}}, "Http error: 200 OK. Network error: 2 Connection closed");
        row("garbage", "garbage", {}, "ContentType: application/octet-stream");
        row("HTML", "html", {}, "ContentType: text/html");
        row("no session handle", "missing", {{"parameters", QJsonArray{"oauth_session_handle"}}},
            "The account server's reply has no usable oauth_session_handle.");
        row("no expiry", "missing", {{"parameters", QJsonArray{"oauth_expires_in"}}},
            "The account server's reply has no usable oauth_expires_in.");
        row("error 503", "status", {{"status", 503}}, "Http error: 503 Service Unavailable");
        row("refused", "problem", {{"problem", "token_rejected"}, {"additional_error_info", "asked too often"}},
            "OAuth problem: token_rejected. Additional error info: asked too often");
        row("a redirect", "redirect", {{"location", "https://example.com/"}}, "Http error: 302 Found");
        row("a wrong clock", "clock", {{"offset_seconds", 7200}},
            "OAuth problem: message_expired. Additional error info: window_is_300_seconds");
        row("too late", "delay", {{"delay_ms", 60000}}, "Operation was canceled. Timed out.");
    }

private:
    void spoil(const QString& kind, const QJsonObject& details) {
        QVERIFY(m_service.addFault("access-token", kind, details, -1));
        m_fixture->logger->clear();
    }

    QString faults() const {
        const TestKit::RecordingLogger& logger = *m_fixture->logger;
        return (logger.texts(Log::Level::Error) + logger.texts(Log::Level::Warning)).join('\n');
    }
};

QTEST_GUILESS_MAIN(SignInFaultTest)
#include "SignInFaultTest.moc"
