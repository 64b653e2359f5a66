// The identity of the library and the set-up of its log.

#include "Runtime/HostProduct.h"
#include "Runtime/LogConfiguration.h"
#include "Runtime/LogSetupHelper.h"
#include "Runtime/RuntimePaths.h"
#include "Values/LibrarySettings.h"
#include "VqLog/LogQueue.h"
#include "VqLog/LoggerWrapper.h"
#include "VqLog/PrefixedLogger.h"

#include <QTemporaryDir>
#include <QtTest>

using namespace Velquor;
using namespace Velquor::WebServices;
using namespace Velquor::WebServices::Internal;

class RuntimeTest : public QObject {
    Q_OBJECT

private slots:
    void namesItselfToServers_data() {
        QTest::addColumn<QString>("executable");
        QTest::addColumn<QString>("version");
        QTest::addColumn<QString>("expected");
        QTest::newRow("product") << "/opt/a b/Product.v2.exe"
                                 << "1.2.3.4"
                                 << "Product/1.2.3.4 VelquorWebServicesClient/13.4.4.1804 Windows/10.0.19045";
        QTest::newRow("no version") << "/opt/product"
                                    << ""
                                    << "product/0.0.0.0 VelquorWebServicesClient/13.4.4.1804 Windows/10.0.19045";
        QTest::newRow("sync program") << "C:/x/VQSYNC.EXE"
                                      << ""
                                      << "VelquorSync/0.0.0.0 VelquorWebServicesClient/13.4.4.1804 Windows/10.0.19045";
        QTest::newRow("not the sync program") << "/x/VqSync.exe.bak"
                                              << ""
                                              << "VqSync/0.0.0.0 VelquorWebServicesClient/13.4.4.1804 Windows/10.0.19045";
    }

    void namesItselfToServers() {
        QFETCH(QString, executable);
        QFETCH(QString, version);
        QFETCH(QString, expected);
        QCOMPARE(userAgentText(executable, version, QStringLiteral("10.0.19045")), expected);
    }

    void keepsItsDataWithTheUserOrForAllUsers() {
        QVERIFY(RuntimePaths::dataPath(false).endsWith(QStringLiteral("/Velquor/Web Services")));
        QVERIFY(RuntimePaths::dataPath(true).endsWith(QStringLiteral("/Velquor/Web Services")));
        QVERIFY(RuntimePaths::dataPath(false) != RuntimePaths::dataPath(true));
        QCOMPARE(RuntimePaths::userKeyFolder(), RuntimePaths::dataPath(false));
    }

    void choosesTheLevel_data() {
        using Source = RootLogLevel::Source;
        QTest::addColumn<QString>("environment");
        QTest::addColumn<QString>("registry");
        QTest::addColumn<int>("source");
        QTest::addColumn<QString>("level");
        QTest::newRow("nothing") << ""
                                 << "" << int(Source::Configuration) << "INFO";
        QTest::newRow("environment") << " debug "
                                     << "" << int(Source::Environment) << "DEBUG";
        QTest::newRow("registry") << ""
                                  << "Trace" << int(Source::Registry) << "TRACE";
        QTest::newRow("both") << "ERROR"
                              << "TRACE" << int(Source::Environment) << "ERROR";
        QTest::newRow("unknown level falls through") << "LOUD"
                                                     << "WARN" << int(Source::Registry) << "WARN";
        QTest::newRow("no injection of properties") << "INFO, X\nlog4cplus.y=z"
                                                    << "" << int(Source::Configuration) << "INFO";
    }

    void choosesTheLevel() {
        QFETCH(QString, environment);
        QFETCH(QString, registry);
        const RootLogLevel chosen = chooseRootLogLevel(environment, registry);
        QTEST(int(chosen.source), "source");
        QTEST(chosen.level, "level");
    }

    // One process, one log: a message before the set-up, the set-up from the environment, hostile text, and logging switched off.
    void setsUpTheLog() {
        const QTemporaryDir folder;
        qputenv("VQWS_LOGFILEDIR", folder.path().toUtf8());
        qputenv("VQWS_LOGLEVEL", "DEBUG");
        const auto prefix = std::make_shared<Log::LogPrefix>();
        prefix->set(QStringLiteral("prefix"));
        const auto before =
            std::make_shared<Log::PrefixedLogger>(Log::makeLogger(QStringLiteral("VqWebServices.Session")), prefix);
        before->warning(QStringLiteral("an early message"));
        QVERIFY(LogSetupHelper::SetupLog());
        before->error(QStringLiteral("forged\n2026-01-01T00:00:00.000Z ERROR \r\x1b[31mred\x07 %s%n"));
        before->trace(QStringLiteral("below the level"));
        LogSetupHelper::Log(30000, L"wide text");
        const QStringList lines = readLines(folder.filePath(QStringLiteral("WebServices.log")));
        const int banner = find(lines, QStringLiteral("Operating System: "));
        const int begin = find(lines, QStringLiteral("Begin dump of queued log messages (1)"));
        const int early =
            find(lines, QStringLiteral("WARN  [RuntimeTest"), QStringLiteral("VqWebServices.Session - prefix: an early message"));
        const int end = find(lines, QStringLiteral("End dump of queued log message(s)"));
        QVERIFY2(begin >= 0 && begin < early && early < end, qPrintable(lines.join('\n')));
        const int level = find(lines, QStringLiteral("Root log level picked up from environment variable VQWS_LOGLEVEL"));
        QVERIFY2(level >= 0 && level < banner && banner < begin, qPrintable(lines.join('\n')));
        QVERIFY(find(lines, QStringLiteral("RootLogLevel=DEBUG")) >= 0);
        QVERIFY(find(lines, QStringLiteral("VqWebServices.OAuth2.Fetcher: DEBUG")) >= 0);
        QVERIFY(find(lines, QStringLiteral("prefix: forged\\n2026-01-01T00:00:00.000Z ERROR \\r\\x1b[31mred\\x07 %s%n")) >= 0);
        QVERIFY(find(lines, QStringLiteral("VqWebServices - wide text")) >= 0);
        QVERIFY(find(lines, QStringLiteral("below the level")) < 0);
        for (const QString& line : lines)
            QVERIFY2(line.isEmpty()
                         || QRegularExpression(QStringLiteral("^\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\d\\.\\d{3}Z "))
                                .match(line)
                                .hasMatch(),
                     qPrintable(line));
        QVERIFY(LogSetupHelper::isLogEnabled());
        setSetting(QStringLiteral("EnableLog"), QStringLiteral("0"));
        QVERIFY(LogSetupHelper::SetupLog());
        setSetting(QStringLiteral("EnableLog"), QString());
        QVERIFY(!LogSetupHelper::isLogEnabled());
        before->error(QStringLiteral("after the end"));
        QVERIFY(find(readLines(folder.filePath(QStringLiteral("WebServices.log"))), QStringLiteral("after the end")) < 0);
    }

    // The log library opens files by narrow names. Nothing was queued this time, and nobody is silenced any more.
    void setsUpTheLogInAnyFolderAgain() {
        const QTemporaryDir parent;
        const QString folder = parent.filePath(QStringLiteral("l\u00f6g \u0416"));
        qunsetenv("VQWS_LOGFILEDIR");
        setSetting(QStringLiteral("WebServicesDataPath"), folder);
        QVERIFY(LogSetupHelper::SetupLog());
        setSetting(QStringLiteral("WebServicesDataPath"), QString());
        Log::makeLogger(QStringLiteral("VqWebServices.Session"))->warning(QStringLiteral("here I am"));
        const QStringList lines = readLines(folder + QStringLiteral("/WebServices.log"));
        QVERIFY(find(lines, QStringLiteral("LocalAppData=") + folder) >= 0);
        QVERIFY(find(lines, QStringLiteral("VqWebServices.Session - here I am")) >= 0);
        QVERIFY(find(lines, QStringLiteral("Log was setup after a delay")) < 0);
    }

private:
    static void setSetting(const QString& name, const QString& value) {
        QSettings settings(QStringLiteral("Velquor"), QStringLiteral("Web Services"));
        value.isEmpty() ? settings.remove(name) : settings.setValue(name, value);
    }

    static QStringList readLines(const QString& path) {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()).split(QLatin1Char('\n')) : QStringList();
    }

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
