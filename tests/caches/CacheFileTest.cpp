// The file that all caches share: whose value is taken from it, what a change leaves alone, and what becomes of a damaged one.

#include "Caches/CacheStorage.h"
#include "TestKit/Platform/SystemFacts.h"
#include "TestKit/RecordingLogger.h"
#include "VqUtil/Locks/ProcessGuard.h"

#include <QDir>
#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QtTest>
#include <atomic>
#include <memory>
#include <thread>
#include <vector>

using namespace Velquor;
using namespace Velquor::WebServices;
using namespace Velquor::WebServices::Internal;

namespace {

const auto userPath = QStringLiteral("/WebServicesCache/UserInfo/");
const auto quotaPath = QStringLiteral("/WebServicesCache/StorageQuota/");
const CacheIdentity identity{QStringLiteral("Production"), QStringLiteral("user-1"), QStringLiteral("hash-1")};
const QDateTime date(QDate(2026, 2, 3), QTime(4, 5, 6), Qt::UTC);

} // namespace

class CacheFileTest : public QObject {
    Q_OBJECT

private slots:
    void init() {
        m_folder = std::make_unique<QTemporaryDir>();
        m_logger = std::make_shared<TestKit::RecordingLogger>();
    }

    void keepsTheForm() {
        place("p").save(identity, {"<a/>", date}, always);
        QDomDocument document;
        QVERIFY(document.setContent(contents()));
        const QDomElement element = document.documentElement().firstChildElement(QStringLiteral("UserInfo"));
        QCOMPARE(document.documentElement().tagName(), QStringLiteral("WebServicesCache"));
        QCOMPARE(element.attribute(QStringLiteral("Server")), QStringLiteral("Production"));
        QCOMPARE(element.attribute(QStringLiteral("UpdateDate")), QStringLiteral("2026-02-03T04:05:06Z"));
        QCOMPARE(element.attribute(QStringLiteral("User")), QStringLiteral("user-1"));
        QCOMPARE(element.attribute(QStringLiteral("TokenHash")), QStringLiteral("hash-1"));
        QVERIFY(element.childNodes().count() == 1 && element.firstChild().isCDATASection());
        QVERIFY(TestKit::isOwnerOnly(path()));
        QVERIFY(hasLogged(QStringLiteral("User Info: Saved cache to cache file %1").arg(path())));
    }

    void givesBackWhatWasKept_data() {
        QTest::addColumn<QByteArray>("body");
        QTest::newRow("plain") << QByteArray("<User><Id>7</Id></User>");
        QTest::newRow("not ASCII") << QByteArray("<User>\xf0\x9f\x8e\x89 \xd7\xa9</User>");
        QTest::newRow("a section of its own") << QByteArray("<a><![CDATA[x]]>y<![CDATA[]]></a>");
        QTest::newRow("ends of sections") << QByteArray("]]>]]>]]]>>");
        QTest::newRow("markup") << QByteArray("&lt;</UserInfo><x a=\"'\">");
        QTest::newRow("large") << QByteArray("<a>") + QByteArray(3 * 1024 * 1024, 'x') + "</a>";
    }

    void givesBackWhatWasKept() {
        QFETCH(QByteArray, body);
        place("p").save(identity, {body, date}, always);
        const CacheStorage::Value value = place("p").load(identity);
        QCOMPARE(value.body, body);
        QCOMPARE(value.updateDate, date);
    }

    void takesOnlyItsOwn_data() {
        QTest::addColumn<QString>("server");
        QTest::addColumn<QString>("user");
        QTest::addColumn<QString>("hash");
        QTest::addColumn<QString>("logged");
        QTest::newRow("server") << "Staging"
                                << "user-1"
                                << "hash-1"
                                << "Deleting cache file %1 since server has changed";
        QTest::newRow("user") << "Production"
                              << "user-2"
                              << "hash-1"
                              << "Discarding cache since user has changed (from user-1 to user-2)";
        QTest::newRow("token") << "Production"
                               << "user-1"
                               << "hash-2"
                               << "Discarding cache since access token has changed";
        QTest::newRow("nobody") << "Production"
                                << ""
                                << ""
                                << "Discarding cache since user has changed (from user-1 to )";
    }

    void takesOnlyItsOwn() {
        QFETCH(QString, server);
        QFETCH(QString, user);
        QFETCH(QString, hash);
        QFETCH(QString, logged);
        place("p").save(identity, {"<a/>", date}, always);
        place("q").save(identity, {"<b/>", date}, always);
        QVERIFY(place("p").load({server, user, hash}).body.isEmpty());
        QVERIFY(hasLogged(logged.contains(QStringLiteral("%1")) ? logged.arg(path()) : logged));
        // The other product's value stands, whatever became of this one's.
        QCOMPARE(place("q").load(identity).body, QByteArray("<b/>"));
        QCOMPARE(place("p").load(identity).body.isEmpty(), server != identity.server);
    }

    void productsAndCachesDoNotMeet() {
        for (const QByteArray product : {"p", "q", "r"}) {
            place(product).save(identity, {"user of " + product, date}, always);
            place(product, quotaPath).save(identity, {"quota of " + product, date}, always);
        }
        place("q").clear();
        QVERIFY(hasLogged(QStringLiteral("User Info: Cleared cache in cache file %1").arg(path())));
        place("p").save(identity, {"newer", date}, always);
        QCOMPARE(place("p").load(identity).body, QByteArray("newer"));
        QVERIFY(place("q").load(identity).body.isEmpty());
        QCOMPARE(place("r").load(identity).body, QByteArray("user of r"));
        for (const QByteArray product : {"p", "q", "r"})
            QCOMPARE(place(product, quotaPath).load(identity).body, "quota of " + product);
    }

    // What a program has left that does not know of several products.
    void adoptsAValueWithoutProduct() {
        write("<WebServicesCache><UserInfo Server=\"Production\" UpdateDate=\"2026-02-03T04:05:06Z\" User=\"user-1\" "
              "TokenHash=\"hash-1\"><![CDATA[<old/>]]></UserInfo></WebServicesCache>");
        QCOMPARE(place("p").load(identity).body, QByteArray("<old/>"));
        place("p").save(identity, {"<new/>", date}, always);
        QVERIFY(place("q").load(identity).body.isEmpty());
        QCOMPARE(contents().count("<UserInfo"), 1);
    }

    void rebuildsADamagedFile_data() {
        QTest::addColumn<QByteArray>("damage");
        QTest::addColumn<bool>("isKept");
        QTest::newRow("empty") << QByteArray() << false;
        QTest::newRow("zeros") << QByteArray(100, '\0') << true;
        QTest::newRow("cut") << QByteArray("<WebServicesCache><UserInfo Server=\"") << true;
        QTest::newRow("two documents") << QByteArray("<WebServicesCache/><WebServicesCache/>") << true;
        QTest::newRow("another document") << QByteArray("<WebServices/>") << true;
        QTest::newRow("entities") << QByteArray("<!DOCTYPE a [<!ENTITY x \"y\">]><WebServicesCache>&x;</WebServicesCache>")
                                  << true;
        QTest::newRow("deep") << "<WebServicesCache>" + QByteArray("<a>").repeated(5000) + QByteArray("</a>").repeated(5000)
                                     + "</WebServicesCache>"
                              << true;
        QTest::newRow("too large") << "<WebServicesCache>" + QByteArray(33 * 1024 * 1024, ' ') + "</WebServicesCache>" << true;
    }

    void rebuildsADamagedFile() {
        QFETCH(QByteArray, damage);
        QFETCH(bool, isKept);
        write(damage);
        QVERIFY(place("p").load(identity).body.isEmpty());
        QVERIFY(hasLogged(QStringLiteral("User Info: Failed to open cache file %1. Cache will be rebuilt.").arg(path())));
        place("p").save(identity, {"<a/>", date}, always);
        QCOMPARE(place("p").load(identity).body, QByteArray("<a/>"));
        QCOMPARE(QFile::exists(path() + QStringLiteral(".damaged-1")), isKept);
        // Personal data does not outlive the sign-in in a file that was set aside.
        QVERIFY(CacheFile::removeAll(path()));
        QVERIFY(!QFile::exists(path() + QStringLiteral(".damaged-1")));
        QVERIFY(place("p").load(identity).body.isEmpty());
    }

    void missingFile() {
        QVERIFY(place("p").load(identity).body.isEmpty());
        QVERIFY(hasLogged(QStringLiteral("User Info: Cache file %1 not found. Cache will be rebuilt.").arg(path())));
        place("p").clear();
        QVERIFY(CacheFile::removeAll(path()));
        QVERIFY(!QFile::exists(path()));
        QVERIFY(CacheFile::removeAll(path() + QStringLiteral("/no/such/folder/file")));
    }

    void refusesWhatItCouldNotReadBack() {
        place("p").save(identity, {"<a/>", date}, always);
        place("q").save({identity.server, QStringLiteral("\x01\xffff"), identity.tokenHash}, {"<b/>", date}, always);
        QCOMPARE(place("p").load(identity).body, QByteArray("<a/>"));
        QVERIFY(hasLogged(QStringLiteral("Failed to save cache to cache file %1").arg(path())));
        place("p").save(identity, {QByteArray(33 * 1024 * 1024, 'x'), date}, always);
        QCOMPARE(place("p").load(identity).body, QByteArray("<a/>"));
    }

    void writesNothingForASignInThatIsOver() {
        place("p").save(identity, {"<a/>", date}, [] { return false; });
        int asked = 0;
        place("p").save(identity, {"<a/>", date}, [&asked] { return ++asked < 3; });
        QVERIFY(!contents().contains("<a/>"));
        QVERIFY(!hasLogged(QStringLiteral("Saved cache to cache file %1").arg(path())));
    }

    void leavesAloneWhatItCannotOpen() {
        QVERIFY(QDir().mkpath(path()));
        place("p").save(identity, {"<a/>", date}, always);
        QVERIFY(hasLogged(QStringLiteral("User Info: Failed to open cache file %1 for writing").arg(path())));
        QVERIFY(QFileInfo(path()).isDir());
        QFile blocked(m_folder->path() + QStringLiteral("/blocked"));
        QVERIFY(blocked.open(QIODevice::WriteOnly));
        CacheStorage(
            std::make_shared<CacheFile>(blocked.fileName() + QStringLiteral("/f/WebServicesCache.xml"), QStringLiteral("p")),
            userPath, log())
            .save(identity, {"<a/>", date}, always);
        QVERIFY(hasLogged(QStringLiteral("User Info: Failed to created directory %1/f").arg(blocked.fileName())));
    }

    void doesNotWaitForEverForAHolder() {
        Util::ProcessGuard holder(QStringLiteral("VqWebServicesCacheFile"), m_folder->path());
        std::atomic<bool> isDone{false};
        std::atomic<bool> isHeld{false};
        std::thread thread([&] {
            isHeld = holder.acquire(1000) == Util::ProcessGuard::Result::Acquired;
            while (!isDone)
                QThread::msleep(5);
            holder.release();
        });
        QTRY_VERIFY(isHeld);
        QElapsedTimer timer;
        timer.start();
        place("p").save(identity, {"<a/>", date}, [&timer] { return timer.elapsed() < 400; });
        place("p").clear();
        const qint64 waited = timer.elapsed();
        isDone = true;
        thread.join();
        QVERIFY2(waited < 1000, qPrintable(QString::number(waited)));
        QVERIFY(!QFile::exists(path()));
        place("p").save(identity, {"<a/>", date}, always);
        QCOMPARE(place("p").load(identity).body, QByteArray("<a/>"));
    }

private:
    CacheStorage place(const QByteArray& product, const QString& nodePath = userPath) {
        return {std::make_shared<CacheFile>(path(), QString::fromLatin1(product)), nodePath, log()};
    }

    const CacheLog& log() {
        m_logs.push_back(std::make_unique<CacheLog>(QStringLiteral("User Info"), m_logger));
        return *m_logs.back();
    }

    static bool always() { return true; }
    QString path() const { return m_folder->path() + QStringLiteral("/WebServicesCache.xml"); }
    QByteArray contents() const {
        QFile file(path());
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }
    void write(const QByteArray& bytes) const {
        QFile file(path());
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(bytes);
    }
    bool hasLogged(const QString& text) const { return !m_logger->texts().filter(text).isEmpty(); }

    std::unique_ptr<QTemporaryDir> m_folder;
    std::shared_ptr<TestKit::RecordingLogger> m_logger;
    std::vector<std::unique_ptr<CacheLog>> m_logs;
};

QTEST_GUILESS_MAIN(CacheFileTest)
#include "CacheFileTest.moc"
