#include "VqUtil/ProcessState/ProcessState.h"
#include "TestKit/RecordingLogger.h"
#include "TestKit/Test.h"
#include "VqUtil/ProcessState/ProcessStateCodec.h"

using namespace Velquor;
using namespace Velquor::Util;

namespace {

/// The memory that the fake blocks of one test share.
struct FakeMemory {
    QByteArray bytes; ///< Empty: nobody has created it.
    bool canBeCreated = true;
    int othersCreateFirst = 0; ///< That many creations find the block there.
    QMutex mutex;              ///< Sanitizers do not see the lock between processes, which keeps users apart here too.
};

class FakeBlock final : public ISharedBlock {
public:
    explicit FakeBlock(std::shared_ptr<FakeMemory> memory)
        : m_memory(std::move(memory)) {}

    Result attach() override {
        m_isAttached = !m_memory->bytes.isEmpty();
        return m_isAttached ? Result::Done : Result::Missing;
    }
    Result create(int size) override {
        if (!m_memory->canBeCreated)
            return Result::Failed;
        m_memory->bytes = QByteArray(size, '\0');
        if (m_memory->othersCreateFirst-- > 0)
            return Result::AlreadyThere;
        m_isAttached = true;
        return Result::Done;
    }
    bool isAttached() override { return m_isAttached; }
    int size() const override { return m_memory->bytes.size(); }
    bool startsWith(const QByteArray& bytes) override {
        const QMutexLocker lock(&m_memory->mutex);
        return m_memory->bytes.startsWith(bytes);
    }
    QByteArray read() override {
        const QMutexLocker lock(&m_memory->mutex);
        return {m_memory->bytes.constData(), m_memory->bytes.size()};
    }
    bool write(const QByteArray& bytes) override {
        const QMutexLocker lock(&m_memory->mutex);
        std::copy(bytes.cbegin(), bytes.cend(), m_memory->bytes.begin());
        return true;
    }
    QString errorText() const override { return {}; }

private:
    const std::shared_ptr<FakeMemory> m_memory;
    bool m_isAttached = false;
};

ProcessProperties flag(const QString& name, const QVariant& value = true) {
    return {{"ProductKey", "8A6F-Product"}, {name, value}};
}

} // namespace

/// Rules, texts and their order, over a block in this process and processes that live and die at will.
class ProcessStateTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { qputenv("XDG_RUNTIME_DIR", QFile::encodeName(m_folder.path())); }

    void init() {
        m_memory = std::make_shared<FakeMemory>();
        m_living.clear();
        m_logger->clear();
    }

    // A semaphore outlives its processes on some systems. Creating it makes this process remove it.
    void cleanupTestCase() {
        const QString user = QString::number(QFileInfo(m_folder.path()).ownerId());
        const QSystemSemaphore removed(m_key + QStringLiteral(".Semaphore.") + user, 1, QSystemSemaphore::Create);
    }

    void aQueryFindsEqualPropertiesOnly() {
        const TestKit::Rows row(this, [&](const ProcessProperties& set, const ProcessProperties& asked, bool found) {
            const auto first = process(1);
            QVERIFY(first->setPropertyMap(set));
            QCOMPARE(process(2)->queryProperty(asked), found);
        });
        const QString refresh = QStringLiteral("TokenRefreshInProgress");
        const QString key = QStringLiteral("ProductKey");
        row("the same", flag(refresh), flag(refresh), true);
        row("a part of it", flag(refresh), ProcessProperties{{refresh, true}}, true);
        row("more than it", ProcessProperties{{refresh, true}}, flag(refresh), false);
        row("nothing asked", flag(refresh), {}, false);
        row("another flag", flag(refresh), flag("OAuth2TokenRefreshInProgress"), false);
        row("another value", flag(refresh), flag(refresh, false), false);
        row("text in another case", flag(refresh), ProcessProperties{{key, "8a6f-PRODUCT"}, {refresh, true}}, true);
        row("another text", flag(refresh), ProcessProperties{{key, "8a6f-produc"}, {refresh, true}}, false);
        row("key in another case", flag(refresh), flag(refresh.toLower()), false);
        row("text and bool", flag(refresh, "True"), flag(refresh), true);
        row("bool and text", flag(refresh), flag(refresh, "TRUE"), true);
    }

    void theDeadCountForNothing() {
        const auto victim = process(1);
        const auto reused = process(2);
        const auto own = process(3);
        victim->setPropertyMap(flag("A"));
        reused->setPropertyMap(flag("A"));
        m_living.remove(1);
        QVERIFY(own->queryProperty(flag("A")));
        m_memory->bytes = ProcessStateCodec::encode({records().at(0), {2, pathOf(22), flag("A")}}, 65536);
        m_logger->clear();
        QVERIFY(!own->queryProperty(flag("A")));
        const QString found = QStringLiteral("Found dead process in process state shared memory: %1:%2");
        QVERIFY(m_logger->texts(Log::Level::Debug).contains(found.arg(1).arg(pathOf(1))));
        QVERIFY(m_logger->texts(Log::Level::Debug).contains(found.arg(2).arg(pathOf(22))));
        QCOMPARE(records().size(), 2); // a look changes nothing
        own->setPropertyMap(flag("B"));
        QCOMPARE(m_logger->texts(Log::Level::Information),
                 QStringList("Removing 2 dead process(es) in process state shared memory"));
        QCOMPARE(records(), ProcessRecords({{3, pathOf(3), flag("B")}}));
    }

    void aFlagIsSetByOneProcessOnly() {
        const auto first = process(1);
        const auto second = process(2);
        QVERIFY(first->setUnlessSetElsewhere(flag("A")));
        QVERIFY(first->setUnlessSetElsewhere(flag("A")));
        QVERIFY(!second->setUnlessSetElsewhere(flag("A")));
        QCOMPARE(records().size(), 1);
        QVERIFY(second->setUnlessSetElsewhere(flag("B")));
        m_living.remove(1);
        QVERIFY(second->setUnlessSetElsewhere(flag("A")));
        QCOMPARE(records().size(), 1);
        QCOMPARE(records().first().properties.size(), 3);
    }

    void deletingRemovesTheNamedPropertiesOnly() {
        const auto first = process(1);
        const auto second = process(2);
        for (const auto& state : {first.get(), second.get()}) {
            state->setPropertyMap(flag("A"));
            state->setPropertyMap(flag("B"));
        }
        first->deleteProperty("A");
        QCOMPARE(records().at(0).properties, flag("B"));
        QCOMPARE(records().at(1).properties.size(), 3);
        m_logger->clear();
        first->deleteProperty("A");
        QVERIFY(m_logger->texts().isEmpty()); // nothing removed, nothing written
        first->deletePropertiesInAllProcesses({"B", "ProductKey"});
        QVERIFY(records().at(0).properties.isEmpty());
        QCOMPARE(records().at(1).properties.keys(), QStringList("A"));
        second->deleteProcessState();
        QCOMPARE(records(), ProcessRecords({{1, pathOf(1), {}}}));
        // What was deleted is gone from the block, not only from what is counted in it.
        const QByteArray behind = m_memory->bytes.mid(ProcessStateCodec::decode(m_memory->bytes).used);
        QCOMPARE(behind.count('\0'), behind.size());
        QStringList contexts;
        for (const QString& text : m_logger->texts(Log::Level::Debug))
            contexts += text.section(QLatin1Char('\n'), 0, 0);
        QCOMPARE(contexts, QStringList({"Process state dump (context: Delete properties in all processes):",
                                        "Process state dump (context: Delete process state):"}));
    }

    void theBlockIsCreatedOrJoinedAndLogged() {
        const TestKit::Rows row(this, [&](bool exists, bool canBeCreated, int othersCreateFirst, const QString& text) {
            m_memory->canBeCreated = canBeCreated;
            m_memory->othersCreateFirst = othersCreateFirst;
            if (exists)
                m_memory->bytes = QByteArray(65536, '\0');
            const auto state = process(1);
            QCOMPARE(state->ensureCreated(), canBeCreated);
            QCOMPARE(m_logger->texts(), QStringList(text.arg(m_key)));
            QCOMPARE(m_logger->texts(canBeCreated ? Log::Level::Information : Log::Level::Error).size(), 1);
            QCOMPARE(state->setUnlessSetElsewhere(flag("A")), true);
            QCOMPARE(m_logger->texts(Log::Level::Information).size(), canBeCreated ? 1 : 0); // once only
            QVERIFY(!state->queryProperty(flag("A")));
            QCOMPARE(process(2)->queryProperty(flag("A")), canBeCreated);
        });
        const QString used =
            QStringLiteral("Using process state shared memory %1 created by another process. Shared memory size: 65536 bytes.");
        row("first", false, true, 0, "Created process state shared memory %1. Shared memory size: 65536 bytes.");
        row("second", true, true, 0, used);
        row("overtaken", false, true, 1, used);
        row("refused", false, false, 0, "Failed to create process state shared memory %1");
    }

    void theDumpListsEveryProcess() {
        const auto state = process(1);
        QCOMPARE(state->dump("x"), QStringList({"Process state dump (context: x):", "Shared memory not yet created"}));
        QVERIFY(m_memory->bytes.isEmpty());
        state->setPropertyMap({{"AccessTokenQueryInProgress", true}, {"ProductKey", "head-of-the-key-tail"}, {"Text", "%1"}});
        process(2)->setPropertyMap({});
        const QStringList lines = process(3)->dump("all of it");
        const int used = ProcessStateCodec::decode(m_memory->bytes).used;
        QCOMPARE(
            lines,
            QStringList(
                {"Process state dump (context: all of it):",
                 QStringLiteral("Shared memory size (bytes): Total: 65536, Used: %1, Available: %2").arg(used).arg(65536 - used),
                 "Processes (2):", "Process 1: App1:1 (/opt/Maker/App1.bin.exe)",
                 "    Properties (3):", "        AccessTokenQueryInProgress = true", "        ProductKey = head-of-the-key-tail",
                 "        Text = %1", "Process 2: App2:2 (/opt/Maker/App2.bin.exe)", "    Properties (0):"}));
    }

    void queryDumpsBeforeItLooks() {
        const auto state = process(1);
        state->setPropertyMap(flag("A"));
        const auto other = process(2);
        m_logger->clear();
        QVERIFY(other->queryProperty(flag("A")));
        QCOMPARE(m_logger->texts(Log::Level::Debug), QStringList(other->dump("Query property").join(QLatin1Char('\n'))));
        m_logger->clear();
        QVERIFY(!other->queryProperty({}));
        QVERIFY(m_logger->texts().isEmpty());
    }

    void anOverfullBlockKeepsTheOthersRecords() {
        const auto first = process(1);
        first->setPropertyMap(flag("A"));
        const auto second = process(2);
        const ProcessProperties large{{"Large", QString(40000, QLatin1Char('x'))}};
        m_logger->clear();
        second->setPropertyMap(large);
        const int size = ProcessStateCodec::encode({{1, pathOf(1), flag("A")}, {2, pathOf(2), large}}, 0).size();
        QCOMPARE(m_logger->texts(Log::Level::Warning),
                 QStringList(
                     QStringLiteral("Process state size (%1 bytes) exceeds the maximum shared memory size (65536 bytes). Writing "
                                    "only what fits and discarding the rest.")
                         .arg(size)));
        QCOMPARE(m_memory->bytes.size(), 65536);
        QCOMPARE(records().first(), ProcessRecord({1, pathOf(1), flag("A")}));
        QVERIFY(process(3)->queryProperty(flag("A")));
        QVERIFY(!process(3)->queryProperty(large));
        second->deleteProcessState();
        m_logger->clear();
        second->setPropertyMap(flag("B"));
        QVERIFY(m_logger->texts(Log::Level::Warning).isEmpty());
        QVERIFY(first->queryProperty(flag("B")));
    }

    void aBlockOfAnotherSizeIsUsed() {
        m_memory->bytes = QByteArray(300, '\0');
        const auto state = process(1);
        state->setPropertyMap({{"A", true}});
        QCOMPARE(
            m_logger->texts(Log::Level::Information),
            QStringList(
                QStringLiteral("Using process state shared memory %1 created by another process. Shared memory size: 300 bytes.")
                    .arg(m_key)));
        QVERIFY(process(2)->queryProperty({{"A", true}}));
        process(2)->setPropertyMap({{"B", QString(200, QLatin1Char('b'))}});
        QCOMPARE(m_logger->texts(Log::Level::Warning).size(), 1);
        QCOMPARE(m_memory->bytes.size(), 300);
        QVERIFY(process(2)->queryProperty({{"A", true}}));
    }

    // Another process holds the semaphore: after two seconds this process works as if it were alone.
    void withoutTheLockAProcessWorksAlone() {
        const auto other = process(1);
        other->setPropertyMap(flag("A"));
        const auto state = process(2);
        CrossProcessLock lock(m_key + QStringLiteral(".Semaphore"), m_folder.path(),
                              std::make_shared<TestKit::RecordingLogger>());
        QVERIFY(lock.acquire(0));
        const QByteArray before = m_memory->bytes;
        m_logger->clear();
        QVERIFY(!state->queryProperty(flag("A")));
        QVERIFY(state->setUnlessSetElsewhere(flag("A")));
        QCOMPARE(m_memory->bytes, before);
        QCOMPARE(m_logger->texts(Log::Level::Error).size(), 2);
        QCOMPARE(m_logger->texts().size(), 2);
        lock.release();
        QVERIFY(state->queryProperty(flag("A")));
        // Without a key there is no block to share.
        ProcessState keyless(services(3));
        keyless.setKey(QString());
        QVERIFY(!keyless.ensureCreated() && !keyless.queryProperty(flag("A")) && keyless.setPropertyMap(flag("A")));
        QCOMPARE(m_memory->bytes, before);
    }

    // A change that is lost between two threads leaves a flag behind, or takes one away that another process looks for.
    void changesOfSeveralThreadsAreNotLost() {
        const auto own = process(1);
        const auto other = process(2);
        std::atomic<int> found{0};
        std::vector<std::thread> threads;
        for (int thread = 0; thread < 4; ++thread) {
            threads.emplace_back([&own, &other, &found, name = QStringLiteral("Flag%1").arg(thread)] {
                for (int round = 0; round < 25; ++round) {
                    own->setPropertyMap(flag(name));
                    found += other->queryProperty(flag(name)) ? 1 : 0;
                    own->deleteProperty(name);
                }
            });
        }
        for (auto& thread : threads)
            thread.join();
        QCOMPARE(found.load(), 100);
        QCOMPARE(records().first().properties.keys(), QStringList("ProductKey"));
    }

private:
    [[nodiscard]] ProcessStateDependencies services(qint64 id) {
        return {[this](const QString&) { return std::make_unique<FakeBlock>(m_memory); },
                [this](qint64 process, const QString& path) { return m_living.contains(process) && path == pathOf(process); },
                id,
                pathOf(id),
                m_folder.path(),
                m_logger};
    }
    [[nodiscard]] std::unique_ptr<ProcessState> process(qint64 id) {
        m_living.insert(id);
        auto state = std::make_unique<ProcessState>(services(id));
        state->setKey(m_key);
        return state;
    }
    static QString pathOf(qint64 id) { return QStringLiteral("/opt/Maker/App%1.bin.exe").arg(id); }
    [[nodiscard]] ProcessRecords records() const { return ProcessStateCodec::decode(m_memory->bytes).records; }

    QTemporaryDir m_folder;
    const QString m_key = QStringLiteral("VqProcessStateTest") + QUuid::createUuid().toString(QUuid::Id128);
    std::shared_ptr<FakeMemory> m_memory;
    QSet<qint64> m_living;
    std::shared_ptr<TestKit::RecordingLogger> m_logger = std::make_shared<TestKit::RecordingLogger>();
};

QTEST_GUILESS_MAIN(ProcessStateTest)
#include "ProcessStateTest.moc"
