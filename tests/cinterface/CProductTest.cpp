// Products in C and C++ that know the library by its C interface alone, in processes of their own: one of today's header, one of
// the first released header, one with the C++ wrapper.

#include "TestKit/AccountServiceProcess.h"
#include "TestKit/HelperProcess.h"
#include "TestKit/Test.h"

using namespace Velquor::TestKit;

namespace {

/// A product that a test instructs.
class Product : public HelperProcess {
public:
    Product(const QString& program, const AccountServiceProcess& service)
        : Product(program, {service.folder(), service.authorityFile()}) {}
    Product(const QString& program, const QStringList& arguments)
        : HelperProcess(program, arguments) {}

    /// The line that answers an order; events before it are kept.
    QByteArray ask(const QByteArray& order) {
        tell(order);
        return answerTo(order.split(' ').first());
    }
    QByteArray answerTo(const QByteArray& what) {
        for (QByteArray line = nextLine().trimmed(); !line.isEmpty(); line = nextLine().trimmed()) {
            if (line.startsWith(what + ' '))
                return line.mid(what.size() + 1);
            m_events += line;
        }
        return {};
    }
    bool hears(const QByteArray& event) {
        while (!m_events.contains(event)) {
            m_events += nextLine().trimmed();
            if (m_events.last().isEmpty())
                return false;
        }
        return m_events.removeAll(event) > 0;
    }

private:
    QByteArrayList m_events;
};

} // namespace

class CProductTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() {
        QVERIFY(m_service.start());
        // An earlier run may have ended with a user.
        Product product(QStringLiteral("product_c"), m_service);
        static_cast<void>(product.ask("logout"));
        QVERIFY(product.finish());
    }

    void oneSignInForAll() {
        const Rows row([&](const QString& first, const QString& second) {
            Product one(first, m_service);
            Product other(second, m_service);
            QCOMPARE(one.answerTo("start"), QByteArray("0"));
            QCOMPARE(other.answerTo("start"), QByteArray("0"));
            QVERIFY(one.ask("sign https://example.com/").startsWith("9 "));
            const QByteArray page = one.ask("login");
            QVERIFY2(page.startsWith("0 https://"), page.constData());
            QVERIFY(m_service.approve(page.mid(2)));
            QCOMPARE(one.ask("complete"), QByteArray("0"));
            QVERIFY(other.hears("event 1"));
            QCOMPARE(other.ask("user"), QByteArray("0 ada"));
            for (Product* const product : {&one, &other}) {
                const QByteArray header = product->ask("sign " + echo());
                QVERIFY2(header.startsWith("0 OAuth "), header.constData());
                QCOMPARE(m_service.userWhoAsks(echo(), header.mid(2)), QStringLiteral("ada"));
            }
            QCOMPARE(other.ask("logout"), QByteArray("0"));
            QVERIFY(one.hears("event 3"));
            QCOMPARE(one.ask("user"), QByteArray("0"));
            QVERIFY(one.finish() && other.finish());
        });
        row("C and the first header", "product_c", "product_c_1_0");
        row("the wrapper and C", "product_hpp", "product_c");
        row("the first header and the wrapper", "product_c_1_0", "product_hpp");
#ifdef VQ_HAS_VISUAL_C_PRODUCT
        row("the kind of Visual C++ and C", "product_visual_c", "product_c");
        row("C and the kind of Visual C++", "product_c", "product_visual_c");
#endif
    }

    // Its main thread waits for something else, here for the next order.
    void aHostWithoutQtIsWoken() {
        Product host(QStringLiteral("product_c"), {m_service.folder(), m_service.authorityFile(), "host"});
        Product other(QStringLiteral("product_hpp"), m_service);
        QCOMPARE(host.answerTo("start"), QByteArray("0"));
        QCOMPARE(other.answerTo("start"), QByteArray("0"));
        QVERIFY(m_service.approve(other.ask("login").mid(2)));
        QCOMPARE(other.ask("complete"), QByteArray("0"));
        QVERIFY(host.hears("wake"));
        QCOMPARE(host.ask("dispatch"), QByteArray("0"));
        QVERIFY(host.hears("event 1"));
        QCOMPARE(host.ask("logout"), QByteArray("0"));
        QVERIFY(host.finish());
    }

    // The library's own thread and what Qt has on it serve a second start too; the end of the first has released.
    void startsAgain() {
        Product product(QStringLiteral("product_c"), m_service);
        QCOMPARE(product.answerTo("start"), QByteArray("0"));
        for (int round = 0; round < 3; ++round) {
            QCOMPARE(product.ask("restart"), QByteArray("0"));
            QVERIFY(product.hears("released by the end"));
            QVERIFY(product.hears("event 2"));
        }
        QVERIFY(product.finish());
    }

private:
    [[nodiscard]] QByteArray echo() const {
        return m_service.url().toLatin1() + "/api/echo";
    }

    AccountServiceProcess m_service;
};

QTEST_GUILESS_MAIN(CProductTest)
#include "CProductTest.moc"
