// The decisions about time, without any clock, and the waiting for an operation that ends elsewhere.

#include "TestKit/Test.h"
#include "Tokens/ProductTokens.h"
#include "Tokens/Refresh/RefreshTiming.h"
#include "Tokens/RunState.h"

using namespace Velquor::WebServices;
using namespace Velquor::WebServices::Internal;

class TokenTimingTest : public QObject {
    Q_OBJECT

private slots:
    void theRefreshIntervalShrinksTowardsTheExpiry() {
        const Velquor::TestKit::Rows row([&](qint64 seconds, int expected) {
            QCOMPARE(refreshIntervalMs(seconds, 2000), expected);
            QCOMPARE(isTimeToRefresh(seconds), seconds <= 300);
        });
        row("expired an hour ago", -3600, 2000);
        row("inside the margin", 299, 2000);
        row("at the margin", 300, 2000);
        row("a second before the margin", 301, 1000);
        row("5 min 30 s", 330, 30000);
        row("just under 10 minutes", 599, 299000);
        row("10 minutes", 600, 300000);
        row("just under 15 minutes", 899, 300000);
        row("15 minutes", 900, 600000);
        row("just under 65 minutes", 3899, 600000);
        row("65 minutes", 3900, 3600000);
        row("ten years", qint64(10LL * 366 * 86400), 3600000);
    }

    // Which of them ends later does not matter.
    void tokensAreTheSameWhateverTheirExpiry() {
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
        Velquor::TestKit::Threads threads(16, [&](int) {
            RunWaiter waiter(state);
            ++waiting;
            const RunWaiter::Outcome outcome = waiter.wait(10000);
            heard += outcome.result == 7 && !outcome.isTimedOut ? 1 : 0;
        });
        QTRY_COMPARE(waiting.load(), 16);
        state->leave(7);
        threads.join();
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
