// Retry schedules, walked along under a clock of the test's own.

#include "TestKit/Test.h"
#include "Tokens/OAuth2/OAuth2Exchange.h"
#include "Tokens/OAuth2/RetryProcess.h"
#include "Tokens/OAuth2/RetrySchedules.h"

using namespace Velquor::WebServices;
using namespace Velquor::WebServices::Internal;

namespace {

constexpr qint64 second = 1000;
constexpr qint64 minute = 60 * second;
constexpr qint64 hour = 60 * minute;

// Lets every try fail at its time; the times of the tries in milliseconds since the first failure.
QVector<qint64> failAlways(const RetrySchedule& schedule, int limit) {
    qint64 now = 1234567;
    const qint64 start = now;
    RetryProcess process([&now] { return now; });
    process.start(schedule);
    QVector<qint64> times;
    while (times.size() < limit) {
        const std::optional<qint64> interval = process.next();
        if (!interval)
            break;
        now += *interval * 1000000;
        times += (now - start) / 1000000;
    }
    return times;
}

} // namespace

class RetryScheduleTest : public QObject {
    Q_OBJECT

private slots:
    // Each step of the default, in milliseconds, until it gives up after 48 hours.
    void theDefaultLasts48Hours() {
        const QVector<qint64> times = failAlways(defaultRetrySchedule(), 1000);
        // So many tries at this interval; the next entry begins with the first failure at or after the end of the period.
        const QVector<QPair<int, qint64>> steps{
            {5, minute}, {5, 2 * minute}, {5, 4 * minute}, {5, 16 * minute}, {24, 30 * minute}};
        qint64 expected = 0;
        int index = 0;
        for (const auto& step : steps) {
            for (int attempt = 0; attempt < step.first; ++attempt, ++index) {
                expected += step.second;
                QCOMPARE(times.at(index), expected);
            }
        }
        QCOMPARE(expected, 5 * minute + 10 * minute + 20 * minute + 80 * minute + 12 * hour);
        while (expected < 48 * hour) {
            expected += 256 * minute;
            QCOMPARE(times.at(index++), expected);
        }
        QCOMPARE(index, times.size());
        QVERIFY(times.last() - 256 * minute < 48 * hour);
    }

    void aScheduleEndsAtItsMaximum() {
        const Velquor::TestKit::Rows row([&](const RetrySchedule& schedule, const QVector<qint64>& times, bool isEndless) {
            const QVector<qint64> found = failAlways(schedule, 200);
            QCOMPARE(found.mid(0, times.size()), times);
            QCOMPARE(found.size(), isEndless ? 200 : times.size());
        });
        using Times = QVector<qint64>;
        row("empty", RetrySchedule{0, {}}, Times(), false);
        row("empty with a maximum", RetrySchedule{1000, {}}, Times(), false);
        row("no end", RetrySchedule{0, {{20, 10}}}, Times{10, 20, 30, 40}, true);
        row("no period", RetrySchedule{0, {{0, 10}, {0, 20}, {0, 40}}}, Times{20, 60, 100, 140}, true);
        row("the maximum in the middle of an entry", RetrySchedule{25, {{100, 10}}}, Times{10, 20, 30}, false);
        row("the maximum hit exactly", RetrySchedule{20, {{100, 10}}}, Times{10, 20}, false);
        row("the last interval until the maximum", RetrySchedule{60, {{10, 10}, {10, 20}}}, Times{10, 30, 50, 70}, false);
    }

    void theScheduleOfATokenWinsOverTheDefault() {
        RetrySchedules& schedules = RetrySchedules::instance();
        const OAuth2TokenSpec rt(RT, L"b a");
        const OAuth2TokenSpec jwt(JWT, L"");
        const RetrySchedule one{1, {{1, 1}}};
        const RetrySchedule two{2, {{2, 2}}};
        QCOMPARE(schedules.inForce("p", rt) == defaultRetrySchedule(), true);
        QVERIFY(schedules.set(one));
        QVERIFY(schedules.set("p", rt, two));
        QVERIFY(schedules.inForce("p", OAuth2TokenSpec(RT, L"A B")) == two);
        QVERIFY(schedules.inForce("p", jwt) == one);
        QVERIFY(schedules.inForce("q", rt) == one);
        for (const RetrySchedule& bad :
             {RetrySchedule{-1, {}}, RetrySchedule{0, {{-1, 1}}}, RetrySchedule{0, {{1, 0}}},
              RetrySchedule{0, {{1, qint64(1) << 31}}}, RetrySchedule{0, std::vector<RetrySchedule::Entry>(1001, {1, 1})}}) {
            QVERIFY(!schedules.set(bad));
            QVERIFY(!schedules.set("p", jwt, bad));
        }
        QVERIFY(!schedules.set(QString(), jwt, one));
        QVERIFY(schedules.inForce("p", jwt) == one);
        // The one for all reaches those that had their own.
        QVERIFY(schedules.set(one));
        QVERIFY(schedules.inForce("p", rt) == one);
        schedules.clear();
        QVERIFY(schedules.inForce("p", rt) == defaultRetrySchedule());
    }

    void onlyWellFormedRepliesAreRead() {
        const Velquor::TestKit::Rows add([&](const QByteArray& body, qint64 seconds) {
            const QDateTime now = QDateTime::fromSecsSinceEpoch(1700000000, Qt::UTC);
            const std::optional<OAuth2Reply> reply = readOAuth2Reply(body, now);
            QCOMPARE(reply.has_value(), seconds >= 0);
            if (reply) {
                QVERIFY(!reply->token.isEmpty());
                QCOMPARE(now.secsTo(reply->expiryDate), seconds);
            }
        });
        const auto with = [](const char* lifetime) {
            return QByteArray(R"({"access_token": "t", "expires_in": )") + lifetime + '}';
        };
        const auto row = [&](const char* name, const QByteArray& body, qint64 seconds = -1) { add(name, body, seconds); };
        row("number", with("3600"), 3600);
        row("number with a fraction of nothing", with("3600.0"), 3600);
        row("text", with("\"3600\""), 3600);
        row("the last of two", R"({"access_token": "a", "access_token": "t", "expires_in": 5})", 5);
        row("a hundred years", with("3162240000"), 3162240000);
        row("longer", with("3162240001"));
        row("huge", with("1e400"));
        row("huge text", with("\"99999999999999999999\""));
        row("3e9", with("3e9"), 3000000000);
        row("zero", with("0"));
        row("negative", with("-1"));
        row("fraction", with("3600.5"), 3600);
        row("fraction of a second", with("0.5"));
        row("text with a fraction", with("\"3600.5\""), 3600);
        row("text with a fraction alone", with("\".5\""));
        row("text with two fractions", with("\"3600.5.5\""));
        row("text with a sign", with("\"+3600\""));
        row("text with blanks", with("\" 3600\""));
        row("text with other digits", with("\"\u0663\u0666\u0660\u0660\""));
        row("empty text", with("\"\""));
        row("null", with("null"), 3600);
        row("list", with("[3600]"));
        row("no lifetime", R"({"access_token": "t"})", 3600);
        for (const char* const type : {R"("Bearer")", R"("bearer")", R"("jwt")", R"("RT")", "null"})
            row(type, R"({"access_token": "t", "expires_in": 9, "token_type": )" + QByteArray(type) + '}', 9);
        for (const char* const type : {R"("mac")", R"("DPoP")", R"("")", "7"})
            row(type, R"({"access_token": "t", "expires_in": 9, "token_type": )" + QByteArray(type) + '}');
        row("no token", R"({"expires_in": 3600})");
        row("empty token", R"({"access_token": "", "expires_in": 3600})");
        row("token with a blank", R"({"access_token": "a b", "expires_in": 3600})");
        row("token that is no text", R"({"access_token": 17, "expires_in": 3600})");
        row("1 MiB", R"({"access_token": "t", "expires_in": 3600, "x": ")" + QByteArray(1024 * 1024, 'x') + R"("})");
        row("HTML", "<html>");
        row("deep", QByteArray(100000, '[') + QByteArray(100000, ']'));
    }

    void attemptsAreCountedFromEachStart() {
        RetryProcess process([] { return 0; });
        for (int round = 0; round < 2; ++round) {
            process.start({0, {{10, 10}}});
            QVERIFY(process.next());
            QCOMPARE(process.attempts(), 1);
        }
    }
};

QTEST_GUILESS_MAIN(RetryScheduleTest)
#include "RetryScheduleTest.moc"
