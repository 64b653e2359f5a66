// Four processes raise events at once and four others hear them: every one, once, and in the order of their sender.

#include "TestKit/EventStorm.h"
#include "TestKit/Platform/SystemFacts.h"
#include "TestKit/Test.h"
#include "TestKit/WaitFor.h"

using namespace Velquor;
using TestKit::EventStorm;

class EventStormTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { qputenv("XDG_RUNTIME_DIR", QFile::encodeName(m_runtime.path())); }

    void everyEventIsHeardOnceAndInOrder() {
        const TestKit::Rows row([&](int pauseMs, int count) {
            const QTemporaryDir folder;
            EventStorm storm(folder.path());
            QVERIFY(storm.start(count, pauseMs));
            QVERIFY(storm.rage(TestKit::rounds(30000, 300000)));
            for (const auto& listener : storm.listeners()) {
                for (const QByteArray& from : EventStorm::senderNames()) {
                    QVERIFY(TestKit::waitFor([&] { return listener->numbers(from).size() >= count; }, 10000));
                    const QVector<int> numbers = listener->numbers(from);
                    QCOMPARE(numbers.size(), count);
                    for (int number = 0; number < count; ++number)
                        QCOMPARE(numbers.at(number), number);
                }
            }
            judge(storm.ages(), pauseMs > EventStorm::shortestPauseMs);
        });
        row("a storm", EventStorm::shortestPauseMs, TestKit::rounds(250, 2500));
        row("paced", 200, TestKit::rounds(25, 250));
    }

private:
    // In a storm events wait for each other, so that the median says nothing there. On a busy machine no time says much.
    static void judge(const std::vector<qint64>& ages, bool isPaced) {
        const qint64 median = ages.at(ages.size() / 2);
        const qint64 slow = ages.at(ages.size() * 99 / 100);
        const QString form = isPaced ? QStringLiteral("paced events") : QStringLiteral("events");
        TestKit::figure(QStringLiteral("%1 of 4 processes at 4 others, 99 of 100").arg(form), "< 100 ms",
                        QStringLiteral("%1 ms (%2 events)").arg(slow / 1000.0).arg(ages.size()));
        TestKit::figure("the same, median", isPaced ? QStringLiteral("< 2 ms") : QStringLiteral("none"),
                        QStringLiteral("%1 ms").arg(median / 1000.0));
        QVERIFY(slow < (TestKit::isSoak() ? 100000 : 5000000));
        QVERIFY(!isPaced || !TestKit::isSoak() || !TestKit::timesOfProcessesCount() || median < 2000);
    }

    QTemporaryDir m_runtime;
};

QTEST_GUILESS_MAIN(EventStormTest)
#include "EventStormTest.moc"
