#include "Runtime/Startup.h"

#include "Network/Diagnosis/LibraryNames.h"
#include "Network/Diagnosis/SslDiagnosis.h"
#include "Network/NetworkOperation.h"
#include "Network/NetworkThreads.h"
#include "Network/Proxy/ProxyPrompt.h"
#include "Network/Urls/SupportFiles.h"
#include "Network/UserAgent.h"
#include "Runtime/HostProduct.h"
#include "Runtime/LogSetupHelper.h"
#include "Runtime/PluginPaths.h"
#include "Runtime/RuntimePaths.h"
#include "Session/SessionProxyStore.h"
#include "Signing/OpenSslCryptoProvider.h"
#include "Signing/VqOAuthHost.h"
#include "Time/SystemTimeSource.h"
#include "Time/TimeServiceImp.h"
#include "Values/OAuth2TokenSpecImp.h"
#include "VqLog/CallReport.h"
#include "VqLog/LoggerWrapper.h"
#include "VqUtil/Crypto/CachingCryptor.h"
#include "VqUtil/Crypto/UserCryptor.h"
#include "VqUtil/Crypto/UserRsaCryptor.h"
#include "VqUtil/Files/FileAccess.h"
#include "VqUtil/Platform/HostProcess.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QMutexLocker>
#include <QNetworkProxyFactory>
#include <QSslConfiguration>
#include <QSslSocket>
#include <functional>
#include <memory>
#include <openssl/crypto.h>
#include <utility>

namespace Velquor::WebServices::Internal {

namespace {

bool findLogConfiguration() {
    if (!LogSetupHelper::findConfiguration().isEmpty())
        return true;
    const QString text =
        QStringLiteral(
            "Web Services initialization failed. Log config file- %1 could not be located in any of the following paths:\n%2")
            .arg(LogSetupHelper::configurationFileName(), SupportFiles::folders().join(QLatin1Char('\n')));
    Log::tellWithoutLog(text);
    return false;
}

void checkSsl() {
    if (QSslSocket::supportsSsl() && !QSslConfiguration::defaultConfiguration().isNull()) {
        const QString path = Util::modulePathOf(OpenSSL_version(OPENSSL_VERSION));
        Log::rootLogger().information(QStringLiteral("%1 loaded: %2").arg(QFileInfo(path).fileName(), path));
        Log::rootLogger().information(QStringLiteral("Ssl initialized successfully"));
        return;
    }
    const QString reason =
        QStringLiteral(
            ". Possible reason: %1 is not loaded currently. Make sure this module is installed in the same folder as %2 or in one of the search paths.")
            .arg(cryptoLibraryFileName(), QFileInfo(Util::ownModulePath()).fileName());
    Log::rootLogger().error(QStringLiteral("Ssl initialization failed%1").arg(reason));
}

// Timers, queued signals and network replies need an application object. A host without Qt has none.
void ensureApplication() {
    if (QCoreApplication::instance())
        return;
    static int count = 1;
    static char name[] = "VqWebServices";
    static char* arguments[] = {name, nullptr};
    // Never destroyed: other libraries may still use it at the end of the process.
    new QCoreApplication(count, arguments);
}

/// Opens the user's key at its first use: creating a key takes a noticeable moment, which must not delay the start of a host.
/// Thread: any.
class LazyCryptor : public Util::ICryptor {
public:
    using Maker = std::function<std::shared_ptr<Util::ICryptor>()>;

    explicit LazyCryptor(Maker maker)
        : m_maker(std::move(maker)) {}

    [[nodiscard]] QByteArray encrypt(const QByteArray& clear) override {
        return clear.isEmpty() ? QByteArray() : inner()->encrypt(clear);
    }
    [[nodiscard]] Util::SecretBytes decrypt(const QByteArray& text) override {
        return text.isEmpty() ? Util::SecretBytes() : inner()->decrypt(text);
    }
    [[nodiscard]] bool isUsable() override { return inner()->isUsable(); }

private:
    // A key that could not be read is tried again, but not for each of many texts.
    std::shared_ptr<Util::ICryptor> inner() {
        const QMutexLocker lock(&m_mutex);
        if (!m_inner || (!m_inner->isUsable() && m_nextTry.hasExpired())) {
            m_inner = m_maker();
            m_nextTry.setRemainingTime(pauseMs);
        }
        return m_inner;
    }

    static constexpr int pauseMs = 1000;
    const Maker m_maker;
    QMutex m_mutex;
    QDeadlineTimer m_nextTry;
    std::shared_ptr<Util::ICryptor> m_inner;
};

std::shared_ptr<Util::ICryptor> makeCryptor(const std::shared_ptr<Log::ILogger>& sessionLogger) {
    const auto make = [sessionLogger]() -> std::shared_ptr<Util::ICryptor> {
        return std::make_shared<Util::UserCryptor>(Util::openUserRsaCryptor(RuntimePaths::userKeyFolder(), sessionLogger),
                                                   sessionLogger);
    };
    return std::make_shared<Util::CachingCryptor>(std::make_shared<LazyCryptor>(make));
}

std::shared_ptr<OAuth::TimeServiceImp> makeTimeService(const Loggers& loggers) {
    OAuth::TimeServiceDependencies parts;
    parts.source = std::make_shared<OAuth::SystemTimeSource>();
    parts.logger = loggers.timeService;
    parts.networkLogger = loggers.network;
    return std::make_shared<OAuth::TimeServiceImp>(UrlStore::instance(), Production, parts);
}

std::shared_ptr<Util::ProcessState> makeProcessState(const std::shared_ptr<Log::ILogger>& logger) {
    if (const Util::Result<void> made = Util::ensureOwnerOnlyFolder(RuntimePaths::dataPath()); !made)
        logger->error(QStringLiteral("Failed to create the data folder %1. %2").arg(RuntimePaths::dataPath(), made.reason()));
    // The folder of the maker, which a program without a mask may have made.
    Util::closeToOtherWriters(QFileInfo(RuntimePaths::dataPath()).path());
    auto state = std::make_shared<Util::ProcessState>(Util::systemProcessStateDependencies(RuntimePaths::dataPath(), logger));
    state->setKey(QStringLiteral("Velquor.WebServices.ProcessState"));
    (void)state->ensureCreated();
    return state;
}

QString oauth2Text(const QVector<OAuth2TokenSpec>& specs) {
    if (specs.isEmpty())
        return QStringLiteral("without oauth2 support");
    const OAuth2TokenSpecImp& spec = OAuth2TokenSpecImp::of(specs.first());
    const QString type = tokenTypeName(spec.type);
    return spec.scope.isEmpty() ? QStringLiteral("with oauth2 support (type: %1)").arg(type)
                                : QStringLiteral("with oauth2 support (type: %1, scope: %2)").arg(type, spec.scope);
}

void startSession(StartedLibrary& started, const QString& defaultClientKey, const QVector<OAuth2TokenSpec>& oauth2Specs) {
    const QString host = Util::hostExecutablePath();
    SessionDependencies services;
    services.loggers = Loggers::named();
    const auto timeService = makeTimeService(services.loggers);
    started.timeService = timeService;
    started.processState = makeProcessState(services.loggers.ipc);
    services.cryptor = makeCryptor(services.loggers.session);
    services.cipherBlockSize = Util::userKeyBlockSize;
    services.oauthHost = std::make_shared<OAuth::VqOAuthHost>(std::make_shared<OAuth::OpenSslCryptoProvider>(), timeService,
                                                              services.loggers.session);
    services.clockProblemSeen = [timeService] { timeService->handleIncorrectSystemTime(); };
    services.urls = &UrlStore::instance();
    services.loginStateFile = RuntimePaths::loginStateFile();
    services.isForAllUsers = RuntimePaths::isSSOEnabledForAllUsers();
    services.lockFolder = RuntimePaths::dataPath();
    services.processState = started.processState;
    services.notifiesProcesses = true;
    services.isSSOServer = isSSOServerHost(host);
    services.savedBy = QFileInfo(host).fileName();
    started.session = std::make_shared<LoginSession>(
        services, ClientIdentity{defaultClientKey, QCoreApplication::applicationPid(), hostProductName(host), host}, oauth2Specs);
    started.session->loadProxyInfo();
    ProxyPrompt::instance().open(std::make_shared<SessionProxyStore>(started.session));
    timeService->setServer(started.session->currentServer());
    timeService->start();
}

} // namespace

StartedLibrary startLibrary(const QString& defaultClientKey, const QVector<OAuth2TokenSpec>& oauth2Specs) {
    QElapsedTimer timer;
    timer.start();
    StartedLibrary started;
    started.hasLogConfiguration = findLogConfiguration();
    // Also for what nobody calls: timers, the caches and the time service.
    NetworkOperation::allow(started.hasLogConfiguration);
    NetworkThreads::instance().open();
    PluginPaths::setDefaults();
    Log::rootLogger().information(QStringLiteral("Initializing Web Services %1").arg(oauth2Text(oauth2Specs)));
    // Before Qt is asked for TLS: Qt 6 ties its TLS plug-ins to the application object, and warns when there is none.
    ensureApplication();
    checkSsl();
    QNetworkProxyFactory::setUseSystemConfiguration(true);
    const QString host = Util::hostExecutablePath();
    setUserAgent(userAgentText(host, Util::fileVersion(host), Util::systemVersion()));
    Log::rootLogger().information(loadedSslVersionLine());
    startSession(started, defaultClientKey, oauth2Specs);
    // A log configuration that cannot be applied must not prevent the sign-in. The set-up reports the reason.
    (void)LogSetupHelper::SetupLog();
    Log::rootLogger().information(QStringLiteral("Web Services initialized. OAuth2: %1")
                                      .arg(oauth2Specs.isEmpty() ? QStringLiteral("Disabled") : QStringLiteral("Enabled")));
    Log::rootLogger().information(QStringLiteral("Web Services initialization took %1 ms").arg(timer.elapsed()));
    Log::rootLogger().information(QStringLiteral("Web Services data path: %1").arg(RuntimePaths::dataPath()));
    Log::rootLogger().information(QStringLiteral("Web Services login state file: %1").arg(RuntimePaths::loginStateFile()));
    return started;
}

void stopLibrary(StartedLibrary library) {
    if (!library.session)
        return;
    Log::rootLogger().information(QStringLiteral("Uninitializing Web Services"));
    ProxyPrompt::instance().close();
    // The session first: its workers use the time service until they have ended.
    library.session->stop();
    library.timeService->stop();
    library.session.reset();
    NetworkThreads::instance().close();
    library.processState->deleteProcessState();
    Log::rootLogger().information(QStringLiteral("Web Services uninitialized"));
}

} // namespace Velquor::WebServices::Internal
