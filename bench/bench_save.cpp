// Measures a save of the login state with 20 products under the cross-process lock. It is compared with the least that any safe
// save of the same document must do: parse it, change it, write it to a temporary file, flush that and move it into place.

#include "QuietLogger.h"
#include "RatioReporter.h"
#include "Session/Operations/ProductConfigurator.h"
#include "Session/Store/LoginStateReader.h"
#include "Session/Store/LoginStateStore.h"
#include "Signing/OpenSslCryptoProvider.h"
#include "Signing/VqOAuthHost.h"
#include "VqUtil/Crypto/UserCryptor.h"
#include "VqUtil/Crypto/UserRsaCryptor.h"
#include "VqUtil/Files/AtomicFile.h"

#include <QCoreApplication>
#include <QDomDocument>
#include <QTemporaryDir>
#include <benchmark/benchmark.h>
#include <memory>
#include <vector>

namespace {

using namespace Velquor;
using namespace Velquor::WebServices;
using namespace Velquor::WebServices::Internal;
using Bench::QuietLogger;

constexpr int productCount = 20;
constexpr double goal = 1.2;

class SilentEvents final : public ISessionEvents {
public:
    void raiseEvent(WebServicesPrivateCore::WebServicesEvent, const EventSubject&) override {}
    void raiseEventHere(WebServicesPrivateCore::WebServicesEvent, const EventSubject&) override {}
    void deliverEvent(WebServicesPrivateCore::WebServicesEvent, const EventSubject&) override {}
    void forceLogout(const QString&, const QString&) override {}
    [[nodiscard]] bool isLogoutVetoed(const QString&) override { return false; }
    bool followFile(int) override { return true; }
};

/// A process with some products of its own, and a file with 20 products.
class Process {
public:
    explicit Process(int ownProducts)
        : m_folder(new QTemporaryDir)
        , m_state(std::make_unique<SessionState>(services(), &m_events)) {
        BasicLoginState state;
        state.clientId = m_state->services().cryptor->encrypt("client");
        state.userName = state.userId = QStringLiteral("ada");
        state.loginDate = m_state->services().now();
        m_state->binding().bind(state);
        LockedState(*m_state).setRestored();
        LockedState(*m_state).setBasic(state);
        configure(productCount);
        (void)store();
        // Starts again from the file, since a process that saves has read what the others wrote.
        m_state = std::make_unique<SessionState>(services(), &m_events);
        {
            LockedState restored(*m_state);
            LoginStateReader(restored).restore();
            restored.setRestored();
        }
        configure(ownProducts);
    }

    bool save() {
        for (const ProductSessionPointer& product : m_own) {
            ProductTokens tokens = product->tokens();
            tokens.expiryDate = tokens.expiryDate.addSecs(1);
            product->setTokens(tokens);
        }
        return store();
    }

    bool saveAtLeast() {
        QDomDocument document;
        const Util::AtomicFile::ReadResult file = Util::AtomicFile::read(m_state->services().loginStateFile, 1024 * 1024);
        if (!document.setContent(file.data))
            return false;
        document.documentElement().setAttribute(QStringLiteral("LastSavedBy"), ++m_number);
        return static_cast<bool>(Util::AtomicFile::write(m_state->services().loginStateFile, document.toByteArray(2)));
    }

private:
    [[nodiscard]] bool store() {
        LockedState state(*m_state);
        return LoginStateStore(state).save() == LoginStateStore::Result::Saved;
    }

    [[nodiscard]] SessionDependencies services() const {
        SessionDependencies made;
        made.loggers = Loggers::all(std::make_shared<QuietLogger>());
        made.cryptor = std::make_shared<Util::UserCryptor>(Util::openUserRsaCryptor(m_folder->path(), made.loggers.session),
                                                           made.loggers.session);
        made.cipherBlockSize = Util::userKeyBlockSize;
        made.oauthHost = std::make_shared<OAuth::VqOAuthHost>(std::make_shared<OAuth::OpenSslCryptoProvider>(), nullptr);
        made.urls = &UrlStore::instance();
        made.loginStateFile = m_folder->filePath(QStringLiteral("LoginState.xml"));
        return made;
    }

    void configure(int count) {
        m_own.clear();
        for (int index = 0; index < count; ++index) {
            const QString key = QStringLiteral("8a6f1c0b2e594d7b9d%1").arg(index, 2, 10, QLatin1Char('0'));
            m_state->clients().add({key, 1, QStringLiteral("Bench"), QStringLiteral("/bench")});
            WebServicesConfiguration configuration;
            configuration.SetConsumerKey(key.toStdWString().c_str());
            configuration.SetConsumerSecret(L"kd94hf93k423kf44-pfkkdhi9sl3r4s00");
            m_state->clients().setConfiguration(key, std::make_shared<const WebServicesConfiguration>(configuration));
            LockedState state(*m_state);
            m_own += ProductConfigurator(state).configure(key);
            const auto seal = [this](const char* text) { return m_state->services().cryptor->encrypt(text); };
            if (!m_own.last()->tokens().areComplete())
                m_own.last()->setTokens({seal("nnch734d00sl2jdk-7a1e5c09"), seal("pfkkdhi9sl3r4s00"), seal("handle"),
                                         m_state->services().now().addDays(1)});
        }
    }

    const std::unique_ptr<QTemporaryDir> m_folder;
    SilentEvents m_events;
    QVector<ProductSessionPointer> m_own;
    std::unique_ptr<SessionState> m_state;
    int m_number = 0;
};

void save(benchmark::State& state, int ownProducts, bool (Process::*saving)()) {
    Process process(ownProducts);
    for (auto _ : state) {
        if (!(process.*saving)())
            return state.SkipWithError("not saved");
    }
}
BENCHMARK_CAPTURE(save, library, 1, &Process::save)
    ->Name("one own product of 20/library")
    ->UseRealTime()
    ->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(save, plain, 1, &Process::saveAtLeast)
    ->Name("one own product of 20/plain")
    ->UseRealTime()
    ->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(save, library, 20, &Process::save)
    ->Name("20 own products of 20/library")
    ->UseRealTime()
    ->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(save, plain, 20, &Process::saveAtLeast)
    ->Name("20 own products of 20/plain")
    ->UseRealTime()
    ->Unit(benchmark::kMicrosecond);

} // namespace

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    // The repetitions of all contestants run in random order, so that other load on the machine and its disk affects all equally.
    char repetitions[] = "--benchmark_repetitions=9";
    char interleaving[] = "--benchmark_enable_random_interleaving=true";
    char time[] = "--benchmark_min_time=0.2";
    std::vector<char*> arguments{argv[0], repetitions, interleaving, time};
    arguments.insert(arguments.end(), argv + 1, argv + argc);
    int count = static_cast<int>(arguments.size());
    benchmark::Initialize(&count, arguments.data());
    RatioReporter reporter("library", goal);
    benchmark::RunSpecifiedBenchmarks(&reporter);
    return reporter.isGoalMet() ? 0 : 1;
}
