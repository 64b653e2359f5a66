// A process may be killed at any moment of a save: the file is whole afterwards, and holds every save that was acknowledged.

#include "TestKit/SaveHelper.h"
#include "TestKit/StateProcess.h"
#include "TestKit/Test.h"

#include <climits>

using namespace Velquor;
using namespace Velquor::WebServices;
using namespace Velquor::WebServices::Internal;
using TestKit::demoKey;
using TestKit::SaveHelper;

namespace {

constexpr int longestPauseUs = 20000;
constexpr int shortFormMs = 25000;

} // namespace

class SaveKillTest : public QObject {
    Q_OBJECT

private slots:
    void init() {
        m_fixture = std::make_unique<TestKit::SessionFixture>();
        m_acknowledged = 0;
        m_hits = 0;
        m_saves = 0;
    }

    void aKillInTheFirstCreationLeavesNoTornFile() {
        const int kills = TestKit::rounds(20, 200);
        int created = 0;
        for (int kill = 0; kill < kills; ++kill) {
            forgetEverything();
            QCOMPARE(killOnce("loop").join(QLatin1Char('\n')), QString());
            created += QFile::exists(m_fixture->file()) ? 1 : 0;
        }
        TestKit::figure("processes killed in the first creation of the file", "nothing torn or lost",
                        QStringLiteral("%1 kills, %2 with a file, %3 in mid-write").arg(kills).arg(created).arg(m_hits));
    }

    void aKillDuringASaveLosesNoAcknowledgedSave() {
        const int most = TestKit::rounds(180, 1800);
        // Where a process takes a second to start, as under Wine, the short form kills fewer.
        const QDeadlineTimer deadline(TestKit::rounds(shortFormMs, INT_MAX));
        int kills = 0;
        for (; kills < most && !deadline.hasExpired(); ++kills)
            QCOMPARE(killOnce("loop").join(QLatin1Char('\n')), QString());
        QVERIFY(m_acknowledged > 0 && kills >= 10);
        TestKit::figure("processes killed at random moments of a save", "nothing torn or lost",
                        QStringLiteral("%1 kills, %2 saves, %3 in mid-write").arg(kills).arg(m_saves).arg(m_hits));
    }

    // The same kills, the same look at the file: they do find what a careless writer does.
    void theHarnessCatchesAWriterInPlace() {
        QStringList faults;
        for (int kill = 0; kill < 100 && faults.isEmpty(); ++kill)
            faults = killOnce("in-place");
        QVERIFY(!faults.isEmpty());
    }

private:
    /// Starts a process that saves, kills it, and looks at what it left; the faults that are found.
    QStringList killOnce(const QString& command) {
        SaveHelper helper({command, m_fixture->folder.path(), m_fixture->keyFolder, demoKey, "0"});
        if (!helper.isReady())
            return {QStringLiteral("The process did not start: ") + QString::fromLocal8Bit(helper.readAllStandardError())};
        QThread::usleep(QRandomGenerator::global()->bounded(longestPauseUs));
        helper.killNow();
        m_acknowledged = qMax(m_acknowledged, helper.acknowledged());
        m_saves += helper.saves();
        m_hits += beside("LoginState.xml.writing-*").isEmpty() ? 0 : 1;
        return helper.hasFailed() ? QStringList{"A save failed"} + faultsFound() : faultsFound();
    }

    /// What the next process of the user finds wrong.
    QStringList faultsFound() {
        TestKit::SessionFixture fixture(m_fixture->folder.path(), m_fixture->keyFolder);
        TestKit::StateProcess next(fixture, demoKey);
        next.restore();
        QStringList faults = fixture.logger->texts(Log::Level::Error);
        const ProductSessionPointer product = next.core.products().find(demoKey, Production);
        const int found = product ? SaveHelper::numberOf(product->tokens().expiryDate) : 0;
        if (found < m_acknowledged)
            faults += QStringLiteral("Save %1 was acknowledged, but %2 is in the file").arg(m_acknowledged).arg(found);
        if (product && next.token(demoKey).isEmpty())
            faults += QStringLiteral("The token cannot be read");
        for (const QString& left : beside("LoginState.xml.*"))
            faults += QStringLiteral("%1 is still there").arg(left);
        return faults;
    }

    [[nodiscard]] QStringList beside(const QString& pattern) const {
        return QDir(m_fixture->folder.path()).entryList({pattern}, QDir::Files | QDir::Hidden);
    }
    void forgetEverything() {
        for (const QString& name : beside("*"))
            QFile::remove(m_fixture->folder.filePath(name));
        m_acknowledged = 0;
    }

    std::unique_ptr<TestKit::SessionFixture> m_fixture;
    int m_acknowledged = 0;
    int m_hits = 0; ///< Kills that left a half written temporary file.
    int m_saves = 0;
};

QTEST_GUILESS_MAIN(SaveKillTest)
#include "SaveKillTest.moc"
