#include "Network/Urls/UrlStore.h"
#include "Network/Urls/SupportFiles.h"
#include "Network/Urls/UrlFile.h"
#include "Network/Urls/UrlKeys.h"
#include "TestKit/RecordingLogger.h"
#include "TestKit/Test.h"

using namespace Velquor;
using namespace Velquor::WebServices;
using namespace Velquor::WebServices::Internal;

namespace {

const QString productionFile = QStringLiteral("VqWebservicesURLs.config");
const QString stagingFile = QStringLiteral("VqWebservicesURLs-Staging.config");
const QString accountKey = QStringLiteral("AccountServerUrl");

QByteArray document(const QByteArray& members) {
    return "{\"Configurations\":{\"WebServices\":{\"Urls\":{" + members + "}}}}";
}

QByteArray account(const char* host) {
    return document("\"AccountServerUrl\":\"https://" + QByteArray(host) + "\"");
}

QSettings settings() {
    return QSettings("Velquor", "Web Services");
}

QString missing(const QString& key, const QString& path) {
    return QStringLiteral(
               "Url entry '%1' not found in %2.\n\nPossibly you have old version of this file. This file is not installed with "
               "the product since it is meant only for internal use.\n\nPlease copy the file from the build posting.")
        .arg(key, path);
}

} // namespace

class UrlStoreTest : public QObject {
    Q_OBJECT

private slots:
    // Before Qt asks for it, once.
    void initTestCase() { qputenv("XDG_CONFIG_HOME", m_settings.path().toUtf8()); }

    void init() {
        m_folder = std::make_unique<QTemporaryDir>();
        m_logger = std::make_shared<TestKit::RecordingLogger>();
        m_store = std::make_unique<UrlStore>(m_logger);
        SupportFiles::setSearchPaths(m_folder->path());
    }

    void cleanup() {
        for (const char* const name : {"StagingServerConfigJsonFile", "DevServerConfigJsonFile", "AllowPlainHttp"})
            settings().remove(QLatin1String(name));
        SupportFiles::setSearchPaths(QString());
    }

    void readsUrlsAndReportsMissingOnes() {
        // url: empty: the key is reported as missing
        const TestKit::Rows row(this, [&](const QByteArray& text, const QString& url) {
            put(productionFile, text);
            for (int lookup = 0; lookup < 2; ++lookup)
                QCOMPARE(m_store->GetUrl(Production, accountKey), url);
            const QString file = path(productionFile);
            QCOMPARE(m_logger->texts(Log::Level::Information),
                     QStringList({QStringLiteral("Read the JSON file %1 successfully").arg(file),
                                  QStringLiteral("Loaded web services urls from file %1").arg(file)}));
            const QStringList reported{missing(accountKey, file), missing(accountKey, file)};
            QCOMPARE(m_logger->texts(Log::Level::Error), url.isEmpty() ? reported : QStringList());
        });
        row("plain", account("one"), "https://one");
        row("byte order mark", "\xef\xbb\xbf" + account("one"), "https://one");
        row("non-ASCII and escapes", document("\"AccountServerUrl\":\"https:\\/\\/\\u00e4\xc3\xa4\""), "https://\u00e4\u00e4");
        row("key twice", document("\"AccountServerUrl\":\"a\",\"AccountServerUrl\":\"b\""), "b");
        row("members that are no texts", document("\"x\":{\"y\":\"z\"},\"l\":[1],\"AccountServerUrl\":\"https://one\""),
            "https://one");
        row("a number", document("\"AccountServerUrl\":5"), "");
        row("another case", document("\"accountserverurl\":\"https://one\""), "");
        row("no members", document(""), "");
        row("no Urls", "{\"Configurations\":{\"WebServices\":{}}}", "");
        row("no object at all", "[]", "");
        row("Urls is no object", "{\"Configurations\":{\"WebServices\":{\"Urls\":5}}}", "");
        row("the path as one name", "{\"Configurations.WebServices.Urls\":{\"AccountServerUrl\":\"a\"}}", "");
    }

    void malformedFilesChangeNothing() {
        const TestKit::Rows row(this, [&](const QByteArray& text) {
            put(productionFile, text);
            QVERIFY(!readUrlFile(path(productionFile), *m_logger));
            const QStringList errors = m_logger->texts(Log::Level::Error);
            QCOMPARE(errors.size(), 2);
            QVERIFY(errors.at(0).startsWith("Exception "));
            QVERIFY(errors.at(0).endsWith(QStringLiteral(" while parsing configuration file ") + path(productionFile)));
            QCOMPARE(errors.at(1), QStringLiteral("Read the JSON file %1 failed").arg(path(productionFile)));
        });
        row("empty", {});
        row("one byte", "{");
        row("NUL", QByteArray(100, '\0'));
        row("HTML", "<html>");
        row("cut", account("one").chopped(3));
        row("trailing junk", account("one") + "x");
        row("comment", "// no JSON\n" + account("one"));
        row("100000 deep", QByteArray("[").repeated(100000));
        row("100000 deep after closing", QByteArray("]").repeated(100000) + QByteArray("[").repeated(100000));
        row("bad UTF-8", document("\"AccountServerUrl\":\"\xff\xfe\""));
        row("UTF-16", QByteArray("\xff\xfe{\0}\0", 6));
    }

    void missingFilesAreNotLookedForInTheWorkingDirectory() {
        // The library does not read files from the working directory of the host.
        const QString before = QDir::currentPath();
        const QTemporaryDir elsewhere;
        QVERIFY(QDir::setCurrent(elsewhere.path()));
        QVERIFY(TestKit::writeFile(stagingFile, account("planted")));
        const auto goBack = qScopeGuard([&before] { QDir::setCurrent(before); });
        QVERIFY(!m_store->LoadUrls(Staging));
        QVERIFY(!m_store->canUse(Staging));
        QVERIFY(m_store->GetUrl(Staging, accountKey).isEmpty());
        const QStringList folders{QCoreApplication::applicationDirPath(), m_folder->path()};
        QCOMPARE(m_logger->texts(),
                 QStringList({QStringLiteral("VqWebservicesURLs JSON file is not exist: %1").arg(stagingFile),
                              QStringLiteral("Cannot use Staging server. Server config file '%1' could not be located in any of "
                                             "the following search paths:\n%2")
                                  .arg(stagingFile, folders.join('\n')),
                              QStringLiteral("VqWebservicesURLs JSON file is not exist: %1").arg(stagingFile),
                              missing(accountKey, stagingFile)}));
        QVERIFY(!m_store->canUse(NoServer) && !m_store->canUse(static_cast<Server>(77)));
        QVERIFY(m_store->GetUrl(static_cast<Server>(77), accountKey).isEmpty());
        put(productionFile, QByteArray(1024 * 1024 + 1, ' '));
        QVERIFY(!m_store->LoadUrls(Production));
        QCOMPARE(m_logger->texts().last(), QStringLiteral("Read the JSON file %1 failed").arg(path(productionFile)));
        QVERIFY(QDir(m_folder->path()).mkdir(stagingFile));
        QVERIFY(!m_store->canUse(Staging));
    }

    // Only the user's own settings of this library count.
    void settingsOfTheOrganizationDoNotCount() {
        QSettings organization("Velquor");
        organization.setValue("StagingServerConfigJsonFile", "Other.config");
        organization.sync();
        QCOMPARE(urlFileName(Staging), stagingFile);
        organization.clear();
    }

    void settingsNameTheFile() {
        const TestKit::Rows row(this, [&](Server server, const QString& setting, bool isAbsolute, const QString& url) {
            for (const char* const name :
                 {"VqWebservicesURLs.config", "VqWebservicesURLs-Staging.config", "VqWebservicesURLs-Development.config"})
                put(QLatin1String(name), account("usual"));
            put("named/My.config", account("named"));
            SupportFiles::setSearchPaths(m_folder->path() + QLatin1Char(';') + path("named"));
            settings().setValue(setting, isAbsolute ? path("named/My.config") : QStringLiteral("My.config"));
            QCOMPARE(m_store->GetUrl(server, accountKey), url);
        });
        row("staging", Staging, "StagingServerConfigJsonFile", false, "https://named");
        row("staging, a full path", Staging, "StagingServerConfigJsonFile", true, "https://named");
        row("development", Development, "DevServerConfigJsonFile", false, "https://named");
        row("another server's", Staging, "DevServerConfigJsonFile", false, "https://usual");
        row("none for production", Production, "StagingServerConfigJsonFile", false, "https://usual");
    }

    void tokensAreNotSentInClear() {
        const TestKit::Rows row(this, [&](const QString& service, bool isAllowed, const QString& url) {
            if (isAllowed)
                settings().setValue("AllowPlainHttp", "True");
            QVERIFY(m_store->SetUrlOverrides(Production, {{accountKey, service}, {"New", "/n"}}));
            QCOMPARE(m_store->endPoint(Production, accountKey, "New"), url);
        });
        row("https", "https://a", false, "https://a/n");
        row("http", "http://a", false, "");
        row("http in capitals", "HTTP://a", false, "");
        row("http, allowed", "http://a", true, "http://a/n");
        row("http on this machine", "http://127.0.0.1:80", false, "http://127.0.0.1:80/n");
        row("http on this machine by IPv6", "http://[::1]", false, "http://[::1]/n");
        row("http on this machine by name", "http://localhost", false, "http://localhost/n");
        row("http to a name like it", "http://localhost.example.com", false, "");
    }

    void overridesWinUntilTheyAreCleared() {
        put(productionFile, account("file"));
        put(stagingFile, account("staging"));
        UrlMap map{{accountKey, "https://override"}, {"New", "n"}};
        QVERIFY(m_store->SetUrlOverrides(Production, map));
        map.clear();
        QCOMPARE(m_store->GetUrl(Production, accountKey), QStringLiteral("https://override"));
        QCOMPARE(m_store->GetUrl(Production, WebServicesUrlCode::AccountServerUrl), QStringLiteral("https://override"));
        QCOMPARE(m_store->GetUrl(Staging, accountKey), QStringLiteral("https://staging"));
        QCOMPARE(m_store->GetUrl(Production, "New"), QStringLiteral("n"));
        QCOMPARE(m_store->endPoint(Production, accountKey, "New"), QStringLiteral("https://overriden"));
        QCOMPARE(m_store->endPoint(Staging, accountKey, "New"), QString());
        QVERIFY(m_store->SetUrlOverrides(Production, {{accountKey, "https://a/"}, {"New", "/n"}}));
        QCOMPARE(m_store->endPoint(Production, accountKey, "New"), QStringLiteral("https://a/n"));
        QVERIFY(m_store->SetUrlOverrides(Production, {{accountKey, "https://override"}, {"New", "n"}}));
        QCOMPARE(m_store->GetUrlOverrides(Production).size(), 2);
        QVERIFY(m_store->GetUrlOverrides(Staging).isEmpty());
        m_store->clearCache(); // overrides are no loaded files
        QVERIFY(
            m_store->SetUrlOverrides(Production, {{accountKey, QString()}})); // replaces the whole map; an empty text wins, too
        QCOMPARE(m_store->GetUrl(Production, accountKey), QString());
        QVERIFY(m_store->ClearUrlOverrides(Production) && m_store->ClearUrlOverrides(Production));
        QCOMPARE(m_store->GetUrl(Production, accountKey), QStringLiteral("https://file"));
        const QStringList lines = m_logger->texts(Log::Level::Information);
        QCOMPARE(lines.first(), QStringLiteral("Setting url overrides: AccountServerUrl=https://override, etc."));
        QCOMPARE(lines.count("Clearing url overrides"), 2);
    }

    void aFileIsReadAgainAfterAFailureOnly() {
        put(productionFile, account("first"));
        put(QStringLiteral("other/") + productionFile, account("second"));
        QCOMPARE(m_store->GetUrl(Production, accountKey), QStringLiteral("https://first"));
        SupportFiles::setSearchPaths(path("other") + QLatin1Char(';') + m_folder->path());
        QCOMPARE(m_store->GetUrl(Production, accountKey), QStringLiteral("https://first"));
        m_store->clearCache();
        QCOMPARE(m_store->GetUrl(Production, accountKey), QStringLiteral("https://second"));
        // A file that turns bad under us is not mixed with what was read before.
        put(QStringLiteral("other/") + productionFile, "{");
        QVERIFY(!m_store->LoadUrls(Production));
        QVERIFY(m_store->GetUrl(Production, accountKey).isEmpty());
        // What could not be read is tried again at the next lookup.
        put(QStringLiteral("other/") + productionFile, account("third"));
        QCOMPARE(m_store->GetUrl(Production, accountKey), QStringLiteral("https://third"));
    }

    void searchPathsAreNormalised() {
        const TestKit::Rows row(this, [&](const QString& text, const QString& paths) {
            SupportFiles::setSearchPaths(text);
            QCOMPARE(SupportFiles::searchPathsText(), paths);
            QCOMPARE(SupportFiles::folders().first(), QCoreApplication::applicationDirPath());
        });
        row("none", "", "");
        row("separators only", " ; ;;", "");
        row("duplicate in another case, blanks", "C:/A;;c:/a; C:/B ", "C:/A;C:/B");
        row("cleaned", "/a//b/../c/;/a/c;/d/.", "/a/c;/d");
    }

    void everyUrlCodeHasItsKey() {
        QSet<QString> keys;
        for (int code = 0; code <= 48; ++code)
            keys += urlKey(static_cast<WebServicesUrlCode>(code));
        QCOMPARE(keys.size(), 49);
        QVERIFY(!keys.contains(QString()));
        // The numbers of the exported interface, where its table breaks and at its ends.
        const QMap<int, const char*> fixed{{0, "AccountServerUrl"},
                                           {9, "BrasketStorageEndPoint"},
                                           {17, "BrasketStorageEndPointRestFolder"},
                                           {24, "QuillonFileUrnNamespace"},
                                           {25, "ShareStatusUrl"},
                                           {33, "ServerMessageUrl"},
                                           {41, "QuillonStorageEndPointDeleteFolder"},
                                           {48, "VqSSOServerConfigUrl"}};
        for (auto row = fixed.begin(); row != fixed.end(); ++row)
            QCOMPARE(urlKey(static_cast<WebServicesUrlCode>(row.key())), QLatin1String(row.value()));
        for (const int code : {-1, 49, 1 << 30}) {
            QVERIFY(m_store->GetUrl(Production, static_cast<WebServicesUrlCode>(code)).isEmpty());
            QVERIFY(m_logger->texts(Log::Level::Error).last().contains(QString::number(code)));
        }
    }

    void lookUpsDuringChangesFindTheOldOrTheNewUrl() {
        put(productionFile, account("file"));
        std::atomic<int> wrong{0};
        TestKit::Threads threads(4, [&](int number) {
            const QSet<QString> possible{"https://file", "https://override"};
            for (int round = 0; round < 100; ++round) {
                if (number == 0)
                    m_store->clearCache();
                if (number == 1)
                    (void)(round % 2 ? m_store->ClearUrlOverrides(Production)
                                     : m_store->SetUrlOverrides(Production, {{accountKey, "https://override"}}));
                wrong += !possible.contains(m_store->GetUrl(Production, accountKey));
            }
        });
        threads.join();
        QCOMPARE(wrong.load(), 0);
    }

private:
    [[nodiscard]] QString path(const QString& name) const { return m_folder->filePath(name); }
    void put(const QString& name, const QByteArray& text) const {
        QVERIFY(QDir(m_folder->path()).mkpath(QFileInfo(name).path()));
        QVERIFY(TestKit::writeFile(path(name), text));
    }

    std::unique_ptr<QTemporaryDir> m_folder;
    std::shared_ptr<TestKit::RecordingLogger> m_logger;
    std::unique_ptr<UrlStore> m_store;
    QTemporaryDir m_settings;
};

QTEST_GUILESS_MAIN(UrlStoreTest)
#include "UrlStoreTest.moc"
