// Measures the decryption of the four secrets of a signed request, and decryption and signing together. The limit for both
// together is 15 us.

#include "Signing/OpenSslCryptoProvider.h"
#include "Signing/VqOAuthHost.h"
#include "Signing/VqOAuthWrapper.h"
#include "VqLog/LoggerWrapper.h"
#include "VqUtil/Crypto/CachingCryptor.h"
#include "VqUtil/Crypto/ProtectedText.h"
#include "VqUtil/Crypto/UserCryptor.h"
#include "VqUtil/Crypto/UserRsaCryptor.h"

#include <QTemporaryDir>
#include <benchmark/benchmark.h>

namespace {

using namespace Velquor;

struct Secrets {
    QTemporaryDir folder;
    std::shared_ptr<Log::ILogger> logger = Log::makeLogger(QStringLiteral("Bench"));
    std::shared_ptr<Util::ICryptor> user =
        std::make_shared<Util::UserCryptor>(Util::openUserRsaCryptor(folder.path(), logger), logger);
    Util::CachingCryptor cache{user};
    Util::ProtectedText consumerKey{QStringLiteral("8a6f1c0b2e594d7b9d3f")};
    Util::ProtectedText consumerSecret{QStringLiteral("kd94hf93k423kf44-pfkkdhi9sl3r4s00")};
    QByteArray token = user->encrypt("nnch734d00sl2jdk-7a1e5c09");
    QByteArray tokenSecret = user->encrypt("pfkkdhi9sl3r4s00-kd94hf93k423kf44");
};

Secrets& secrets() {
    static Secrets all;
    return all;
}

void userKeyOnce(benchmark::State& state) {
    for (auto _ : state)
        benchmark::DoNotOptimize(secrets().user->decrypt(secrets().token));
}
BENCHMARK(userKeyOnce);

void fourSecrets(benchmark::State& state) {
    Secrets& all = secrets();
    for (auto _ : state) {
        benchmark::DoNotOptimize(all.consumerKey.reveal());
        benchmark::DoNotOptimize(all.consumerSecret.reveal());
        benchmark::DoNotOptimize(all.cache.decrypt(all.token));
        benchmark::DoNotOptimize(all.cache.decrypt(all.tokenSecret));
    }
}
BENCHMARK(fourSecrets);

void fourSecretsAndSigning(benchmark::State& state) {
    Secrets& all = secrets();
    const OAuth::VqOAuthHost host(std::make_shared<OAuth::OpenSslCryptoProvider>(), nullptr);
    const OAuth::VqOAuthWrapper wrapper(host);
    const OAuth::RequestToSign request{"GET", "https://api.example.com/storage/v2/items?a=1&b=2&c=3", {}};
    for (auto _ : state) {
        const Util::SecretBytes key = all.consumerKey.reveal();
        const Util::SecretBytes secret = all.consumerSecret.reveal();
        const Util::SecretBytes token = all.cache.decrypt(all.token);
        const Util::SecretBytes tokenSecret = all.cache.decrypt(all.tokenSecret);
        benchmark::DoNotOptimize(wrapper.CreateOauthParameterString(
            request, {key.view(), secret.view(), token.view(), tokenSecret.view()}, OAuth::OutputForm::Header));
    }
}
BENCHMARK(fourSecretsAndSigning);

} // namespace

BENCHMARK_MAIN();
