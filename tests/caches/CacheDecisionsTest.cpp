// When a cache asks, when it tries again, and what it takes from a reply, under a clock that is handed in.

#include "Caches/CacheTiming.h"
#include "Caches/CachedReplies.h"
#include "TestKit/Test.h"

using namespace Velquor::WebServices;
using namespace Velquor::WebServices::Internal;
using CacheTiming::Answer;

class CacheDecisionsTest : public QObject {
    Q_OBJECT

private slots:
    void aValueIsRenewedWhenItHasExpired() {
        // age: seconds; very old: not valid
        const Velquor::TestKit::Rows row(
            [&](bool canUpdate, bool isAvailable, qint64 age, qint64 interval, Answer answer, qint64 nextCheckMs) {
                const QDateTime now(QDate(2026, 3, 29), QTime(1, 0), Qt::UTC);
                const QDateTime date = age == noDate ? QDateTime() : now.addSecs(-age);
                const auto decision =
                    CacheTiming::decide({canUpdate, isAvailable, date, interval, CacheTiming::checkSeconds(interval)}, now);
                QCOMPARE(decision.answer, answer);
                QCOMPARE(decision.nextCheckMs, nextCheckMs);
                QCOMPARE(decision.isDue(), answer >= Answer::Expired);
            });
        row("not signed in", false, false, 0, 86400, Answer::CannotUpdate, 0);
        row("not signed in, expired", false, true, 90000, 86400, Answer::CannotUpdate, 0);
        row("nothing there", true, false, 0, 86400, Answer::NoValue, 0);
        row("nothing there, never renewed", true, false, 0, 0, Answer::NoValue, 0);
        row("never renewed, very old", true, true, 900000, 0, Answer::NeverExpires, 0);
        row("never renewed, no date", true, true, noDate, 0, Answer::NeverExpires, 0);
        row("no date", true, true, noDate, 86400, Answer::BadDate, 0);
        row("fresh", true, true, 0, 86400, Answer::NotExpired, 3600000);
        row("30 s left", true, true, 86370, 86400, Answer::NotExpired, 30000);
        row("1 s left", true, true, 86399, 86400, Answer::NotExpired, 1000);
        row("at the moment", true, true, 86400, 86400, Answer::Expired, 0);
        row("short interval", true, true, 5, 60, Answer::NotExpired, 55000);
        row("clock set back a little", true, true, -60, 86400, Answer::NotExpired, 3600000);
        row("clock set back ten years", true, true, -315360000, 86400, Answer::BadDate, 0);
        row("clock set forward ten years", true, true, 315360000, 86400, Answer::Expired, 0);
        row("the longest interval", true, true, 10, 4294967295, Answer::NotExpired, 3600000);
    }

    void waitsBeforeTheNextTry() {
        QVector<qint64> delays;
        for (int earlier = 0; earlier < 7; ++earlier)
            delays += CacheTiming::retryDelayMs(earlier, 3600) / 1000;
        QCOMPARE(delays, (QVector<qint64>{120, 120, 120, 120, 120, 3600, 3600}));
        // A cache that is looked at more often than that is also tried again sooner, but never at once.
        QCOMPARE(CacheTiming::retryDelayMs(0, CacheTiming::checkSeconds(10)), 10000);
        QCOMPARE(CacheTiming::retryDelayMs(9, CacheTiming::checkSeconds(0)), 3600000);
    }

    void onlyWellFormedHttpDatesAreRead() {
        const QByteArray text = "Sun, 06 Nov 1994 08:49:37 GMT";
        QCOMPARE(CacheTiming::fromHttpDate(text), QDateTime(QDate(1994, 11, 6), QTime(8, 49, 37), Qt::UTC));
        QCOMPARE(CacheTiming::toHttpDate(CacheTiming::fromHttpDate(text)), text);
        for (const char* const junk : {"", "0", "Sunday, 06-Nov-94 08:49:37 GMT", "Sun, 99 Nov 1994 08:49:37 GMT"})
            QVERIFY(!CacheTiming::fromHttpDate(junk).isValid());
    }

    void anEntitlementIsReadByServiceName() {
        const std::optional<Entitlements> list =
            Entitlements::parse("<EntitlementList><Service><Name>A</Name><Entitled>True</Entitled></Service>"
                                "<Service><Name>B</Name><Entitled>false</Entitled><Trial>true</Trial></Service>"
                                "<Service><Name>C</Name><Entitled>1</Entitled><Trial>True</Trial></Service>"
                                "<Service><Entitled>True</Entitled></Service>"
                                "<Service><Name>A</Name><Entitled>False</Entitled></Service></EntitlementList>");
        QVERIFY(list.has_value());
        QCOMPARE(list->answerFor(QStringLiteral("A")), ServiceEntitlement::Entitled);
        QCOMPARE(list->answerFor(QStringLiteral("B")), ServiceEntitlement::NotEntitled);
        QCOMPARE(list->answerFor(QStringLiteral("C")), ServiceEntitlement::Trial);
        QCOMPARE(list->answerFor(QStringLiteral("a")), ServiceEntitlement::NotEntitled);
        QCOMPARE(list->answerFor(QString()), ServiceEntitlement::Unknown);
        QCOMPARE(list->services.value(QStringLiteral("B")).text,
                 QStringLiteral("<Service><Name>B</Name><Entitled>false</Entitled><Trial>true</Trial></Service>"));
        const std::optional<Entitlements> empty = Entitlements::parse("<EntitlementList/>");
        QVERIFY(empty && empty->services.isEmpty());
    }

    void malformedRepliesChangeNothing() {
        const Velquor::TestKit::Rows row([&](const QByteArray& reply) {
            QVERIFY(!UserInfo::parse(reply));
            QVERIFY(!Entitlements::parse(reply));
            QVERIFY(!StorageQuota::parse(reply));
        });
        row("nothing", {});
        row("HTML", "<html><body><Id/></body></html>");
        row("another reply", "<Service><Quota>1</Quota></Service>");
        row("cut", "<User><UserName>a</UserName><Id>7</Id>");
        row("too large", "<User><UserName>a</UserName>" + QByteArray(4 * 1024 * 1024, ' ') + "</User>");
        row("sizes", "<Service><Quota>-1</Quota><CurrentUsage>9223372036854775808</CurrentUsage></Service>");
    }

private:
    static constexpr qint64 noDate = -1000000000;
};

QTEST_GUILESS_MAIN(CacheDecisionsTest)
#include "CacheDecisionsTest.moc"
