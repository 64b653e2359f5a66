#include "VqUtil/Files/FolderWatcher.h"
#include "TestKit/RecordingLogger.h"
#include "TestKit/Test.h"
#include "VqUtil/Files/AtomicFile.h"

using namespace Velquor;
using CloudUtil::FolderWatcher;
using Action = FolderWatcher::Action;

namespace {

constexpr int patienceMs = 5000;

} // namespace

/// The folder watcher on the file system of the machine.
class FolderWatcherTest : public QObject {
    Q_OBJECT

private slots:
    void init() {
        m_place = std::make_unique<QTemporaryDir>();
        m_folder = QDir(m_place->path()).absoluteFilePath(QString::fromUtf8("Wächter"));
        QVERIFY(QDir().mkpath(m_folder));
        m_changes.clear();
        m_logger = std::make_shared<TestKit::RecordingLogger>();
        m_watcher = std::make_unique<FolderWatcher>(m_logger);
        connect(m_watcher.get(), &FolderWatcher::Changed, this, &FolderWatcherTest::note);
    }

    void cleanup() { m_watcher.reset(); }

    void everyKindOfChangeIsReported() {
        using Change = std::function<bool(const QString& there)>;
        const TestKit::Rows row(this, [&](const QByteArray& before, const Change& change, const QString& name, Action action) {
            const QString there = path("There.tmp");
            QVERIFY(TestKit::writeFile(there, before));
            QVERIFY(m_watcher->start(m_folder + QStringLiteral("/../") + QDir(m_folder).dirName()));
            // A system may be late to tell what came before.
            QTest::qWait(50);
            m_changes.clear();
            QVERIFY(change(there));
            QTRY_VERIFY_WITH_TIMEOUT(count(name, action) > 0, patienceMs);
        });
        const auto rename = [&](const QString& there) { return QFile::rename(there, path("Renamed.tmp")); };
        row(
            "created", "old", [&](auto&) { return TestKit::writeFile(path("EventTrigger.tmp"), {}); }, "EventTrigger.tmp",
            Action::Added);
        row(
            "an empty file rewritten in place", "", [](auto& there) { return TestKit::writeFile(there, {}); }, "There.tmp",
            Action::Modified);
        row(
            "a full file rewritten in place", "old", [](auto& there) { return TestKit::writeFile(there, "new"); }, "There.tmp",
            Action::Modified);
        row(
            "replaced", "old", [](auto& there) { return bool(Util::AtomicFile::write(there, "new")); }, "There.tmp",
            Action::RenamedTo);
        row(
            "removed", "old", [](auto& there) { return QFile::remove(there); }, "There.tmp", Action::Removed);
        row("renamed, old name", "old", rename, "There.tmp", Action::RenamedFrom);
        row("renamed, new name", "old", rename, "Renamed.tmp", Action::RenamedTo);
    }

    void everyRewriteIsReported() {
        const QString name = QStringLiteral("EventTrigger.tmp");
        QVERIFY(TestKit::writeFile(path(name), {}));
        QVERIFY(m_watcher->start(m_folder));
        for (int round = 0; round < 20; ++round) {
            m_changes.clear();
            QVERIFY(TestKit::writeFile(path(name), {}));
            QTRY_VERIFY_WITH_TIMEOUT(count(name, Action::Modified) > 0, patienceMs);
        }
    }

    // Changes in the folder before it was seen again are reported as well.
    void aFolderThatReappearsIsWatchedAgain() {
        const TestKit::Rows row(this, [&](bool isThereFirst, bool isMoved) {
            if (!isThereFirst)
                QVERIFY(QDir(m_folder).removeRecursively());
            QVERIFY(m_watcher->start(m_folder));
            for (int round = 0; round < 2; ++round) {
                if (isThereFirst || round > 0) {
                    QVERIFY(isMoved ? QDir().rename(m_folder, m_folder + QString::number(round))
                                    : QDir(m_folder).removeRecursively());
                    if (!QTest::qWaitFor([this] { return !QFileInfo::exists(m_folder); }, 500))
                        QSKIP("this system keeps a folder as long as somebody has it open, and does not tell him");
                    QTRY_COMPARE_WITH_TIMEOUT(m_logger->texts(Log::Level::Warning).size(), round + 1, patienceMs);
                }
                m_changes.clear();
                QVERIFY(QDir().mkpath(m_folder));
                QVERIFY(TestKit::writeFile(path("Early.tmp"), {}));
                QTRY_VERIFY_WITH_TIMEOUT(count("Early.tmp", Action::Modified) > 0, patienceMs);
                QVERIFY(TestKit::writeFile(path("Late.tmp"), {}));
                QTRY_VERIFY_WITH_TIMEOUT(count("Late.tmp", Action::Added) + count("Late.tmp", Action::Modified) > 0, patienceMs);
            }
        });
        row("missing at the start", false, true);
        row("deleted and made again", true, false);
        row("moved away and made again", true, true);
    }

    // More changes than the system keeps while the watcher is blocked: afterwards every file is reported.
    void anOverflowReportsEveryFile() {
        const int changes = 20000;
        QSemaphore isHeld;
        QSemaphore mayGoOn;
        const auto holdUp = [&isHeld, &mayGoOn](const QString& path, Action) {
            if (path.endsWith(QLatin1String("/First.tmp"))) {
                isHeld.release();
                mayGoOn.tryAcquire(1, 60000);
            }
        };
        const auto connection = connect(m_watcher.get(), &FolderWatcher::Changed, m_watcher.get(), holdUp, Qt::DirectConnection);
        QVERIFY(TestKit::writeFile(path("Quiet.tmp"), {}));
        QVERIFY(m_watcher->start(m_folder));
        QVERIFY(TestKit::writeFile(path("First.tmp"), {}));
        QVERIFY(isHeld.tryAcquire(1, patienceMs));
        disconnect(connection);
        for (int change = 0; change < changes; change += 2) {
            QVERIFY(TestKit::writeFile(path(QStringLiteral("A name that fills the buffer of the system %1.tmp").arg(change % 4)),
                                       {}));
            QVERIFY(QFile::remove(path(QStringLiteral("A name that fills the buffer of the system %1.tmp").arg(change % 4))));
        }
        mayGoOn.release(10);
        QTRY_VERIFY_WITH_TIMEOUT(count("Quiet.tmp", Action::Modified) > 0, patienceMs);
        QVERIFY(TestKit::writeFile(path("After.tmp"), {}));
        QTRY_VERIFY_WITH_TIMEOUT(count("After.tmp", Action::Added) > 0, patienceMs);
    }

    void nothingIsReportedAfterAStop() {
        QVERIFY(m_watcher->start(m_folder));
        TestKit::Stopwatch timer;
        m_watcher->stop();
        QVERIFY(!TestKit::isSoak() || timer.elapsed() < 1000);
        QVERIFY(TestKit::writeFile(path("Unseen.tmp"), {}));
        QTest::qWait(100);
        QCOMPARE(count("Unseen.tmp", Action::Added) + count("Unseen.tmp", Action::Modified), 0);
        QVERIFY(m_watcher->start(m_folder + QStringLiteral("/missing")));
        timer.restart();
        m_watcher.reset();
        QVERIFY(!TestKit::isSoak() || timer.elapsed() < 1000);
    }

    void everyActionHasItsName() {
        QStringList names;
        for (const Action action : {Action::Added, Action::Removed, Action::Modified, Action::RenamedFrom, Action::RenamedTo,
                                    Action::Unknown, static_cast<Action>(99)})
            names += CloudUtil::actionName(action);
        QCOMPARE(names.join(QLatin1Char(',')), QStringLiteral("Added,Removed,Modified,Renamed from,Renamed to,Unknown,Unknown"));
    }

private:
    [[nodiscard]] QString path(const QString& name) const { return m_folder + QLatin1Char('/') + name; }
    [[nodiscard]] int count(const QString& name, Action action) const {
        return static_cast<int>(std::count(m_changes.cbegin(), m_changes.cend(), qMakePair(path(name), action)));
    }
    void note(const QString& path, Action action) { m_changes.append({path, action}); }

    std::unique_ptr<QTemporaryDir> m_place;
    QString m_folder;
    std::shared_ptr<TestKit::RecordingLogger> m_logger;
    std::unique_ptr<FolderWatcher> m_watcher;
    QVector<QPair<QString, Action>> m_changes;
};

QTEST_GUILESS_MAIN(FolderWatcherTest)
#include "FolderWatcherTest.moc"
