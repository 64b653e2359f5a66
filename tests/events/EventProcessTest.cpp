// What happens in one process reaches the observers of every other process of the user, on their main thread, once.

#include "TestKit/ServiceTest.h"
#include "TestKit/Soak.h"
#include "TestKit/TokenHelper.h"

#include <QElapsedTimer>
#include <QtTest>
#include <vector>

using namespace Velquor;
using namespace Velquor::WebServices;
using TestKit::TokenHelper;

namespace {

const auto key = QStringLiteral("demo-product-0001");
constexpr int processCount = 8;
constexpr int promptMs = 1000;

} // namespace

class EventProcessTest : public TestKit::ServiceTest {
    Q_OBJECT

private slots:
    void initTestCase() { startService(); }

    void init() {
        beginAnew();
        m_fixture->notifiesProcesses = true;
        m_session = m_fixture->makeSession();
        for (int process = 0; process < processCount; ++process)
            m_helpers.push_back(std::make_unique<TokenHelper>(
                QStringList{m_fixture->folder.path(), m_fixture->keyFolder, m_service.folder(), m_service.authorityFile(), key,
                            QStringLiteral("demo-secret-0001")}));
        for (const auto& helper : m_helpers)
            QVERIFY(helper->answer().value("ready").toBool());
        // The connections of the carriers follow.
        QTest::qWait(500);
    }

    void cleanup() {
        m_helpers.clear();
        m_session.reset();
    }

    void everyProcessHearsOfASignInARefreshAndASignOut() {
        signIn(*m_session);
        QVERIFY(allHear(QStringLiteral("LoggedIn")));
        for (const auto& helper : m_helpers) {
            helper->tell(QStringLiteral("status"));
            QVERIFY(helper->answer().value("loggedIn").toBool());
        }
        QVERIFY(m_session->RefreshToken(key, true));
        QVERIFY(allHear(QStringLiteral("TokenRefreshed")));
        m_helpers.front()->tell(QStringLiteral("logout"));
        QVERIFY(m_helpers.front()->answer().value("done").toBool());
        QVERIFY(allHear(QStringLiteral("LoggedOut")));
        QVERIFY(!m_session->isLoggedIn(QString()));
        for (const auto& helper : m_helpers)
            QCOMPARE(helper->otherEvents(50), QStringList());
    }

    void theServingProcessMayDie() {
        // Whichever of them serves: two in three are killed, one after the other.
        signIn(*m_session);
        QVERIFY(allHear(QStringLiteral("LoggedIn")));
        for (int killed = 0; killed < processCount - 3; ++killed) {
            m_helpers.erase(m_helpers.begin());
            QVERIFY(m_session->RefreshToken(key, true));
            QVERIFY(allHear(QStringLiteral("TokenRefreshed")));
        }
        for (const auto& helper : m_helpers)
            QCOMPARE(helper->otherEvents(50), QStringList());
    }

private:
    bool allHear(const QString& event) {
        QElapsedTimer timer;
        timer.start();
        for (const auto& helper : m_helpers) {
            if (!helper->hears(event, qMax(0, promptMs - static_cast<int>(timer.elapsed()))))
                return false;
        }
        if (m_helpers.size() == processCount)
            TestKit::figure(QStringLiteral("%1 heard by %2 processes").arg(event).arg(m_helpers.size()), QStringLiteral("< 1 s"),
                            QStringLiteral("%1 ms").arg(timer.elapsed()));
        return true;
    }

    std::unique_ptr<LoginSession> m_session;
    std::vector<std::unique_ptr<TokenHelper>> m_helpers;
};

QTEST_GUILESS_MAIN(EventProcessTest)
#include "EventProcessTest.moc"
