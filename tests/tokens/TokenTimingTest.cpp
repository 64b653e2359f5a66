// The decisions about time, without any clock, and the waiting for an operation that ends elsewhere.

#include "Tokens/ProductTokens.h"
#include "Tokens/Refresh/RefreshTiming.h"
#include "Tokens/RunState.h"

#include <QtTest>
#include <thread>

using namespace Velquor::WebServices;
using namespace Velquor::WebServices::Internal;

class TokenTimingTest : public QObject {
    Q_OBJECT

private slots:
    void interval_data() {
        QTest::addColumn<qint64>("seconds");
        QTest::addColumn<int>("expected");
        QTest::newRow("expired an hour ago") << qint64(-3600) << 2000;
        QTest::newRow("inside the margin") << qint64(299) << 2000;
        QTest::newRow("at the margin") << qint64(300) << 2000;
        QTest::newRow("a second before the margin") << qint64(301) << 1000;
        QTest::newRow("5 min 30 s") << qint64(330) << 30000;
        QTest::newRow("just under 10 minutes") << qint64(599) << 299000;
        QTest::newRow("10 minutes") << qint64(600) << 300000;
        QTest::newRow("just under 15 minutes") << qint64(899) << 300000;
        QTest::newRow("15 minutes") << qint64(900) << 600000;
        QTest::newRow("just under 65 minutes") << qint64(3899) << 600000;
        QTest::newRow("65 minutes") << qint64(3900) << 3600000;
        QTest::newRow("ten years") << qint64(10LL * 366 * 86400) << 3600000;
    }

    void interval() {
        QFETCH(qint64, seconds);
        QFETCH(int, expected);
        QCOMPARE(refreshIntervalMs(seconds, 2000), expected);
        QCOMPARE(isTimeToRefresh(seconds), seconds <= 300);
    }

    // Waking up at the intervals, a token of any lifetime is refreshed before it expires.
    void neverSleepsOverAnExpiry() {
        for (qint64 lifetime = 301; lifetime < 90000; lifetime += 97) {
            qint64 left = lifetime;
            int steps = 0;
            while (!isTimeToRefresh(left)) {
                left -= refreshIntervalMs(left, 2000) / 1000;
                QVERIFY(++steps < 100);
            }
            QVERIFY2(left > 0, qPrintable(QString::number(lifetime)));
        }
    }

    void lateness() {
        const QDateTime expected = QDateTime::fromSecsSinceEpoch(1000, Qt::UTC);
        QVERIFY(!timerLateness(expected, expected.addMSecs(2000)).isNotable());
        QVERIFY(timerLateness(expected, expected.addMSecs(2001)).isNotable());
        QVERIFY(!timerLateness(expected, expected.addMSecs(2001)).isEarly());
        QVERIFY(!timerLateness(expected, expected.addMSecs(-2000)).isNotable());
        QVERIFY(timerLateness(expected, expected.addMSecs(-2001)).isNotable());
        QVERIFY(timerLateness(expected, expected.addMSecs(-2001)).isEarly());
        QVERIFY(!timerLateness(QDateTime(), expected).isNotable());
    }

    void retryAfterRefusal() {
        for (int failure = 1; failure < maximumRefreshFailures; ++failure) {
            QCOMPARE(refreshRetryMs(failure, false), 60000);
            QCOMPARE(refreshRetryMs(failure, true), failure <= 2 ? 2000 : 60000);
        }
    }

    // Which of them ends later does not matter.
    void otherTokens() {
        const QDateTime now = QDateTime::currentDateTimeUtc();
        const ProductTokens none;
        const ProductTokens first{"token", "secret", "handle", now};
        QVERIFY(first.areOthersThan(none));
        QVERIFY(!first.areOthersThan(first));
        QVERIFY((ProductTokens{"other", "secret", "handle", now.addSecs(-1)}.areOthersThan(first)));
        QVERIFY(!(ProductTokens{"other", "secret", "", now.addSecs(1)}.areOthersThan(first)));
    }

    void everyWaiterHearsTheEnd() {
        const auto state = std::make_shared<RunState>();
        QCOMPARE(state->enter(), RunState::Entry::Entered);
        QCOMPARE(state->enter(), RunState::Entry::Busy);
        std::atomic<int> heard{0};
        std::atomic<int> waiting{0};
        std::vector<std::thread> threads;
        for (int thread = 0; thread < 16; ++thread) {
            threads.emplace_back([&] {
                RunWaiter waiter(state);
                ++waiting;
                const RunWaiter::Outcome outcome = waiter.wait(10000);
                heard += outcome.result == 7 && !outcome.isTimedOut ? 1 : 0;
            });
        }
        QTRY_COMPARE(waiting.load(), 16);
        state->leave(7);
        for (std::thread& thread : threads)
            thread.join();
        QCOMPARE(heard.load(), 16);
    }

    void aWaitHasALimitAndAClosedStateNone() {
        const auto state = std::make_shared<RunState>();
        QCOMPARE(state->enter(), RunState::Entry::Entered);
        {
            RunWaiter waiter(state);
            QVERIFY(waiter.wait(20).isTimedOut);
        }
        RunWaiter waiter(state);
        state->close();
        const RunWaiter::Outcome outcome = waiter.wait(10000);
        QCOMPARE(outcome.result, 0);
        QVERIFY(!outcome.isTimedOut);
        QCOMPARE(state->enter(), RunState::Entry::Closed);
    }
};

QTEST_GUILESS_MAIN(TokenTimingTest)
#include "TokenTimingTest.moc"
