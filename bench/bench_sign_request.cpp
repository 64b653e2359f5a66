// Measures a whole SignRequest as products call it: locks, the check of the login state file, four secrets, the signature. It is
// compared with the signature alone.

#include "RatioReporter.h"
#include "Session/LoginSession.h"
#include "Session/Operations/ProductConfigurator.h"
#include "Session/Store/LoginStateStore.h"
#include "Signing/OpenSslCryptoProvider.h"
#include "Signing/VqOAuthHost.h"
#include "Signing/VqOAuthWrapper.h"
#include "VqLog/LogQueue.h"
#include "VqLog/LoggerWrapper.h"
#include "VqUtil/Crypto/CachingCryptor.h"
#include "VqUtil/Crypto/UserCryptor.h"
#include "VqUtil/Crypto/UserRsaCryptor.h"

#include <QCoreApplication>
#include <QTemporaryDir>
#include <benchmark/benchmark.h>
#include <log4cplus/loggingmacros.h>

namespace {

using namespace Velquor;
using namespace Velquor::WebServices;
using namespace Velquor::WebServices::Internal;

const auto key = QStringLiteral("8a6f1c0b2e594d7b9d3f");

// A process that has restored its sign-in from the file and logs at the default level.
class SignedIn {
public:
    SignedIn() {
        static_cast<void>(Log::LogQueue::instance().finish());
        log4cplus::Logger::getInstance(LOG4CPLUS_TEXT("VqWebServices")).setLogLevel(log4cplus::WARN_LOG_LEVEL);
        SessionDependencies services;
        services.loggers = Loggers::named();
        services.cryptor = std::make_shared<Util::CachingCryptor>(std::make_shared<Util::UserCryptor>(
            Util::openUserRsaCryptor(m_folder.path(), services.loggers.session), services.loggers.session));
        services.cipherBlockSize = Util::userKeyBlockSize;
        services.oauthHost = std::make_shared<OAuth::VqOAuthHost>(std::make_shared<OAuth::OpenSslCryptoProvider>(), nullptr);
        services.urls = &UrlStore::instance();
        services.loginStateFile = m_folder.filePath(QStringLiteral("LoginState.xml"));
        writeState(services);
        session =
            std::make_unique<LoginSession>(services, ClientIdentity{key, 1, QStringLiteral("Bench"), QStringLiteral("/bench")});
        session->SetConfiguration(key, configuration());
        session->RestoreLogin(key, false);
    }

    static WebServicesConfiguration configuration() {
        WebServicesConfiguration made;
        made.SetConsumerKey(key.toStdWString().c_str());
        made.SetConsumerSecret(L"kd94hf93k423kf44-pfkkdhi9sl3r4s00");
        return made;
    }

    std::unique_ptr<LoginSession> session;

private:
    static void writeState(const SessionDependencies& services) {
        SessionState core(services, nullptr);
        core.clients().add({key, 1, QStringLiteral("Bench"), QStringLiteral("/bench")});
        core.clients().setConfiguration(key, std::make_shared<const WebServicesConfiguration>(configuration()));
        LockedState state(core);
        state.setRestored();
        BasicLoginState user;
        user.clientId = services.cryptor->encrypt("client");
        user.userName = user.userId = QStringLiteral("ada");
        user.loginDate = services.now();
        core.binding().bind(user);
        state.setBasic(user);
        const auto seal = [&services](const char* text) { return services.cryptor->encrypt(text); };
        ProductConfigurator(state).configure(key)->setTokens(
            {seal("nnch734d00sl2jdk-7a1e5c09"), seal("pfkkdhi9sl3r4s00"), seal("handle"), services.now().addDays(1)});
        LoginStateStore(state).save();
    }

    QTemporaryDir m_folder;
};

// Never destroyed, since its threads cannot end after the application object of main() is destroyed.
const SignedIn& process() {
    static const SignedIn& made = *new SignedIn;
    return made;
}

const char url[] = "https://api.example.com/storage/v2/items?a=1&b=2&c=3";

void signRequest(benchmark::State& state) {
    SigningOrder order;
    order.request.url = url;
    if (process().session->SignRequest(key, order).isEmpty()) {
        state.SkipWithError("the request was not signed");
        return;
    }
    for (auto _ : state)
        benchmark::DoNotOptimize(process().session->SignRequest(key, order));
}
BENCHMARK(signRequest)->Name("one thread/SignRequest");
BENCHMARK(signRequest)->Name("32 threads/SignRequest")->Threads(32);

void signatureAlone(benchmark::State& state) {
    const OAuth::VqOAuthHost host(std::make_shared<OAuth::OpenSslCryptoProvider>(), nullptr);
    const OAuth::VqOAuthWrapper wrapper(host);
    const OAuth::RequestToSign request{"GET", url, {}};
    const OAuth::Credentials credentials{"8a6f1c0b2e594d7b9d3f", "kd94hf93k423kf44-pfkkdhi9sl3r4s00", "nnch734d00sl2jdk-7a1e5c09",
                                         "pfkkdhi9sl3r4s00"};
    for (auto _ : state)
        benchmark::DoNotOptimize(wrapper.CreateOauthParameterString(request, credentials, OAuth::OutputForm::Header));
}
BENCHMARK(signatureAlone)->Name("one thread/signature");
BENCHMARK(signatureAlone)->Name("32 threads/signature")->Threads(32);

} // namespace

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    // Created here, so that its objects belong to the main thread.
    static_cast<void>(process());
    constexpr double goal = 1.6;
    return runAgainstPeers(argc, argv, "SignRequest", goal);
}
