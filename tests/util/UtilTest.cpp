#include "TestKit/Test.h"
#include "VqLog/KnownSecrets.h"
#include "VqLog/LogQueue.h"
#include "VqLog/LoggerWrapper.h"
#include "VqLog/PrefixedLogger.h"
#include "VqUtil/General/HumanText.h"
#include "VqUtil/Xml/BoundedXml.h"

#include <limits>

using namespace Velquor;
using namespace Velquor::Util;

class UtilTest : public QObject {
    Q_OBJECT

private slots:
    void timeSpansAreShownInTheirTwoLargestUnits() {
        const TestKit::Rows add([&](qint64 milliseconds, const QString& text) { QCOMPARE(timeSpanText(milliseconds), text); });
        const auto row = [&](qint64 milliseconds, const char* text) { add(text, milliseconds, QString::fromLatin1(text)); };
        row(0, "0 ms");
        row(999, "999 ms");
        row(1000, "1 s");
        row(59999, "59 s");
        row(60000, "1 min");
        row(150000, "2 min 30 s");
        row(3599999, "59 min 59 s");
        row(3605000, "1 h");
        row(3661000, "1 h 1 min");
        row(3 * 86400000LL + 4 * 3600000LL + 59000, "3 d 4 h");
        row(86400000LL + 5000, "1 d");
        row(-90500, "-1 min 30 s");
        row(std::numeric_limits<qint64>::max(), "106751991167 d 7 h");
        row(std::numeric_limits<qint64>::min(), "-106751991167 d 7 h");
    }

    void acceptsXmlWithinTheBounds() {
        const TestKit::Rows row([&](const QByteArray& text, const QString& content) {
            const XmlResult result = parseBoundedXml(text);
            QCOMPARE(result.error, QString());
            QCOMPARE(result.document.documentElement().text(), content);
        });
        const XmlLimits limits;
        row("entities of the language", "<a>&lt;&amp;&#65;&gt;</a>", "<&A>");
        row("CDATA", "<a><![CDATA[<x>&y;]]></a>", "<x>&y;");
        row("byte order mark", "\xef\xbb\xbf<?xml version='1.0' encoding='UTF-8'?><a>\xc3\xa4</a>", "\u00e4");
        row("32 deep", QByteArray("<a>").repeated(limits.depth) + "x" + QByteArray("</a>").repeated(limits.depth), "x");
        row("10000 elements", "<a>" + QByteArray("<b/>").repeated(limits.elements - 1) + "x</a>", "x");
        row("1 MiB", "<a>" + QByteArray(static_cast<int>(limits.size) - 7, 'x') + "</a>",
            QString(static_cast<int>(limits.size) - 7, QLatin1Char('x')));
    }

    void refusesHostileXmlQuickly() {
        // error: a part of it
        const TestKit::Rows row([&](const QByteArray& text, const QString& error) {
            const TestKit::Stopwatch timer;
            const XmlResult result = parseBoundedXml(text);
            QVERIFY(!result.isValid());
            QVERIFY2(result.error.contains(error), qPrintable(result.error));
            QVERIFY(result.document.documentElement().isNull());
            QVERIFY2(!TestKit::isSoak() || timer.elapsed() < 1000, qPrintable(QString::number(timer.elapsed())));
        });
        const XmlLimits limits;
        const QString any;
        const QString dtd = QStringLiteral("document type definition");
        QByteArray bomb = "<!DOCTYPE a [<!ENTITY e0 \"xxxxxxxxxx\">";
        for (int level = 1; level < 10; ++level)
            bomb += "<!ENTITY e" + QByteArray::number(level) + " \"" + ("&e" + QByteArray::number(level - 1) + ";").repeated(10)
                    + "\">";
        row("empty", {}, any);
        row("NUL", QByteArray(1000, '\0'), any);
        row("NUL inside", QByteArray("<a>x\0y</a>", 10), any);
        row("DTD", "<!DOCTYPE a><a/>", dtd);
        row("entity bomb", bomb + "]><a>&e9;</a>", dtd);
        row("unknown entity", "<a>&nbsp;</a>", any);
        row("33 deep", QByteArray("<a>").repeated(33) + QByteArray("</a>").repeated(33), "more than 32 deep");
        row("4000 deep", QByteArray("<a>").repeated(4000), "more than 32 deep");
        row("10001 elements", "<a>" + QByteArray("<b/>").repeated(10000) + "</a>", "more than 10000 elements");
        row("over 1 MiB", "<a>" + QByteArray(static_cast<int>(limits.size) - 6, 'x') + "</a>", "larger than");
        row("100 MiB", QByteArray(100 * 1024 * 1024, '<'), "larger than");
        row("cut", "<a><b>text</b>", any);
        row("bad UTF-8", "<a>\xc3\x28\xff</a>", any);
        row("DTD in another encoding", "<?xml version='1.0' encoding='UTF-7'?>+ADwAIQ-DOCTYPE a+AD4-<a/>", any);
    }

    void logTextsStayOnOneLine() {
        const TestKit::Rows row([&](const QString& text, const QString& line) { QCOMPARE(Log::singleLine(text), line); });
        row("plain", "a \u00e4 \U0001F511 %s%n %1", "a \u00e4 \U0001F511 %s%n %1");
        row("line ends", "a\r\nb\tc", "a\\r\\nb\\tc");
        row("NUL", QString(QChar(0)), "\\x00");
        row("escape", "\x1b[31m", "\\x1b[31m");
        row("DEL and C1", "\x7f\u0085\u009b", "\\x7f\\x85\\x9b");
        row("separators", "\u2028\u2029", "\\u2028\\u2029");
    }

    void secretsAreHiddenInEachFormAndPlace() {
        const QByteArray secret = "ab/cd+ef=&\"gh";
        const TestKit::Rows row([&](const QString& text, const QString& line) {
            Log::KnownSecrets::learn("ab/cd+ef=&\"gh");
            Log::KnownSecrets::learn("short");
            QCOMPARE(Log::logLine(text), line);
            QVERIFY(Log::logLine(text).toUtf8().size() <= 4096);
        });
        row("alone", secret, "***");
        row("twice, at both ends", secret + secret + " x " + secret, "****** x ***");
        row("in a word", "x" + secret + "y", "x***y");
        row("percent-encoded", "a=" + secret.toPercentEncoding() + "&b", "a=***&b");
        row("percent-encoded in lower case", "ab%2fcd%2bef%3d%26%22gh", "***");
        row("percent-encoded twice", secret.toPercentEncoding().replace('%', "%25"), "***");
        row("Base64", "x " + secret.toBase64(), "x ***" + QString('=').repeated(2));
        row("hexadecimal", secret.toHex() + ' ' + secret.toHex().toUpper(), "*** ***");
        row("in JSON", "{\"ab\\/cd+ef=&\\\"gh\"}", "{\"***\"}");
        row("in XML", "<a>ab/cd+ef=&amp;&quot;gh</a>", "<a>***</a>");
        row("beside other characters", QString::fromUtf8("\u00e4") + secret + QString::fromUtf8("\U0001F511"),
            "\u00e4***\U0001F511");
        row("its beginning only", secret.left(9), secret.left(9));
        row("across the cut", QString(4090, 'x') + secret, QString(4068, 'x') + "... (4103 characters in all)");
        row("a long text", QString(6000000, 'x'), QString(4065, 'x') + "... (6000000 characters in all)");
        row("a long text of other characters", QString(4000, QChar(0xe4)),
            QString(2034, QChar(0xe4)) + "... (4000 characters in all)");
    }

    void theOldestSecretIsForgottenAfterManyOthers() {
        Log::KnownSecrets::learn("the-first-secret");
        for (int number = 0; number < 256; ++number) {
            QCOMPARE(Log::logLine("the-first-secret"), QStringLiteral("***"));
            Log::KnownSecrets::learn("another-secret-" + QByteArray::number(number));
        }
        QCOMPARE(Log::logLine("the-first-secret another-secret-255"), QStringLiteral("the-first-secret ***"));
    }

    void theLogQueueKeepsTheFirstThousand() {
        Log::LogQueue& queue = Log::LogQueue::instance();
        (void)queue.finish();
        queue.restart();
        const auto prefix = std::make_shared<Log::LogPrefix>();
        Log::PrefixedLogger logger(Log::makeLogger("VqWebServices.Test"), prefix);
        prefix->set("prefix");
        logger.warning("first\nline");
        for (int number = 1; number < 1500; ++number)
            logger.trace(QString::number(number));
        const QList<Log::QueuedMessage> queued = queue.finish();
        QCOMPARE(queued.size(), 1000);
        QCOMPARE(queued.first().text, QStringLiteral("prefix: first\\nline"));
        QCOMPARE(queued.first().level, Log::Level::Warning);
        QCOMPARE(queued.first().logger, QStringLiteral("VqWebServices.Test"));
        QCOMPARE(queued.last().text, QStringLiteral("prefix: 999"));
        QVERIFY(!queue.add({"x", Log::Level::Error, "late"}));
        QVERIFY(queue.finish().isEmpty());
    }

    // Each message is either among those that the set-up of the log takes over, or handed back to be written.
    void theLogQueueLosesNothingDuringTheSetUp() {
        Log::LogQueue& queue = Log::LogQueue::instance();
        for (int round = 0; round < 50; ++round) {
            queue.restart();
            std::atomic<int> refused{0};
            std::atomic<int> added{0};
            TestKit::Threads threads(4, [&](int) {
                for (int number = 0; number < 100; ++number)
                    ++(queue.add({{}, Log::Level::Error, "text"}) ? added : refused);
            });
            while (added + refused < 30)
                std::this_thread::yield();
            const int takenOver = queue.finish().size();
            threads.join();
            QCOMPARE(takenOver, added.load());
            QCOMPARE(added + refused, 400);
            QVERIFY(queue.finish().isEmpty());
        }
    }
};

QTEST_GUILESS_MAIN(UtilTest)
#include "UtilTest.moc"
