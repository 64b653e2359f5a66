// What happens in one process reaches the observers of every other process of the user, on their main thread, once.

#include "Events/NotificationManager.h"
#include "TestKit/RecordingObserver.h"
#include "TestKit/ServiceTest.h"
#include "TestKit/TokenHelper.h"

using namespace Velquor;
using namespace Velquor::WebServices;
using namespace Velquor::WebServices::Internal;
using TestKit::TokenHelper;

namespace {

constexpr int processCount = 8;
// In the long form, which runs alone.
constexpr int promptMs = 1000;
constexpr int limitMs = 20000;

} // namespace

class EventProcessTest : public TestKit::ServiceTest {
    Q_OBJECT

private slots:
    void initTestCase() {
        // No process of another test shall serve.
        qputenv("XDG_RUNTIME_DIR", QFile::encodeName(m_runtime.path()));
        startService();
    }

    void init() {
        startOver();
        m_fixture->notifiesProcesses = true;
        // The first one alone, so that it serves.
        QVERIFY(startHelpers(1));
        QVERIFY(startHelpers(processCount));
        m_session = m_fixture->makeSession();
        // The connections of the carriers follow.
        QTest::qWait(500);
    }

    void cleanup() {
        m_helpers.clear();
        m_session.reset();
        m_observers.clear();
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

    // It holds up the observers behind it in its own process, and nobody else.
    void anObserverThatBlocks() {
        bool othersHeard = false;
        int later = 0;
        observe([&] {
            othersHeard = allHear(QStringLiteral("LoggedIn"));
            QTest::qSleep(TestKit::rounds(500, 10000));
        });
        observe([&] { ++later; });
        signIn(*m_session);
        QVERIFY(othersHeard);
        QCOMPARE(later, 1);
        m_helpers.front()->tell(QStringLiteral("logout"));
        QVERIFY(m_helpers.front()->answer().value("done").toBool());
        QVERIFY(allHear(QStringLiteral("LoggedOut")));
    }

    // A scanner has it open, and on some systems it cannot be replaced meanwhile. The messages go on.
    void anEventFileInUseKeepsNobodyWaiting() {
        signIn(*m_session);
        QVERIFY(allHear(QStringLiteral("LoggedIn")));
        QFile inUse(m_fixture->folder.filePath(QStringLiteral("Event.xml")));
        QTRY_VERIFY(inUse.exists());
        QVERIFY(inUse.open(QIODevice::ReadOnly));
        for (int round = 0; round < 3; ++round) {
            QVERIFY(m_session->RefreshToken(key, true));
            QVERIFY(allHear(QStringLiteral("TokenRefreshed")));
            QTest::qWait(5 * NotificationManager::fileDelayMs);
        }
    }

private:
    bool startHelpers(int count) {
        const size_t known = m_helpers.size();
        while (static_cast<int>(m_helpers.size()) < count)
            m_helpers.push_back(std::make_unique<TokenHelper>(*m_fixture, m_service));
        for (size_t index = known; index < m_helpers.size(); ++index) {
            if (!m_helpers.at(index)->answer().value("ready").toBool())
                return false;
        }
        QTest::qWait(300);
        return true;
    }

    void observe(std::function<void()> work) {
        m_observers.push_back(std::make_unique<TestKit::RecordingObserver<>>());
        TestKit::RecordingObserver<>* const observer = m_observers.back().get();
        observer->reaction = [observer, work = std::move(work)] {
            if (observer->heard.last() == "LoggedIn")
                work();
        };
        m_session->observers().add(observer);
    }

    // Looks at all of them in turn: a long wait for one would say of the others when it ended, and not when they were told.
    bool allHear(const QString& event) {
        QElapsedTimer timer;
        timer.start();
        std::vector<TokenHelper*> waiting;
        for (const auto& helper : m_helpers)
            waiting.push_back(helper.get());
        const auto hasHeard = [&](TokenHelper* helper) { return helper->hears(event, 1); };
        while (!waiting.empty() && !timer.hasExpired(limitMs))
            waiting.erase(std::remove_if(waiting.begin(), waiting.end(), hasHeard), waiting.end());
        const qint64 elapsed = timer.elapsed();
        if (m_helpers.size() == processCount)
            TestKit::figure(QStringLiteral("%1 heard by %2 processes").arg(event).arg(m_helpers.size()), QStringLiteral("< 1 s"),
                            QStringLiteral("%1 ms").arg(elapsed));
        return waiting.empty() && (!TestKit::isSoak() || elapsed < promptMs);
    }

    QTemporaryDir m_runtime;
    TestKit::SessionUnderTest m_session;
    std::vector<std::unique_ptr<TokenHelper>> m_helpers;
    std::vector<std::unique_ptr<TestKit::RecordingObserver<>>> m_observers;
};

QTEST_GUILESS_MAIN(EventProcessTest)
#include "EventProcessTest.moc"
