// Many processes save at once, each its own product: no save loses the product of another, and none takes long.

#include "TestKit/SaveHelper.h"
#include "TestKit/StateProcess.h"
#include "TestKit/Test.h"
#include "VqUtil/Files/AtomicFile.h"

#include <QDomDocument>
#include <array>

using namespace Velquor;
using namespace Velquor::WebServices;
using namespace Velquor::WebServices::Internal;
using TestKit::SaveHelper;

namespace {

constexpr int laneCount = 8;
constexpr int shortLife = 5; // saves
constexpr int longestWaitMs = 5000;

/// The processes of one product, one after the other.
struct Lane {
    QString key;
    bool isShortLived = false;
    bool isKilled = false;
    std::unique_ptr<SaveHelper> helper;
    int acknowledged = 0;
    int longestMs = 0;
    int saves = 0;
    int starts = 0;
    bool hasFailed = false;

    void takeNote() {
        acknowledged = qMax(acknowledged, helper->acknowledged());
        longestMs = qMax(longestMs, helper->longestMs());
        hasFailed = hasFailed || helper->hasFailed();
    }

    void end() {
        helper->killNow();
        takeNote();
        saves += helper->saves();
        helper.reset();
    }
};

} // namespace

class SaveManyTest : public QObject {
    Q_OBJECT

private slots:
    void init() {
        m_fixture = std::make_unique<TestKit::SessionFixture>();
        TestKit::StateProcess first(*m_fixture);
        first.restoreAndSignIn();
        QVERIFY(QFile::exists(m_fixture->file()));
    }

    void noProcessLosesTheProductOfAnother() {
        const TestKit::Rows row(this, [&](bool isKilling) {
            std::array<Lane, laneCount> lanes;
            for (int index = 0; index < laneCount; ++index) {
                lanes.at(index).key = QStringLiteral("product-of-lane-%1").arg(index);
                lanes.at(index).isShortLived = index % 2 == 1;
                lanes.at(index).isKilled = isKilling && index % 3 == 0;
            }
            int kills = 0;
            work(lanes, TestKit::rounds(5000, 60000), kills);
            int longestMs = 0;
            int saves = 0;
            int starts = 0;
            for (Lane& lane : lanes) {
                if (lane.helper)
                    lane.end();
                QVERIFY2(lane.acknowledged > 0, qPrintable(lane.key));
                starts += lane.starts;
                longestMs = qMax(longestMs, lane.longestMs);
                saves += lane.saves;
            }
            QVERIFY(starts > laneCount);
            QCOMPARE(kills > 0, isKilling);
            const QHash<QString, int> found = numbers();
            for (const Lane& lane : lanes)
                QVERIFY2(found.value(lane.key) >= lane.acknowledged, qPrintable(lane.key));
            QVERIFY2(!TestKit::isSoak() || longestMs < longestWaitMs, qPrintable(QString::number(longestMs)));
            TestKit::figure(isKilling ? QStringLiteral("longest save of 8 processes, a third killed")
                                      : QStringLiteral("longest save of 8 processes"),
                            "no product lost, < 5 s",
                            QStringLiteral("%1 ms (%2 saves, %3 kills)").arg(longestMs).arg(saves).arg(kills));
        });
        row("all live", false);
        row("a third is killed", true);
    }

private:
    void keepAlive(Lane& lane) const {
        if (lane.helper && lane.helper->state() == QProcess::NotRunning)
            lane.end();
        if (lane.helper)
            return;
        lane.helper = std::make_unique<SaveHelper>(QStringList{"loop", m_fixture->folder.path(), m_fixture->keyFolder, lane.key,
                                                               QString::number(lane.isShortLived ? shortLife : 0)});
        ++lane.starts;
    }

    void killSometimes(Lane& lane, int& kills) const {
        if (!lane.isKilled || lane.helper->saves() == 0 || QRandomGenerator::global()->bounded(4) != 0)
            return;
        lane.end();
        ++kills;
    }

    /// The numbers of the products in the file.
    [[nodiscard]] QHash<QString, int> numbers() const {
        QDomDocument document;
        QHash<QString, int> found;
        // On Windows a reader blocks a writer.
        LoginStateFile file = m_fixture->stateFile();
        const LoginStateFile::Guard guard(file);
        if (!guard.isHeld())
            return found;
        if (!document.setContent(Util::AtomicFile::read(m_fixture->file(), 1024 * 1024).data))
            return found;
        const QDomElement products = document.documentElement().firstChildElement("LoginSession").firstChildElement("Products");
        for (QDomElement product = products.firstChildElement(); !product.isNull(); product = product.nextSiblingElement()) {
            const QDateTime date = QDateTime::fromString(product.attribute("TokenExpiryDate"), Qt::ISODate);
            found.insert(product.attribute("ProductKey"), SaveHelper::numberOf(date));
        }
        return found;
    }

    // Every save that was acknowledged before the file is read is in it, at every moment and not only at the end, when its owner
    // may have repaired it.
    void work(std::array<Lane, laneCount>& lanes, qint64 durationMs, int& kills) const {
        const TestKit::Stopwatch timer;
        while (timer.elapsed() < durationMs) {
            for (Lane& lane : lanes)
                keepAlive(lane);
            QTest::qWait(20);
            for (Lane& lane : lanes) {
                lane.takeNote();
                QVERIFY2(!lane.hasFailed, qPrintable(lane.key));
            }
            const QHash<QString, int> found = numbers();
            for (Lane& lane : lanes) {
                QVERIFY2(found.value(lane.key) >= lane.acknowledged, qPrintable(lane.key));
                killSometimes(lane, kills);
            }
        }
    }

    std::unique_ptr<TestKit::SessionFixture> m_fixture;
};

QTEST_GUILESS_MAIN(SaveManyTest)
#include "SaveManyTest.moc"
