// Four processes raise events at once and four others hear them: every one, once, and in the order of their sender.

#include "TestKit/EventStorm.h"
#include "TestKit/Soak.h"

#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

using namespace Velquor;
using TestKit::EventStorm;

class EventStormTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { qputenv("XDG_RUNTIME_DIR", QFile::encodeName(m_runtime.path())); }

    void everyEventIsHeardOnceAndInOrder() {
        const int count = TestKit::rounds(250, 2500);
        EventStorm storm(m_folder.path());
        QVERIFY(storm.start(count));
        QVERIFY(storm.rage(TestKit::rounds(30000, 300000)));
        for (const auto& listener : storm.listeners()) {
            for (const QByteArray& from : EventStorm::senderNames()) {
                QTRY_VERIFY_WITH_TIMEOUT(listener->numbers(from).size() >= count, 10000);
                const QVector<int> numbers = listener->numbers(from);
                QCOMPARE(numbers.size(), count);
                for (int number = 0; number < count; ++number)
                    QCOMPARE(numbers.at(number), number);
            }
        }
        const std::vector<qint64> ages = storm.ages();
        const qint64 median = ages.at(ages.size() / 2);
        const qint64 slow = ages.at(ages.size() * 99 / 100);
        TestKit::figure(QStringLiteral("events of 4 processes at 4 others, 99 of 100"), QStringLiteral("< 100 ms"),
                        QStringLiteral("%1 ms (%2 events)").arg(slow / 1000.0).arg(ages.size()));
        TestKit::figure(QStringLiteral("the same, median"), QStringLiteral("< 2 ms (idle)"),
                        QStringLiteral("%1 ms").arg(median / 1000.0));
        // A machine that does something else meanwhile tells little about time.
        QVERIFY(slow < (TestKit::isSoak() ? 100000 : 5000000));
    }

private:
    QTemporaryDir m_folder;
    QTemporaryDir m_runtime;
};

QTEST_GUILESS_MAIN(EventStormTest)
#include "EventStormTest.moc"
