#include "VqLog/LogQueue.h"
#include "VqLog/LoggerWrapper.h"
#include "VqLog/PrefixedLogger.h"
#include "VqUtil/General/HumanText.h"
#include "VqUtil/Xml/BoundedXml.h"

#include <QElapsedTimer>
#include <QtTest>
#include <atomic>
#include <limits>
#include <thread>
#include <vector>

using namespace Velquor;
using namespace Velquor::Util;

class UtilTest : public QObject {
    Q_OBJECT

private slots:
    void timeSpans_data();
    void timeSpans();
    void goodXml_data();
    void goodXml();
    void hostileXml_data();
    void hostileXml();
    void singleLines_data();
    void singleLines();
    void queueKeepsTheFirst();
    void queueLosesNothing();
};

void UtilTest::timeSpans_data() {
    QTest::addColumn<qint64>("milliseconds");
    QTest::addColumn<QString>("text");
    const auto row = [](qint64 milliseconds, const char* text) {
        QTest::newRow(text) << milliseconds << QString::fromLatin1(text);
    };
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

void UtilTest::timeSpans() {
    QFETCH(qint64, milliseconds);
    QTEST(timeSpanText(milliseconds), "text");
}

void UtilTest::goodXml_data() {
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QString>("content");
    const XmlLimits limits;
    QTest::newRow("entities of the language") << QByteArray("<a>&lt;&amp;&#65;&gt;</a>") << QStringLiteral("<&A>");
    QTest::newRow("CDATA") << QByteArray("<a><![CDATA[<x>&y;]]></a>") << QStringLiteral("<x>&y;");
    QTest::newRow("byte order mark") << QByteArray("\xef\xbb\xbf<?xml version='1.0' encoding='UTF-8'?><a>\xc3\xa4</a>")
                                     << QStringLiteral("\u00e4");
    QTest::newRow("32 deep") << QByteArray("<a>").repeated(limits.depth) + "x" + QByteArray("</a>").repeated(limits.depth)
                             << QStringLiteral("x");
    QTest::newRow("10000 elements") << "<a>" + QByteArray("<b/>").repeated(limits.elements - 1) + "x</a>" << QStringLiteral("x");
    QTest::newRow("1 MiB") << "<a>" + QByteArray(static_cast<int>(limits.size) - 7, 'x') + "</a>"
                           << QString(static_cast<int>(limits.size) - 7, QLatin1Char('x'));
}

void UtilTest::goodXml() {
    QFETCH(QByteArray, text);
    const XmlResult result = parseBoundedXml(text);
    QCOMPARE(result.error, QString());
    QTEST(result.document.documentElement().text(), "content");
}

void UtilTest::hostileXml_data() {
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QString>("error"); // a part of it
    const XmlLimits limits;
    const QString any;
    const QString dtd = QStringLiteral("document type definition");
    QByteArray bomb = "<!DOCTYPE a [<!ENTITY e0 \"xxxxxxxxxx\">";
    for (int level = 1; level < 10; ++level)
        bomb +=
            "<!ENTITY e" + QByteArray::number(level) + " \"" + ("&e" + QByteArray::number(level - 1) + ";").repeated(10) + "\">";
    QTest::newRow("empty") << QByteArray() << any;
    QTest::newRow("one byte") << QByteArray("<") << any;
    QTest::newRow("NUL") << QByteArray(1000, '\0') << any;
    QTest::newRow("NUL inside") << QByteArray("<a>x\0y</a>", 10) << any;
    QTest::newRow("text only") << QByteArray("hello") << any;
    QTest::newRow("DTD") << QByteArray("<!DOCTYPE a><a/>") << dtd;
    QTest::newRow("entity bomb") << bomb + "]><a>&e9;</a>" << dtd;
    QTest::newRow("external entity") << QByteArray("<!DOCTYPE a [<!ENTITY x SYSTEM \"file:///etc/passwd\">]><a>&x;</a>") << dtd;
    QTest::newRow("parameter entity") << QByteArray("<!DOCTYPE a [<!ENTITY % p '<!ENTITY x \"y\">'> %p;]><a/>") << any;
    QTest::newRow("unknown entity") << QByteArray("<a>&nbsp;</a>") << any;
    QTest::newRow("33 deep") << QByteArray("<a>").repeated(33) + QByteArray("</a>").repeated(33)
                             << QStringLiteral("more than 32 deep");
    QTest::newRow("4000 deep") << QByteArray("<a>").repeated(4000) << QStringLiteral("more than 32 deep");
    QTest::newRow("10001 elements") << "<a>" + QByteArray("<b/>").repeated(10000) + "</a>"
                                    << QStringLiteral("more than 10000 elements");
    QTest::newRow("over 1 MiB") << "<a>" + QByteArray(static_cast<int>(limits.size) - 6, 'x') + "</a>"
                                << QStringLiteral("larger than");
    QTest::newRow("100 MiB") << QByteArray(100 * 1024 * 1024, '<') << QStringLiteral("larger than");
    QTest::newRow("attribute twice") << QByteArray("<a b='1' b='2'/>") << any;
    QTest::newRow("junk after the end") << QByteArray("<a/>junk") << any;
    QTest::newRow("two documents") << QByteArray("<a/><a/>") << any;
    QTest::newRow("cut") << QByteArray("<a><b>text</b>") << any;
    QTest::newRow("crossed") << QByteArray("<a><b></a></b>") << any;
    QTest::newRow("bad UTF-8") << QByteArray("<a>\xc3\x28\xff</a>") << any;
    QTest::newRow("cut UTF-8") << QByteArray("<a>\xe2\x82</a>") << any;
    QTest::newRow("wrong encoding declared") << QByteArray("<?xml version='1.0' encoding='no-such-thing'?><a/>") << any;
    QTest::newRow("DTD in another encoding")
        << QByteArray("<?xml version='1.0' encoding='UTF-7'?>+ADwAIQ-DOCTYPE a+AD4-<a/>") << any;
}

void UtilTest::hostileXml() {
    QFETCH(QByteArray, text);
    QFETCH(QString, error);
    QElapsedTimer timer;
    timer.start();
    const XmlResult result = parseBoundedXml(text);
    QVERIFY(!result.isValid());
    QVERIFY2(result.error.contains(error), qPrintable(result.error));
    QVERIFY(result.document.documentElement().isNull());
    QVERIFY2(timer.elapsed() < 1000, qPrintable(QString::number(timer.elapsed())));
}

void UtilTest::singleLines_data() {
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("line");
    QTest::newRow("plain") << QStringLiteral("a \u00e4 \U0001F511 %s%n %1") << QStringLiteral("a \u00e4 \U0001F511 %s%n %1");
    QTest::newRow("line ends") << QStringLiteral("a\r\nb\tc") << QStringLiteral("a\\r\\nb\\tc");
    QTest::newRow("NUL") << QString(QChar(0)) << QStringLiteral("\\x00");
    QTest::newRow("escape") << QStringLiteral("\x1b[31m") << QStringLiteral("\\x1b[31m");
    QTest::newRow("DEL and C1") << QStringLiteral("\x7f\u0085\u009b") << QStringLiteral("\\x7f\\x85\\x9b");
    QTest::newRow("separators") << QStringLiteral("\u2028\u2029") << QStringLiteral("\\u2028\\u2029");
}

void UtilTest::singleLines() {
    QFETCH(QString, text);
    QTEST(Log::singleLine(text), "line");
}

void UtilTest::queueKeepsTheFirst() {
    Log::LogQueue& queue = Log::LogQueue::instance();
    (void)queue.finish();
    queue.restart();
    const auto prefix = std::make_shared<Log::LogPrefix>();
    Log::PrefixedLogger logger(Log::makeLogger(QStringLiteral("VqWebServices.Test")), prefix);
    prefix->set(QStringLiteral("prefix"));
    logger.warning(QStringLiteral("first\nline"));
    for (int number = 1; number < 1500; ++number)
        logger.trace(QString::number(number));
    const QList<Log::QueuedMessage> queued = queue.finish();
    QCOMPARE(queued.size(), 1000);
    QCOMPARE(queued.first().text, QStringLiteral("prefix: first\\nline"));
    QCOMPARE(queued.first().level, Log::Level::Warning);
    QCOMPARE(queued.first().logger, QStringLiteral("VqWebServices.Test"));
    QCOMPARE(queued.last().text, QStringLiteral("prefix: 999"));
    QVERIFY(!queue.add({QStringLiteral("x"), Log::Level::Error, QStringLiteral("late")}));
    QVERIFY(queue.finish().isEmpty());
}

// Each message is either among those that the set-up of the log takes over, or handed back to be written.
void UtilTest::queueLosesNothing() {
    Log::LogQueue& queue = Log::LogQueue::instance();
    for (int round = 0; round < 50; ++round) {
        queue.restart();
        std::atomic<int> refused{0};
        std::atomic<int> added{0};
        std::vector<std::thread> threads;
        for (int thread = 0; thread < 4; ++thread) {
            threads.emplace_back([&] {
                for (int number = 0; number < 100; ++number)
                    ++(queue.add({{}, Log::Level::Error, QStringLiteral("text")}) ? added : refused);
            });
        }
        while (added + refused < 30)
            std::this_thread::yield();
        const int takenOver = queue.finish().size();
        for (auto& thread : threads)
            thread.join();
        QCOMPARE(takenOver, added.load());
        QCOMPARE(added + refused, 400);
        QVERIFY(queue.finish().isEmpty());
    }
}

QTEST_GUILESS_MAIN(UtilTest)
#include "UtilTest.moc"
