// An XML text that is read, changed and written: what nobody changed stays to the letter.

#include "VqUtil/Xml/XmlText.h"
#include "TestKit/Test.h"

using namespace Velquor;
using namespace Velquor::Util;

namespace {

QByteArray attributes(int count) {
    QByteArray text;
    for (int number = 0; number < count; ++number)
        text += " a" + QByteArray::number(number) + "=\"=>\"";
    return text;
}

} // namespace

class XmlTextTest : public QObject {
    Q_OBJECT

private slots:
    void whatIsReadIsWrittenToTheLetter() {
        const TestKit::Rows row([&](const QByteArray& text) {
            const Result<XmlText> read = XmlText::parse(text);
            QVERIFY2(read, qPrintable(read.reason()));
            QCOMPARE(read->toBytes(), text);
        });
        row("attributes in any order and quotes", "<a z='1\"'\n b=\"&amp;&#10;\"/>");
        row("comments and instructions everywhere", "<?xml version=\"1.0\"?>\r\n<!--x--><a><!-- < --><?p < ?></a>\n<!--y-->");
        row("elements without blanks between them", "<a><b><c/></b><b></b ><d/></a>");
        row("sections and references", "<a>\n  <b><![CDATA[<x>&]]></b>&lt;&#x41;<b>\xc3\xa4\xf0\x9f\x98\x80</b>\n</a>\n");
        row("as many attributes as are read", "<a" + attributes(256) + "><!-- '<c" + attributes(300) + "--></a>");
        row("prefixes", "<p:a xmlns:p=\"u\"><p:b p:c=\"1\"/></p:a>");
    }

    void hostileTextsAreRefused() {
        const TestKit::Rows row([&](const QByteArray& text) { QVERIFY(!XmlText::parse(text).reason().isEmpty()); });
        row("empty", {});
        row("cut", "<a><b></a");
        row("entities", "<!DOCTYPE a [<!ENTITY b \"c\">]><a>&b;</a>");
        row("more attributes than are read", "<a><!-- ' --><b" + attributes(257) + "/></a>");
        row("too deep", QByteArray("<a>").repeated(40) + QByteArray("</a>").repeated(40));
    }

    void aTextThatWasReadCanBeWritten() {
        const Result<XmlText> read = XmlText::parse("<?xml version='1.0' encoding='UTF-99'?><a/>");
        // The framework of Qt 5 refuses to read it.
        QVERIFY(!read || read->toReadableBytes({}));
    }

    void aChangeTouchesNothingElse() {
        Result<XmlText> read = XmlText::parse("<a  x='1'>\n  <b  y='2'/>\n  <!--c--><d><e/></d>\n</a>");
        QVERIFY(read);
        XmlElement& root = read->root();
        root.child("b")->setAttribute("y", "<\"&\n");
        root.child("b")->childOrNew("f").setCData("g");
        root.child("d")->removeChildren("e");
        root.childOrNew("h").setAttribute("i", "j");
        QCOMPARE(read->toBytes(),
                 QByteArray("<a  x='1'>\n  <b y=\"&lt;&quot;&amp;&#10;\">\n    <f><![CDATA[g]]></f>\n  </b>\n  <!--c-->"
                            "<d></d>\n  <h i=\"j\"/>\n</a>"));
        const Result<XmlText> again = XmlText::parse(read->toBytes());
        QVERIFY(again);
        QCOMPARE(again->root().child("b")->attribute("y"), QStringLiteral("<\"&\n"));
        QCOMPARE(again->root().child("b")->child("f")->text(), QStringLiteral("g"));
        QCOMPARE(*read->toReadableBytes({}), read->toBytes());
        root.child("b")->child("f")->setCData("\x01");
        QVERIFY(!read->toReadableBytes({}));
        root.child("b")->removeChildren("f");
        root.setAttribute("x", "\x01");
        QVERIFY(!read->toReadableBytes({}));
        root.setAttribute("x", QString(2000, 'x'));
        QVERIFY(read->toReadableBytes({}));
        XmlLimits narrow;
        narrow.size = 2000;
        QVERIFY(!read->toReadableBytes(narrow));
        root.remove(root.child("h"));
        QVERIFY(read->toBytes().endsWith("<d></d>\n</a>"));
    }
};

QTEST_GUILESS_MAIN(XmlTextTest)
#include "XmlTextTest.moc"
