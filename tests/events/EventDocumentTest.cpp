// The file that carries an event from process to process: what is written can be read, and what is hostile does no harm.

#include "Events/EventDocument.h"
#include "Events/WebServicesEvent.h"
#include "TestKit/Test.h"

#include <QDomDocument>

using namespace Velquor;
using namespace Velquor::WebServices;
using namespace Velquor::WebServices::Internal;

class EventDocumentTest : public QObject {
    Q_OBJECT

private slots:
    void writesTheFormat() {
        const QByteArray text =
            writeEventDocument({4242, 9, {{"ConsumerKey", "key"}, {"Flag", true}, {"Nested", QVariantMap{{"Number", 7}}}}});
        const QByteArray expected =
            "<WebServicesEvent><Event RaisedByProcess=\"4242\" Id=\"9\"><Params>"
            "<Param Name=\"ConsumerKey\" Type=\"String\">key</Param><Param Name=\"Flag\" Type=\"Bool\">True</Param>"
            "<Param Name=\"Nested\" Type=\"Map\"><Param Name=\"Number\" Type=\"Int\">7</Param></Param>"
            "</Params></Event></WebServicesEvent>";
        // The order of attributes is not part of the format.
        QDomDocument written;
        QDomDocument wanted;
        QVERIFY(written.setContent(text));
        QVERIFY(wanted.setContent(expected));
        QCOMPARE(sorted(written.documentElement()), sorted(wanted.documentElement()));
    }

    void everyValueComesBack() {
        const TestKit::Rows row([&](const QVariant& value) {
            EventDocument read;
            QCOMPARE(readEventDocument(writeEventDocument({1, 2, {{"Value", value}}}), read), EventReadResult::Read);
            QCOMPARE(read.raisedByProcess, qint64(1));
            QCOMPARE(read.id, 2);
            QCOMPARE(read.params.value("Value"), value);
            QCOMPARE(read.params.value("Value").userType(), value.userType());
        });
        row("false", QVariant(false));
        row("int", QVariant(-2147483647 - 1));
        row("unsigned", QVariant(4294967295U));
        row("long", QVariant(qlonglong(-9223372036854775807LL)));
        row("unsigned long", QVariant(qulonglong(18446744073709551615ULL)));
        row("double", QVariant(0.1 + 0.2));
        row("char", QVariant(QChar('<')));
        row("empty text", QVariant(QString("")));
        row("blanks and line ends", QVariant("  a\n\tb \r\n"));
        row("blanks alone", QVariant("   "));
        row("a blank", QVariant(QChar(' ')));
        row("other spaces alone", QVariant(QString(QChar(0xa0)) + QChar(0x2028)));
        row("markup", QVariant("]]> & <a b=\"c\"/> 100% %0041"));
        row("control and surrogates", QVariant(QString(QChar(1)) + QChar(0) + QChar(0xd800) + QChar(0xffff) + "ä€"));
        row("texts", QVariant(QStringList{"a,b", "", "\"c\"", "ä"}));
        row("empty list", QVariant(QVariantList()));
        row("list", QVariant(QVariantList{1, " ", QVariant(), QVariantList{2.5}, QVariantMap{{"a", true}}}));
        row("bytes", QVariant(QByteArray("\0\xff<", 3)));
        QBitArray bits(5);
        bits.setBit(1);
        row("bits", QVariant(bits));
        row("date", QVariant(QDate(2024, 2, 29)));
        row("time", QVariant(QTime(23, 59, 58, 7)));
        row("moment", QVariant(QDateTime(QDate(2024, 2, 29), QTime(1, 2, 3, 4), Qt::UTC)));
        row("url", QVariant(QUrl("https://a.example/b c?d=%20e#f")));
        row("map", QVariant(QVariantMap{{"a", 1}, {"b", QVariantMap{{"c", "d"}}}}));
    }

    void valuesWithoutATextFormAreMarked() {
        // expected: Invalid: the type has no text form, and the file says so.
        const TestKit::Rows row([&](const QVariant& value, const QString& type, const QVariant& expected) {
            const QByteArray text = writeEventDocument({1, 2, {{"Value", value}}});
            QVERIFY2(text.contains("Type=\"" + type.toLatin1() + '"'), text.constData());
            QCOMPARE(text.contains("Error: Unsupported type"), !expected.isValid());
            EventDocument read;
            QCOMPARE(readEventDocument(text, read), EventReadResult::Read);
            QCOMPARE(read.params.value("Value"), expected);
            QCOMPARE(read.params.value("Value").userType(), expected.userType());
        });
        row("size", QVariant(QSize(1, 2)), "Size", QVariant());
        row("hash", QVariant(QVariantHash{{"a", 1}}), "Hash", QVariant());
        row("pointer", QVariant::fromValue<void*>(nullptr), "UserType", QVariant());
        row("float", QVariant(1.5F), "Double", QVariant(1.5));
        row("long", QVariant::fromValue(-7L), "LongLong", QVariant(-7LL));
        row("short", QVariant::fromValue<short>(-7), "Int", QVariant(-7));
    }

    void hostileFilesGiveNoEvent() {
        const TestKit::Rows row([&](const QByteArray& text, EventReadResult result) {
            EventDocument read;
            QCOMPARE(readEventDocument(text, read), result);
            QCOMPARE(read.id, -1);
            QVERIFY(read.params.isEmpty());
        });
        row("empty", "", EventReadResult::NotXml);
        row("cut", "<WebServicesEvent><Event Id=\"1\"", EventReadResult::NotXml);
        row("entities", "<!DOCTYPE a [<!ENTITY b \"c\">]><WebServicesEvent><Event/></WebServicesEvent>", EventReadResult::NotXml);
        row("no event", "<WebServicesEvent/>", EventReadResult::NoEvent);
        row("no id", "<WebServicesEvent><Event RaisedByProcess=\"x\"/></WebServicesEvent>", EventReadResult::Read);
        row("huge id", "<WebServicesEvent><Event Id=\"99999999999999999999\"/></WebServicesEvent>", EventReadResult::Read);
    }

    void eventNamesAndNumbersMatch() {
        using Event = WebServicesPrivateCore::WebServicesEvent;
        for (int number = -1; number <= 20; ++number) {
            const QString name = eventName(static_cast<Event>(number));
            const bool isEvent = number >= 0 && number <= 19 && number != 18;
            QCOMPARE(!name.isEmpty(), isEvent);
            const std::optional<Event> found = WebServicesPrivateCore::eventFromName(name);
            QCOMPARE(found.has_value(), isEvent);
            QVERIFY(!isEvent || static_cast<int>(*found) == number);
        }
    }

private:
    static QString sorted(const QDomElement& element) {
        QStringList attributes;
        for (int index = 0; index < element.attributes().count(); ++index) {
            const QDomAttr attribute = element.attributes().item(index).toAttr();
            attributes += attribute.name() + '=' + attribute.value();
        }
        attributes.sort();
        QString text = element.tagName() + '[' + attributes.join(',') + "](";
        for (QDomNode child = element.firstChild(); !child.isNull(); child = child.nextSibling())
            text += child.isElement() ? sorted(child.toElement()) : child.nodeValue();
        return text + ')';
    }
};

QTEST_GUILESS_MAIN(EventDocumentTest)
#include "EventDocumentTest.moc"
