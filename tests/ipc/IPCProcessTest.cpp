#include "TestKit/IpcHelper.h"
#include "TestKit/RecordingLogger.h"
#include "TestKit/Test.h"
#include "TestKit/WaitFor.h"
#include "VqUtil/Messaging/IPCManager.h"

using namespace Velquor;
using TestKit::IpcHelper;
using TestKit::rounds;

namespace {

constexpr int patienceMs = 20000;
// A manager that restarts at once would become the server again.
constexpr int handOverMs = 200;

} // namespace

/// Messages between processes, of which the one that serves is killed.
class IPCProcessTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { qputenv("XDG_RUNTIME_DIR", QFile::encodeName(m_folder.path())); }

    void init() {
        m_name = QStringLiteral("Vq") + QUuid::createUuid().toString(QUuid::Id128);
        m_manager = std::make_unique<Util::IPCManager>(std::make_shared<TestKit::RecordingLogger>());
    }

    void cleanup() {
        m_listeners.clear();
        m_manager.reset();
    }

    // A message that is sent at the moment of the kill reaches every living process within a second.
    void aMessageSurvivesEachKillOfTheServingProcess() {
        const int cycles = rounds(10, 100);
        qint64 longestMs = 0;
        QVERIFY(startListeners(4));
        for (int cycle = 0; cycle < cycles; ++cycle) {
            QVERIFY(meet());
            const auto serving = servingListener();
            QVERIFY(serving != m_listeners.end());
            QTest::qWait(cycle % 7);
            (*serving)->kill();
            const TestKit::Stopwatch timer;
            const int number = m_next;
            QVERIFY(sendProbe());
            m_listeners.erase(serving);
            for (const auto& listener : m_listeners)
                QVERIFY(TestKit::waitFor([&] { return listener->numbers("test").count(number) == 1; }, patienceMs));
            longestMs = std::max(longestMs, timer.elapsed());
            m_listeners.push_back(run("listen"));
        }
        TestKit::figure(QStringLiteral("a message after the serving process was killed, longest of %1").arg(cycles), "< 1 s",
                        QStringLiteral("%1 ms").arg(longestMs));
        QVERIFY(!TestKit::isSoak() || longestMs < 1000);
    }

    // Senders that live lose nothing, and listeners that live receive everything once and in order.
    void messagesSurviveTheDeathOfTheServingProcess() {
        const QByteArrayList names{"A", "B", "C", "D"};
        const int count = rounds(1000, 10000);
        QVERIFY(startListeners(4));
        const auto serving = servingListener();
        QVERIFY(serving != m_listeners.end());
        std::vector<std::unique_ptr<IpcHelper>> senders;
        for (const QByteArray& from : names)
            senders.push_back(run("send", QLatin1String(from), count));
        for (const auto& sender : senders)
            sender->tell();
        QTest::qWait(100);
        m_listeners.erase(serving);
        const auto isDone = [](const auto& sender) { return sender->hasSent() && !sender->wasRefused(); };
        QVERIFY(TestKit::waitFor([&] { return std::all_of(senders.cbegin(), senders.cend(), isDone); }, 2 * patienceMs));
        for (const auto& listener : m_listeners) {
            for (const QByteArray& from : names) {
                QVERIFY(TestKit::waitFor([&] { return listener->numbers(from).size() >= count; }, 2 * patienceMs));
                const QVector<int> numbers = listener->numbers(from);
                QCOMPARE(numbers.size(), count);
                for (int number = 0; number < count; ++number)
                    QCOMPARE(numbers.at(number), number);
            }
        }
    }

    // The process that serves does not come back to its event loop for a while: the others hear each other all the same.
    void aBusyServingProcessDelaysNobody() {
        constexpr int count = 100;
        QVERIFY(m_manager->start(m_name, m_folder.path()));
        QTRY_VERIFY_WITH_TIMEOUT(m_manager->isServing(), patienceMs);
        m_listeners.push_back(run("listen"));
        const auto sender = run("send", "A", count);
        QVERIFY(sender->waitForStarted(patienceMs));
        QVERIFY(meet());
        sender->tell();
        QThread::sleep(2);
        while (m_listeners.front()->numbers("A").size() < count)
            QVERIFY(m_listeners.front()->waitForReadyRead(patienceMs));
        for (const IpcHelper::Heard& heard : m_listeners.front()->heard())
            QVERIFY2(!TestKit::isSoak() || heard.from != "A" || heard.ageUs < 1000000, qPrintable(QString::number(heard.ageUs)));
    }

private:
    [[nodiscard]] std::unique_ptr<IpcHelper> run(const QString& command, const QString& from = {}, int count = 0) const {
        return std::make_unique<IpcHelper>(QStringList{command, m_name, m_folder.path(), from, QString::number(count)});
    }
    [[nodiscard]] bool sendProbe() { return m_manager->send("Probe", {{"From", "test"}, {"Number", m_next++}}); }
    /// True once each listener has heard a probe from now on.
    [[nodiscard]] bool meet() {
        const int first = m_next;
        const auto hasHeard = [first](const auto& listener) {
            return !listener->heard().isEmpty() && listener->heard().last().number >= first;
        };
        for (int attempt = 0; attempt < patienceMs / 20; ++attempt) {
            if (!sendProbe())
                return false;
            if (TestKit::waitFor([&] { return std::all_of(m_listeners.cbegin(), m_listeners.cend(), hasHeard); }, 20))
                return true;
        }
        return false;
    }

    [[nodiscard]] bool startListeners(int count) {
        while (static_cast<int>(m_listeners.size()) < count)
            m_listeners.push_back(run("listen"));
        return m_manager->start(m_name, m_folder.path()) && meet();
    }

    /// The listener that serves; sees to it that one does.
    [[nodiscard]] std::vector<std::unique_ptr<IpcHelper>>::iterator servingListener() {
        const auto isServing = [](const auto& listener) { return listener->isServing(); };
        for (int attempt = 0; attempt < 10; ++attempt) {
            const auto found = std::find_if(m_listeners.begin(), m_listeners.end(), isServing);
            if (found != m_listeners.end())
                return found;
            m_manager->stop();
            QTest::qWait(handOverMs);
            if (!m_manager->start(m_name, m_folder.path()) || !meet())
                break;
        }
        return m_listeners.end();
    }

    QTemporaryDir m_folder;
    QString m_name;
    std::unique_ptr<Util::IPCManager> m_manager;
    std::vector<std::unique_ptr<IpcHelper>> m_listeners;
    int m_next = 0;
};

QTEST_GUILESS_MAIN(IPCProcessTest)
#include "IPCProcessTest.moc"
