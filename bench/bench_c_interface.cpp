// Measures SignRequest through the C interface, compared with the same operation of the facade in C++. The limit is 1.05 of its
// time.

#include "RatioReporter.h"
#include "Runtime/RuntimePaths.h"
#include "Session/Operations/ProductConfigurator.h"
#include "Session/Store/LoginStateStore.h"
#include "Signing/OpenSslCryptoProvider.h"
#include "Signing/VqOAuthHost.h"
#include "VqUtil/Crypto/CachingCryptor.h"
#include "VqUtil/Crypto/UserCryptor.h"
#include "VqUtil/Crypto/UserRsaCryptor.h"

#include <QCoreApplication>
#include <QDir>
#include <QTemporaryDir>
#include <VqWebServices/WebServicesManager.h>
#include <VqWebServices/vqws.h>
#include <benchmark/benchmark.h>
#include <memory>
#include <vector>

namespace {

using namespace Velquor;
using namespace Velquor::WebServices;
using namespace Velquor::WebServices::Internal;

constexpr double goal = 1.05;
const auto key = QStringLiteral("8a6f1c0b2e594d7b9d3f");

WebServicesConfiguration configuration() {
    WebServicesConfiguration made;
    made.SetConsumerKey(key.toStdWString().c_str());
    made.SetConsumerSecret(L"kd94hf93k423kf44-pfkkdhi9sl3r4s00");
    return made;
}

// The file of a user who has signed in earlier, in the folder from which the library reads it.
void writeState() {
    SessionDependencies services;
    services.loggers = Loggers::named();
    services.cryptor = std::make_shared<Util::UserCryptor>(
        Util::openUserRsaCryptor(RuntimePaths::userKeyFolder(), services.loggers.session), services.loggers.session);
    services.cipherBlockSize = Util::userKeyBlockSize;
    services.oauthHost = std::make_shared<OAuth::VqOAuthHost>(std::make_shared<OAuth::OpenSslCryptoProvider>(), nullptr);
    services.urls = &UrlStore::instance();
    services.loginStateFile = RuntimePaths::loginStateFile();
    SessionState core(services, nullptr);
    core.clients().add({key, 1, QStringLiteral("Bench"), QStringLiteral("/bench")});
    core.clients().setConfiguration(key, std::make_shared<const WebServicesConfiguration>(configuration()));
    LockedState state(core);
    state.setRestored();
    const auto seal = [&services](const char* text) { return services.cryptor->encrypt(text); };
    BasicLoginState user;
    user.clientId = seal("client");
    user.userName = user.userId = QStringLiteral("ada");
    user.loginDate = services.now();
    core.binding().bind(user);
    state.setBasic(user);
    ProductConfigurator(state).configure(key)->setTokens(
        {seal("nnch734d00sl2jdk-7a1e5c09"), seal("pfkkdhi9sl3r4s00"), seal("handle"), services.now().addDays(1)});
    LoginStateStore(state).save();
}

void signInCxx(benchmark::State& state) {
    WebServicesManager& manager = *WebServicesManager::GetInstance();
    for (auto _ : state) {
        const std::unique_ptr<wchar_t[]> made(manager.SignRequest(L"https://api.example.com/storage/v2/items?a=1&b=2&c=3",
                                                                  nullptr, 0, HttpMethod::Get, ParsingMode::AuthorizationHeader,
                                                                  nullptr, nullptr));
        if (!made)
            return state.SkipWithError("the request was not signed");
    }
}
BENCHMARK(signInCxx)->Name("SignRequest/C++");

void signInC(benchmark::State& state) {
    vqws_request request{};
    request.size = sizeof request;
    request.mode = VQWS_SIGN_HEADER;
    request.url = {"https://api.example.com/storage/v2/items?a=1&b=2&c=3", VQWS_Z};
    char header[1024];
    size_t length = 0;
    for (auto _ : state) {
        if (vqws_sign_request(nullptr, 0, &request, header, sizeof header, &length) != VQWS_OK)
            return state.SkipWithError("the request was not signed");
    }
}
BENCHMARK(signInC)->Name("SignRequest/C");

} // namespace

int main(int argc, char** argv) {
    const QTemporaryDir folder;
    const QDir configurations(QStringLiteral(VQ_LOG_CONFIGURATION_FOLDER));
    qputenv("XDG_DATA_HOME", folder.path().toLocal8Bit());
    const QCoreApplication application(argc, argv);
    QDir().mkpath(QFileInfo(RuntimePaths::loginStateFile()).path());
    writeState();
    WebServicesManager::SetSupportFileSearchPaths(configurations.path().toStdWString().c_str());
    if (!WebServicesManager::Initialize() || !WebServicesManager::GetInstance()->SetConfiguration(configuration())
        || !WebServicesManager::GetInstance()->RestoreLogin())
        return 2;
    return runAgainstPeers(argc, argv, "C", goal);
}
