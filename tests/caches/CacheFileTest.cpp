// The file that all caches share: whose value is taken from it, what a change leaves alone, and what becomes of a damaged one.

#include "Caches/CacheStorage.h"
#include "TestKit/Platform/SystemFacts.h"
#include "TestKit/RecordingLogger.h"
#include "TestKit/Test.h"
#include "VqUtil/Locks/ProcessGuard.h"

using namespace Velquor;
using namespace Velquor::WebServices;
using namespace Velquor::WebServices::Internal;

namespace {

const auto userPath = QStringLiteral("/WebServicesCache/UserInfo/");
const CacheIdentity identity{"Production", "user-1", "hash-1"};
const QDateTime date(QDate(2026, 2, 3), QTime(4, 5, 6), Qt::UTC);

} // namespace

class CacheFileTest : public QObject {
    Q_OBJECT

private slots:
    void init() {
        m_folder = std::make_unique<QTemporaryDir>();
        m_logger = std::make_shared<TestKit::RecordingLogger>();
    }

    void theFileHasTheDocumentedForm() {
        place("p").save(identity, {"<a/>", date}, always);
        QDomDocument document;
        QVERIFY(document.setContent(contents()));
        const QDomElement element = document.documentElement().firstChildElement("UserInfo");
        QCOMPARE(document.documentElement().tagName(), QStringLiteral("WebServicesCache"));
        QCOMPARE(element.attribute("Server"), QStringLiteral("Production"));
        QCOMPARE(element.attribute("UpdateDate"), QStringLiteral("2026-02-03T04:05:06Z"));
        QCOMPARE(element.attribute("User"), QStringLiteral("user-1"));
        QCOMPARE(element.attribute("TokenHash"), QStringLiteral("hash-1"));
        QVERIFY(element.childNodes().count() == 1 && element.firstChild().isCDATASection());
        QVERIFY(TestKit::isOwnerOnly(path()));
        QVERIFY(hasLogged(QStringLiteral("User Info: Saved cache to cache file %1").arg(path())));
    }

    void anyBodyComesBackUnchanged() {
        const TestKit::Rows row(this, [&](const QByteArray& body) {
            place("p").save(identity, {body, date}, always);
            const CacheStorage::Value value = place("p").load(identity);
            QCOMPARE(value.body, body);
            QCOMPARE(value.updateDate, date);
        });
        row("plain", "<User><Id>7</Id></User>");
        row("not ASCII", "<User>\xf0\x9f\x8e\x89 \xd7\xa9</User>");
        row("a section of its own", "<a><![CDATA[x]]>y<![CDATA[]]></a>");
        row("ends of sections", "]]>]]>]]]>>");
        row("markup", "&lt;</UserInfo><x a=\"'\">");
        row("large", QByteArray("<a>") + QByteArray(3 * 1024 * 1024, 'x') + "</a>");
    }

    void valuesOfOthersAreNotTaken() {
        const TestKit::Rows row(this,
                                [&](const QString& server, const QString& user, const QString& hash, const QString& logged) {
                                    place("p").save(identity, {"<a/>", date}, always);
                                    place("q").save(identity, {"<b/>", date}, always);
                                    QVERIFY(place("p").load({server, user, hash}).body.isEmpty());
                                    QVERIFY(hasLogged(logged.contains("%1") ? logged.arg(path()) : logged));
                                    // The other product's value stands, whatever became of this one's.
                                    QCOMPARE(place("q").load(identity).body, QByteArray("<b/>"));
                                    QCOMPARE(place("p").load(identity).body.isEmpty(), server != identity.server);
                                });
        row("server", "Staging", "user-1", "hash-1", "Deleting cache file %1 since server has changed");
        row("user", "Production", "user-2", "hash-1", "Discarding cache since user has changed (from user-1 to user-2)");
        row("token", "Production", "user-1", "hash-2", "Discarding cache since access token has changed");
        row("nobody", "Production", "", "", "Discarding cache since user has changed (from user-1 to )");
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

    void rebuildsADamagedFile() {
        const TestKit::Rows row(this, [&](const QByteArray& damage, bool isKept) {
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
        });
        row("empty", {}, false);
        row("cut", "<WebServicesCache><UserInfo Server=\"", true);
        row("another document", "<WebServices/>", true);
        row("entities", "<!DOCTYPE a [<!ENTITY x \"y\">]><WebServicesCache>&x;</WebServicesCache>", true);
        row("too large", "<WebServicesCache>" + QByteArray(33 * 1024 * 1024, ' ') + "</WebServicesCache>", true);
    }

    void aMissingFileIsNoError() {
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

    void aFileThatCannotBeOpenedIsLeftAlone() {
        QVERIFY(QDir().mkpath(path()));
        place("p").save(identity, {"<a/>", date}, always);
        QVERIFY(hasLogged(QStringLiteral("User Info: Failed to open cache file %1 for writing").arg(path())));
        QVERIFY(QFileInfo(path()).isDir());
        QFile blocked(m_folder->path() + QStringLiteral("/blocked"));
        QVERIFY(blocked.open(QIODevice::WriteOnly));
        CacheStorage(std::make_shared<CacheFile>(blocked.fileName() + QStringLiteral("/f/WebServicesCache.xml"), "p"), userPath,
                     log())
            .save(identity, {"<a/>", date}, always);
        QVERIFY(hasLogged(QStringLiteral("User Info: Failed to created directory %1/f").arg(blocked.fileName())));
    }

    void theWaitForALockHolderHasALimit() {
        Util::ProcessGuard holder("VqWebServicesCacheFile", m_folder->path());
        std::atomic<bool> isDone{false};
        std::atomic<bool> isHeld{false};
        std::thread thread([&] {
            isHeld = holder.acquire(1000) == Util::ProcessGuard::Result::Acquired;
            while (!isDone)
                QThread::msleep(5);
            holder.release();
        });
        QTRY_VERIFY(isHeld);
        const TestKit::Stopwatch timer;
        int asked = 0;
        place("p").save(identity, {"<a/>", date}, [&asked] { return ++asked < 3; });
        place("p").clear();
        const qint64 waited = timer.elapsed();
        isDone = true;
        thread.join();
        QVERIFY2(asked < 6 && waited < TestKit::rounds(4000, 1000), qPrintable(QString::number(waited)));
        QVERIFY(!QFile::exists(path()));
        place("p").save(identity, {"<a/>", date}, always);
        QCOMPARE(place("p").load(identity).body, QByteArray("<a/>"));
    }

private:
    CacheStorage place(const QByteArray& product) {
        return {std::make_shared<CacheFile>(path(), QString::fromLatin1(product)), userPath, log()};
    }

    const CacheLog& log() {
        m_logs.push_back(std::make_unique<CacheLog>("User Info", m_logger));
        return *m_logs.back();
    }

    static bool always() { return true; }
    QString path() const { return m_folder->path() + QStringLiteral("/WebServicesCache.xml"); }
    QByteArray contents() const { return TestKit::readFile(path()); }
    void write(const QByteArray& bytes) const { QVERIFY(TestKit::writeFile(path(), bytes)); }
    bool hasLogged(const QString& text) const { return !m_logger->texts().filter(text).isEmpty(); }

    std::unique_ptr<QTemporaryDir> m_folder;
    std::shared_ptr<TestKit::RecordingLogger> m_logger;
    std::vector<std::unique_ptr<CacheLog>> m_logs;
};

QTEST_GUILESS_MAIN(CacheFileTest)
#include "CacheFileTest.moc"
