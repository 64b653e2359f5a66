// The identity of the library and the set-up of its log.

#include "Runtime/HostProduct.h"
#include "Runtime/LogConfiguration.h"
#include "Runtime/LogSetupHelper.h"
#include "Runtime/RuntimePaths.h"
#include "TestKit/Platform/SystemFacts.h"
#include "TestKit/Test.h"
#include "Values/LibrarySettings.h"
#include "VqLog/LogQueue.h"
#include "VqLog/LoggerWrapper.h"
#include "VqLog/PrefixedLogger.h"

using namespace Velquor;
using namespace Velquor::WebServices;
using namespace Velquor::WebServices::Internal;

class RuntimeTest : public QObject {
    Q_OBJECT

private slots:
    void namesItselfToServers() {
        const TestKit::Rows row([&](const QString& executable, const QString& version, const QString& expected) {
            QCOMPARE(userAgentText(executable, version, "10.0.19045"), expected);
        });
        row("product", "/opt/a b/Product.v2.exe", "1.2.3.4",
            "Product/1.2.3.4 VelquorWebServicesClient/13.4.4.1804 Windows/10.0.19045");
        row("no version", "/opt/product", "", "product/0.0.0.0 VelquorWebServicesClient/13.4.4.1804 Windows/10.0.19045");
        row("sync program", "C:/x/VQSYNC.EXE", "", "VelquorSync/0.0.0.0 VelquorWebServicesClient/13.4.4.1804 Windows/10.0.19045");
        row("not the sync program", "/x/VqSync.exe.bak", "",
            "VqSync/0.0.0.0 VelquorWebServicesClient/13.4.4.1804 Windows/10.0.19045");
    }

    // A process asks for it once.
    void ignoresTheSettingForAllUsersWhereTheirFolderIsNotTheUsers() {
        setSetting("EnableSSOForAllUsers", "True");
        {
            const TestKit::WithoutFolderOfAllUsers denied(RuntimePaths::dataPath(true));
            QCOMPARE(librarySetting("EnableSSOForAllUsers"), QStringLiteral("True"));
            QCOMPARE(RuntimePaths::dataPath(), RuntimePaths::dataPath(false));
        }
        setSetting("EnableSSOForAllUsers", QString());
        QCOMPARE(RuntimePaths::dataPath(), RuntimePaths::dataPath(false));
    }

    void choosesTheLogLevelByItsSources() {
        using Source = RootLogLevel::Source;
        const TestKit::Rows row([&](const QString& environment, const QString& registry, Source source, const QString& level) {
            const RootLogLevel chosen = chooseRootLogLevel(environment, registry);
            QCOMPARE(chosen.source, source);
            QCOMPARE(chosen.level, level);
        });
        row("nothing", "", "", Source::Configuration, "INFO");
        row("environment", " debug ", "", Source::Environment, "DEBUG");
        row("registry", "", "Trace", Source::Registry, "TRACE");
        row("both", "ERROR", "TRACE", Source::Environment, "ERROR");
        row("unknown level falls through", "LOUD", "WARN", Source::Registry, "WARN");
        row("no injection of properties", "INFO, X\nlog4cplus.y=z", "", Source::Configuration, "INFO");
    }

    // One process, one log: a message before the set-up, the set-up from the environment, hostile text, and logging switched off.
    void theLogTakesQueuedAndHostileTextsAndCanBeSwitchedOff() {
        const QTemporaryDir folder;
        qputenv("VQWS_LOGFILEDIR", folder.path().toUtf8());
        qputenv("VQWS_LOGLEVEL", "DEBUG");
        const auto prefix = std::make_shared<Log::LogPrefix>();
        prefix->set("prefix");
        const auto before = std::make_shared<Log::PrefixedLogger>(Log::makeLogger("VqWebServices.Session"), prefix);
        before->warning("an early message");
        QVERIFY(LogSetupHelper::SetupLog());
        before->error("forged\n2026-01-01T00:00:00.000Z ERROR \r\x1b[31mred\x07 %s%n");
        before->trace("below the level");
        LogSetupHelper::Log(30000, L"wide text");
        const QStringList lines = readLines(folder.filePath("WebServices.log"));
        const int banner = find(lines, "Operating System: ");
        const int begin = find(lines, "Begin dump of queued log messages (2)");
        const int ignored = find(lines, "Ignoring the setting EnableSSOForAllUsers.");
        const int early = find(lines, "WARN  [RuntimeTest", "VqWebServices.Session - prefix: an early message");
        const int end = find(lines, "End dump of queued log message(s)");
        QVERIFY2(begin >= 0 && begin < ignored && ignored < early && early < end, qPrintable(lines.join('\n')));
        const int level = find(lines, "Root log level picked up from environment variable VQWS_LOGLEVEL");
        QVERIFY2(level >= 0 && level < banner && banner < begin, qPrintable(lines.join('\n')));
        QVERIFY(find(lines, "RootLogLevel=DEBUG") >= 0);
        QVERIFY(find(lines, "VqWebServices.OAuth2.Fetcher: DEBUG") >= 0);
        QVERIFY(find(lines, "prefix: forged\\n2026-01-01T00:00:00.000Z ERROR \\r\\x1b[31mred\\x07 %s%n") >= 0);
        QVERIFY(find(lines, "VqWebServices - wide text") >= 0);
        QVERIFY(find(lines, "below the level") < 0);
        for (const QString& line : lines)
            QVERIFY2(line.isEmpty()
                         || QRegularExpression("^\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\d\\.\\d{3}Z ").match(line).hasMatch(),
                     qPrintable(line));
        QVERIFY(LogSetupHelper::isLogEnabled());
        setSetting("EnableLog", "0");
        QVERIFY(LogSetupHelper::SetupLog());
        setSetting("EnableLog", QString());
        QVERIFY(!LogSetupHelper::isLogEnabled());
        before->error("after the end");
        QVERIFY(find(readLines(folder.filePath("WebServices.log")), "after the end") < 0);
    }

    // The log library opens files by narrow names. Nothing was queued this time, and the log is on again.
    void setsUpTheLogInAnyFolderAgain() {
        const QTemporaryDir parent;
        const QString folder = parent.filePath("l\u00f6g \u0416");
        qunsetenv("VQWS_LOGFILEDIR");
        setSetting("WebServicesDataPath", folder);
        QVERIFY(LogSetupHelper::SetupLog());
        setSetting("WebServicesDataPath", QString());
        Log::makeLogger("VqWebServices.Session")->warning("here I am");
        const QStringList lines = readLines(folder + QStringLiteral("/WebServices.log"));
        QVERIFY(find(lines, QStringLiteral("LocalAppData=") + folder) >= 0);
        QVERIFY(find(lines, "VqWebServices.Session - here I am") >= 0);
        QVERIFY(find(lines, "Log was setup after a delay") < 0);
    }

private:
    static void setSetting(const QString& name, const QString& value) {
        QSettings settings("Velquor", "Web Services");
        value.isEmpty() ? settings.remove(name) : settings.setValue(name, value);
    }

    static QStringList readLines(const QString& path) { return QString::fromUtf8(TestKit::readFile(path)).split('\n'); }

    static int find(const QStringList& lines, const QString& text, const QString& other = QString()) {
        for (int index = 0; index < lines.size(); ++index) {
            if (lines.at(index).contains(text) && lines.at(index).contains(other))
                return index;
        }
        return -1;
    }
};

QTEST_GUILESS_MAIN(RuntimeTest)
#include "RuntimeTest.moc"
