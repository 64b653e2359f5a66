// Texts of the largest size that a server or a file may have, shaped so that a careless reader takes minutes for them.

#include "FuzzTargets.h"
#include "TestKit/Test.h"

using namespace Velquor;

class HostileSizeTest : public QObject {
    Q_OBJECT

private slots:
    void noTextKeepsAReaderBusy() {
        const auto row = [](const char* name, const QByteArray& text) {
            const TestKit::Stopwatch all;
            for (const Tests::FuzzTarget& target : Tests::fuzzTargets()) {
                const TestKit::Stopwatch timer;
                target.run(text);
                QVERIFY2(!TestKit::isSoak() || timer.elapsed() < 1000,
                         qPrintable(QStringLiteral("%1, %2: %3 ms")
                                        .arg(QLatin1String(name), QLatin1String(target.name))
                                        .arg(timer.elapsed())));
            }
            TestKit::figure(name, "each reader < 1 s", QStringLiteral("all of them %1 ms").arg(all.elapsed()));
        };
        row("attributes of one element", "<a" + numbered(" a%1=\"\"") + "/>");
        row("attributes with long names", "<a" + numbered(' ' + QByteArray(40, 'x') + "%1=\"\"") + "/>");
        row("attributes of many elements", "<a>" + filled("<b" + numbered(" a%1=\"\"", 700) + "/>") + "</a>");
        row("namespaces", "<a" + numbered(" xmlns:a%1=\"u\"") + "/>");
        row("namespaces in use",
            "<a" + numbered(" xmlns:a%1=\"u\"", size / 2) + ">" + QByteArray("<a0:b/>").repeated(9000) + "</a>");
        row("comments", "<a>" + filled("<!---->") + "</a>");
        row("instructions", "<a>" + filled("<?a?>") + "</a>");
        row("sections", "<a>" + filled("<![CDATA[]]>") + "</a>");
        row("references", "<a>" + filled("&#65;") + "</a>");
        row("references in an attribute", "<a b=\"" + filled("&amp;") + "\"/>");
        row("deep", QByteArray("<a>").repeated(size / 3));
        row("a long name", "<" + QByteArray(size / 2, 'n') + "></" + QByteArray(size / 2, 'n') + ">");
        row("tags that never end", filled("<"));
        row("fields of a form without a value", filled("amp;&"));
        row("fields of a form", numbered("a%1=1&"));
        row("arrays", filled("["));
        row("members", "{" + numbered("\"a%1\":1,") + "\"a\":1}");
        row("one text", "{\"access_token\":\"" + filled("x") + "\"}");
    }

private:
    static constexpr int size = 1024 * 1024 - 256;

    static QByteArray filled(const QByteArray& unit) { return unit.repeated(size / unit.size()); }
    // Each with a number of its own, since a name may not stand twice.
    static QByteArray numbered(const QByteArray& unit, int bytes = size) {
        QByteArray text;
        for (int number = 0; text.size() < bytes - 64; ++number)
            text += QByteArray(unit).replace("%1", QByteArray::number(number));
        return text;
    }
};

QTEST_GUILESS_MAIN(HostileSizeTest)
#include "HostileSizeTest.moc"
