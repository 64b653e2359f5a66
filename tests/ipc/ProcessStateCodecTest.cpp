#include "VqUtil/ProcessState/ProcessStateCodec.h"
#include "TestKit/Test.h"

using namespace Velquor::Util;

namespace {

constexpr int blockSize = 65536;

ProcessRecords someRecords() {
    return {{1234, "/opt/App", {{"A", true}, {"B", "x\u00e9"}}},
            {4294967296LL, QString(), {}},
            {-1,
             QStringLiteral(""),
             {{QString(), QVariant()},
              {"n", -5},
              {"u", 7U},
              {"l", Q_INT64_C(-9000000000)},
              {"L", ~Q_UINT64_C(0)},
              {"g", QVariant::fromValue(77L)},
              {"s", QVariant::fromValue<short>(-3)}}}};
}

// The sizes in it are small, so that one changed bit makes them wrong.
QByteArray withCount(const char* count, const QByteArray& rest = {}) {
    return QByteArray::fromHex(count) + rest;
}

} // namespace

/// The bytes of the process state block, which other programs write too and which may be damaged.
class ProcessStateCodecTest : public QObject {
    Q_OBJECT

private slots:
    void theBlockHasTheDocumentedLayout() {
        const ProcessRecords records{{0x1234, "/a", {{"A", true}, {"B", "x"}, {"C", QString()}}}};
        const QByteArray expected = QByteArray::fromHex("00000001"
                                                        "0000000000001234"
                                                        "00000004002f0061" // count, id, path
                                                        "00000003"         // the greatest key first
                                                        "000000020043"
                                                        "0000000a00ffffffff"
                                                        "000000020042"
                                                        "0000000a00"
                                                        "000000020078"
                                                        "000000020041"
                                                        "0000000100"
                                                        "01");
        const QByteArray block = ProcessStateCodec::encode(records, blockSize);
        QCOMPARE(block.left(expected.size()), expected);
        QCOMPARE(block.size(), blockSize);
        QCOMPARE(block.mid(expected.size()).count('\0'), blockSize - expected.size());
        const auto decoded = ProcessStateCodec::decode(block);
        QVERIFY(decoded.records == records);
        QCOMPARE(decoded.used, expected.size());
        QCOMPARE(decoded.examined, expected.size());
    }

    void qtAndTheCodecReadEachOther() {
        QByteArray block;
        QDataStream stream(&block, QIODevice::WriteOnly);
        stream.setVersion(QDataStream::Qt_5_15);
        const ProcessRecords records = someRecords();
        stream << static_cast<qint32>(records.size());
        for (const auto& record : records)
            stream << record.processId << record.executablePath << record.properties;
        const auto decoded = ProcessStateCodec::decode(block);
        QVERIFY(decoded.records == records);
        for (auto one = decoded.records.last().properties.cbegin(); one != decoded.records.last().properties.cend(); ++one)
            QCOMPARE(one.value().userType(), records.last().properties.value(one.key()).userType());
        QCOMPARE(decoded.used, block.size());
        const QByteArray written = ProcessStateCodec::encode(records, 0);
        QCOMPARE(written.size(), block.size());
        QDataStream reading(written);
        reading.setVersion(QDataStream::Qt_5_15);
        qint32 count = 0;
        reading >> count;
        for (const auto& record : records) {
            ProcessRecord read;
            reading >> read.processId >> read.executablePath >> read.properties;
            QVERIFY(read == record);
        }
        QVERIFY(count == records.size() && reading.atEnd() && reading.status() == QDataStream::Ok);
    }

    // A later version may publish them. Neither the records behind them may be lost nor, at the next write, they themselves.
    void valuesOfOtherTypesSurvive() {
        const Velquor::TestKit::Rows row([&](const QVariant& value, bool isWhole) {
            const ProcessRecords records{{1, "/a", {{"A", true}, {"V", value}, {"X", true}}}, {2, "/b", {{"B", true}}}};
            const QByteArray block = ProcessStateCodec::encode(records, 0);
            auto read = ProcessStateCodec::decode(block + QByteArray(40, '\0')).records;
            QVERIFY(read.first().properties.contains("X") && read.size() == (isWhole ? 2 : 1));
            QVERIFY(!isWhole || read.last() == records.last());
            QCOMPARE(ProcessStateCodec::encode(read, block.size()).toHex(), block.toHex());
            // The writer's own record comes to what it found.
            read += ProcessRecord{3, "/c", {{"C", true}}};
            const auto again = ProcessStateCodec::decode(ProcessStateCodec::encode(read, 1000)).records;
            QCOMPARE(again.size(), read.size());
            QVERIFY(again.contains(read.last()));
            QVERIFY(ProcessStateCodec::encode(again, 1000).contains(block.mid(4)) || isWhole);
        });
        row("real", 2.5, true);
        row("real of single precision", QVariant::fromValue(2.5F), true);
        row("character", QChar('x'), true);
        row("bytes", QByteArray("ab\0c", 4), true);
        row("null bytes", QByteArray(), true);
        row("bits", QVariant(QBitArray(11, true)), true);
        row("texts", QStringList{"a", QString(), "b"}, true);
        row("list", QVariantList{1, "a", QVariantList{2.5}, QVariant()}, true);
        row("map", QVariantMap{{"a", 1}, {"b", QVariantMap{{"c", "d"}}}}, true);
        row("hash", QVariantHash{{"a", 1}}, true);
        row("date", QDate(2026, 1, 2), true);
        row("time", QTime(1, 2), true);
        row("date and time", QDateTime(QDate(2026, 1, 2), QTime(1, 2), Qt::UTC), true);
        row("date and time with an offset", QDateTime(QDate(2026, 1, 2), QTime(1, 2), Qt::OffsetFromUTC, 3600), true);
        row("address", QUrl("https://example.com/a"), true);
        row("id", QUuid(1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11), true);
        row("rectangle", QRectF(1, 2, 3, 4), true);
        row("size", QSize(1, 2), true);
        row("date and time in a zone", QDateTime(QDate(2026, 1, 2), QTime(1, 2), QTimeZone("Europe/Berlin")), false);
        row("pattern", QRegularExpression("a+"), false);
    }

    void hostileBlocksGiveTheirWholeRecordsOnly() {
        // properties: of the last record
        const Velquor::TestKit::Rows row([&](const QByteArray& block, int records, int properties) {
            const auto decoded = ProcessStateCodec::decode(block);
            QCOMPARE(decoded.records.size(), records);
            QCOMPARE(decoded.records.value(records - 1).properties.size(), properties);
            QVERIFY(decoded.used <= decoded.examined && decoded.examined <= block.size());
        });
        const QByteArray id = QByteArray::fromHex("0000000000001234");
        const QByteArray path = QByteArray::fromHex("00000004002f0061");
        const QByteArray flagB = QByteArray::fromHex("000000020042"
                                                     "0000000100"
                                                     "01");
        const QByteArray flagA = QByteArray::fromHex("000000020041"
                                                     "0000000100"
                                                     "01");
        const QByteArray whole = id + path + QByteArray::fromHex("00000001") + flagB;
        row("nothing", {}, 0, 0);
        row("shorter than a count", QByteArray(3, '\x01'), 0, 0);
        row("zeros", QByteArray(blockSize, '\0'), 0, 0);
        row("ones", QByteArray(blockSize, '\xff'), 0, 0);
        row("negative count", withCount("80000000", whole), 0, 0);
        row("greatest count", withCount("7fffffff", whole), 1, 1);
        row("greatest count, zeros behind", withCount("7fffffff", QByteArray(blockSize - 4, '\0')), 4096,
            0 /* the last without properties */);
        row("id breaks off", withCount("00000002", whole + id.left(7)), 1, 1);
        row("path breaks off", withCount("00000002", whole + id + path.left(6)), 1, 1);
        row("path of almost 4 GiB", withCount("00000001", id + QByteArray::fromHex("fffffffe") + path), 0, 0);
        row("path of odd length", withCount("00000001", id + QByteArray::fromHex("00000003") + path), 0, 0);
        row("path longer than the block by one letter", withCount("00000001", id + QByteArray::fromHex("00000006002f0061")), 0,
            0);
        row("null path", withCount("00000001", id + QByteArray::fromHex("ffffffff00000001") + flagB), 1, 1);
        row("greatest count of properties", withCount("00000001", id + path + QByteArray::fromHex("ffffffff") + flagB + flagA), 1,
            2);
        row("property breaks off", withCount("00000001", id + path + QByteArray::fromHex("00000002") + flagB + flagA.left(10)), 1,
            1);
        row("value of another type",
            withCount("00000002", id + path + QByteArray::fromHex("00000002") + flagB
                                      + QByteArray::fromHex("000000020041"
                                                            "0000000900"
                                                            "ffffffff")
                                      + whole),
            1, 1);
        row("value of a named type",
            withCount("00000001", id + path + QByteArray::fromHex("00000002") + flagB
                                      + QByteArray::fromHex("000000020041"
                                                            "0000040000"
                                                            "7fffffff41")),
            1, 1);
        row("the same key twice", withCount("00000001", id + path + QByteArray::fromHex("00000002") + flagB + flagB), 1, 1);
    }
};

QTEST_APPLESS_MAIN(ProcessStateCodecTest)
#include "ProcessStateCodecTest.moc"
