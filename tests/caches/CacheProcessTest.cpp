// Many processes change one cache file and are killed at random: the file is always whole, and no value is lost or mixed up.

#include "Caches/CacheFile.h"
#include "TestKit/HelperProcess.h"
#include "TestKit/Platform/SystemFacts.h"
#include "TestKit/Test.h"

using namespace Velquor;
using namespace Velquor::WebServices;
using namespace Velquor::WebServices::Internal;

namespace {

constexpr int processCount = 8;
constexpr int productCount = 5;
const QStringList nodePaths{"/WebServicesCache/UserInfo/", "/WebServicesCache/ServiceEntitlementEx",
                            "/WebServicesCache/StorageQuota/"};

// What one process has said, by place: the last save that it began and the last that it ended.
struct Said {
    QMap<int, int> begun;
    QMap<int, int> ended;
    int saves = 0;
};

} // namespace

class CacheProcessTest : public QObject {
    Q_OBJECT

private slots:
    void noValueIsLostOrMixed() {
        const int durationMs = TestKit::rounds(2500, 10000);
        const TestKit::Stopwatch timer;
        for (int number = 0; number < processCount; ++number)
            start(durationMs);
        int reads = 0;
        int kills = 0;
        // Where processes start slowly it takes longer until enough of them have been killed.
        while (timer.elapsed() < durationMs || ((kills < 12 || reads < 6) && timer.elapsed() < 40000)) {
            QTest::qWait(QRandomGenerator::global()->bounded(20, 60));
            CacheRecord record;
            const CacheFile::ReadResult result = CacheFile(path(), "product-0").read(nodePaths.first(), record);
            QVERIFY(result != CacheFile::ReadResult::Unreadable);
            reads += result == CacheFile::ReadResult::Found ? 1 : 0;
            QProcess& victim = *m_running[size_t(QRandomGenerator::global()->bounded(int(m_running.size())))];
            if (victim.state() == QProcess::Running) {
                victim.kill();
                ++kills;
                start(durationMs);
            }
        }
        for (const auto& process : m_running)
            QVERIFY(process->state() == QProcess::NotRunning || process->waitForFinished(20000));
        int refused = 0;
        for (const auto& process : m_running)
            refused += process->exitStatus() == QProcess::NormalExit && process->exitCode() != 0 ? 1 : 0;
        check();
        qInfo("%d processes, %d killed, %d saves, %d reads while they ran", int(m_running.size()), kills, m_saves, reads);
        QCOMPARE(refused, 0);
        QVERIFY(kills > 10);
        QVERIFY(reads > 5);
        QVERIFY(m_saves > TestKit::rounds(5, 30));
        cleanUp();
    }

private:
    void start(int durationMs) {
        auto process = std::make_unique<QProcess>();
        process->start(TestKit::HelperProcess::nextFolder() + QStringLiteral("/cache_helper"),
                       {path(), QString::number(m_running.size()), QString::number(durationMs)});
        QVERIFY(process->waitForStarted(10000));
        m_running.push_back(std::move(process));
    }

    Said said(int number) {
        Said result;
        const QStringList lines =
            QString::fromLatin1(m_running[size_t(number)]->readAllStandardOutput()).split(QLatin1Char('\n'));
        for (const QString& line : lines) {
            const int serial = line.section(QLatin1Char(' '), 0, 0).remove(QLatin1Char('+')).toInt();
            const QString place = line.section(QLatin1Char(' '), 1, 1).trimmed();
            if (place.isEmpty())
                continue;
            (line.startsWith(QLatin1Char('+')) ? result.ended : result.begun)[place.toInt()] = serial;
            result.saves += line.startsWith(QLatin1Char('+')) ? 1 : 0;
        }
        return result;
    }

    // The value in each place must be the last one that some process has saved there, or was saving when it was killed. An
    // older one of that process would mean that a save was undone by another's.
    void check() {
        std::vector<Said> all;
        for (int number = 0; number < int(m_running.size()); ++number) {
            all.push_back(said(number));
            m_saves += all.back().saves;
        }
        for (int place = 0; place < productCount * nodePaths.size(); ++place) {
            CacheRecord record;
            const CacheFile file(path(), QStringLiteral("product-%1").arg(place / nodePaths.size()));
            const CacheFile::ReadResult result = file.read(nodePaths.at(place % nodePaths.size()), record);
            bool isKnown = false;
            for (const Said& one : all)
                isKnown = isKnown || one.ended.contains(place);
            if (!isKnown)
                continue;
            QCOMPARE(result, CacheFile::ReadResult::Found);
            const QStringList words = record.body.split(QLatin1Char(' '));
            QCOMPARE(words.at(0).toInt(), place);
            QCOMPARE(record.user, words.mid(0, 3).join(QLatin1Char(' ')));
            QCOMPARE(record.tokenHash, record.user);
            const Said& writer = all.at(size_t(words.at(1).toInt()));
            const int serial = words.at(2).toInt();
            QVERIFY2(serial == writer.begun.value(place) || serial == writer.ended.value(place), qPrintable(record.user));
            QVERIFY(serial >= writer.ended.value(place));
        }
    }

    // The next change removes the temporary files of killed processes.
    void cleanUp() {
        CacheFile file(path(), "product-0");
        QCOMPARE(file.save(nodePaths.first(), {}, [] { return true; }), CacheFile::WriteResult::Done);
        QStringList names = QDir(m_folder.path()).entryList(QDir::Files | QDir::Hidden);
        names.removeAll("VqWebServicesCacheFile.lock");
        QCOMPARE(names, QStringList("WebServicesCache.xml"));
        QVERIFY(TestKit::isOwnerOnly(path()));
    }

    QString path() const { return m_folder.path() + QStringLiteral("/WebServicesCache.xml"); }

    QTemporaryDir m_folder;
    std::vector<std::unique_ptr<QProcess>> m_running;
    int m_saves = 0;
};

QTEST_GUILESS_MAIN(CacheProcessTest)
#include "CacheProcessTest.moc"
