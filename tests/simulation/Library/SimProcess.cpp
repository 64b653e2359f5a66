#include "simulation/Library/SimProcess.h"

#include "Signing/OpenSslCryptoProvider.h"
#include "Signing/VqOAuthHost.h"
#include "TestKit/SessionFixture.h"
#include "VqUtil/Platform/UserIdentity.h"

#include <QTimer>
#include <QUrlQuery>
#include <cstdio>
#include <utility>

namespace Velquor::Util {

// Linked instead of the system's, whose answer would be another source of chance, and takes long.
std::optional<QString> currentUserName() {
    return QStringLiteral("user");
}

std::optional<QStringList> adapterAddresses() {
    return QStringList(QStringLiteral("020000000001"));
}

} // namespace Velquor::Util

namespace Velquor::Simulation {

using namespace WebServices;
using namespace WebServices::Internal;

namespace {

/// Keeps nothing secret, and costs nothing. Thread: any.
class OpenCryptor final : public Util::ICryptor {
public:
    [[nodiscard]] QByteArray encrypt(const QByteArray& clear) override { return clear.toBase64(); }
    [[nodiscard]] Util::SecretBytes decrypt(const QByteArray& text) override {
        return Util::SecretBytes(QByteArray::fromBase64(text));
    }
};

/// Drops all messages, unless a developer asks for them. Thread: any.
class SimLogger final : public Log::ILogger {
public:
    explicit SimLogger(World& world)
        : m_world(world) {}
    void write(Log::Level, const QString&, const QString& text) override {
        if (isShown())
            std::fprintf(stderr, "%10lld %s\n", static_cast<long long>(m_world.nowUs() / 1000),
                         qPrintable((m_world.running() ? m_world.running()->name : QByteArray()) + ": " + text.toUtf8()));
    }
    [[nodiscard]] bool isEnabled(Log::Level level) const override { return isShown() && level >= Log::Level::Information; }

private:
    [[nodiscard]] static bool isShown() {
        static const bool isWanted = qEnvironmentVariableIsSet("VQ_SIMULATION_LOG");
        return isWanted;
    }
    World& m_world;
};

UrlStore& urls() {
    static UrlStore& store = [&]() -> UrlStore& {
        static UrlStore made(std::make_shared<TestKit::RecordingLogger>());
        made.SetUrlOverrides(Production, {{"AccountServerUrl", "https://accounts.example.com"},
                                          {"RequestTokenEndPoint", "/oauth/request-token"},
                                          {"AuthorizationEndPoint", "/oauth/authorize"},
                                          {"AccessTokenEndPoint", "/oauth/access-token"},
                                          {"LogoutEndPoint", "/oauth/logout"},
                                          {"InvalidateTokenEndPoint", "/oauth/invalidate-token"},
                                          {"OAuth2AccountServerUrl", "https://accounts.example.com"},
                                          {"OAuth2AccessTokenEndPoint", "/oauth2/token"}});
        return made;
    }();
    return store;
}

const WebServicesConfiguration& configurationOf(const QString& productKey) {
    static std::map<QString, WebServicesConfiguration> made;
    const auto found = made.find(productKey);
    return found != made.end() ? found->second
                               : made[productKey] = TestKit::SessionFixture::oauth2Configuration(productKey, "secret");
}

// A request of a sign-out ends after a minute.
constexpr int longestStepMs = 65000;
constexpr int spansMs[] = {60000, 1000, 10000, 600000, 1500000};

} // namespace

SimProcess::SimProcess(Machine& machine, const QByteArray& name, const QString& productKey)
    : m_machine(machine)
    , m_process(machine.world.addProcess(name))
    , m_productKey(productKey)
    , m_clientKey(QStringLiteral("client"))
    , m_threads(std::make_shared<ProcessThreads>(machine.world, m_process))
    , m_network(std::make_shared<AccountService>(machine.world, machine.line, m_process))
    , m_main(m_threads->make(QStringLiteral("main"), Util::IThreads::Dispatcher::System)) {
    m_host.moveToThread(m_main.get());
    QObject::connect(
        m_main.get(), &QThread::started, &m_host, [this] { start(); }, Qt::QueuedConnection);
    QObject::connect(m_main.get(), &QThread::finished, [this] { finish(); });
    m_threads->start(*m_main);
}

SessionDependencies SimProcess::services() {
    static const QTemporaryDir folder;
    World& world = m_machine.world;
    SessionDependencies made;
    made.cryptor = std::make_shared<OpenCryptor>();
    made.cipherBlockSize = 256;
    made.oauthHost = std::make_shared<OAuth::VqOAuthHost>(std::make_shared<OAuth::OpenSslCryptoProvider>(), nullptr);
    made.urls = &urls();
    made.loggers = Loggers::all(std::make_shared<SimLogger>(world));
    made.now = [this] { return m_machine.clock.now(); };
    made.steadyClock = [this] { return m_machine.clock.steadyNs(); };
    made.network = m_network;
    made.claims = std::make_shared<SimClaims>(world, m_machine.claims, m_process);
    made.threads = m_threads;
    made.lockFolder = folder.path();
    // Not a folder, so that nothing else is looked for next to the file.
    made.loginStateFile = folder.path() + "/none/LoginState.xml";
    made.stateFile = std::make_shared<SimFile>(world, m_machine.disk, m_process);
    made.savedBy = QString::fromUtf8(m_process.name);
    made.carriers = m_machine.wire.carriersOf(m_process);
    made.makeSenderId = [this] { return QString::fromUtf8(m_process.name); };
    made.notifiesProcesses = true;
    return made;
}

int SimProcess::shownSignIn() const {
    if (!isRestored() || !m_session->isLoggedIn({}))
        return 0;
    return Ledger::signInOf(QByteArray::fromBase64(m_session->basicState().clientId));
}

int SimProcess::token() const {
    return isRestored() ? Ledger::tokenOf(QByteArray::fromBase64(m_session->tokens(m_clientKey).accessToken)) : 0;
}

int SimProcess::oauth2Token() const {
    return isRestored() ? Ledger::oauth2TokenOf(QByteArray::fromBase64(m_session->oauth2().token(m_clientKey, nullptr).token))
                        : 0;
}

LoginSession& SimProcess::session() {
    m_session->followFile();
    return *m_session;
}

void SimProcess::start() {
    m_machine.world.note("starts");
    m_session = std::make_shared<LoginSession>(services(), ClientIdentity{m_clientKey, 1, "Product", "/opt/product"});
    m_observer.reaction = [this] { heard(); };
    m_session->observers().add(&m_observer);
    m_session->SetConfiguration(m_clientKey, configurationOf(m_productKey));
    static constexpr int waitsMs[] = {0, 1000, 20000, 300000};
    later(waitsMs[m_machine.world.choices().pick(4, "restores late")], [this] {
        m_session->RestoreLogin(m_clientKey, false);
        if (m_machine.usesOAuth2)
            m_session->oauth2().EnableOAuth2(m_clientKey, OAuth2TokenSpec(RT, L""));
        live();
    });
}

void SimProcess::setPending(bool isPending) {
    m_machine.pendingSignIns += int(isPending) - int(std::exchange(m_isPending, isPending));
}

void SimProcess::finish() {
    setPending(false);
    if (m_session)
        m_session->observers().remove(&m_observer);
    m_session.reset();
}

void SimProcess::later(int spanMs, std::function<void()> act) {
    QTimer::singleShot(spanMs, &m_host, [this, act = std::move(act)] {
        if (!m_process.isKilled && m_session)
            act();
    });
}

void SimProcess::heard() {
    const QString& event = m_observer.heard.last();
    if (event == "LoggedOut")
        m_told.push_back(0);
    else if (event == "LoggedIn" || (event == "LoginRestored" && shownSignIn() > 0))
        told(shownSignIn() > 0 ? shownSignIn() : unknownSignIn);
    if (event == "TokenQueryFailed")
        m_hasGivenUp = true;
    else if (event == "LoggedIn" || event.startsWith(QLatin1String("TokenA")))
        m_hasGivenUp = false;
    m_wasRestored = event == "LoginRestored" || (m_wasRestored && event != "LoggedIn" && event != "LoggedOut");
}

// The restore may find a sign-in whose event is on its way to the main thread.
void SimProcess::told(int signIn) {
    if (m_wasRestored && !m_told.empty() && m_told.back() == signIn)
        m_machine.marks["a sign-in that the restore found first"]++;
    else
        m_told.push_back(signIn);
}

void SimProcess::live() {
    if (!m_isBusy)
        act();
    const int span = m_machine.isQuiet ? 0 : m_machine.world.choices().pick(int(std::size(spansMs)), "pause");
    if (m_session)
        later(spansMs[span], [this] { live(); });
}

void SimProcess::act() {
    const Machine::Habits& habits = m_machine.habits;
    const int total = habits.look + habits.sign + habits.signIn + habits.signOut + habits.end;
    if (m_machine.isQuiet)
        return m_machine.isSettled ? signRequest() : (void)session().isLoggedIn({});
    int drawn = m_machine.world.choices().pick(total, "act");
    const auto isDrawn = [&drawn](int weight) { return (drawn -= weight) < 0; };
    if (isDrawn(habits.look))
        (void)session().isLoggedIn({});
    else if (isDrawn(habits.sign))
        signRequest();
    else if (isDrawn(habits.signIn))
        initiateSignIn();
    else if (isDrawn(habits.signOut))
        signOut();
    else
        end();
}

void SimProcess::signRequest() {
    m_isBusy = true;
    // Not one that began while requests were still lost.
    const bool mustSucceed = m_machine.isSettled;
    m_machine.world.note("signs a request");
    SigningOrder order;
    order.request = {"GET", "https://data.example.com/x", {}};
    const bool isSigned = !session().SignRequest(m_clientKey, order).isEmpty();
    if (mustSucceed && !m_process.isKilled && token() != 0 && !isSigned)
        m_broken = QStringLiteral("R8: a request could not be signed, with the server up and a token");
    m_isBusy = false;
}

void SimProcess::initiateSignIn() {
    // A second sign-in of somebody who is signed in is rare.
    if (session().isLoggedIn({}) && !m_machine.world.choices().chance(10, "signs in again"))
        return;
    m_isBusy = true;
    m_machine.world.note("initiates a sign-in");
    const InitiatedLogin login = session().InitiateLogin(m_clientKey, {});
    if (login.code != LoginCode::success) {
        m_isBusy = false;
        return;
    }
    const QByteArray token = QUrlQuery(QUrl(login.url)).queryItemValue("oauth_token").toLatin1();
    setPending(true);
    later(spansMs[m_machine.world.choices().pick(4, "browser")], [this, number = Ledger::signInOf(token)] {
        if (m_machine.isQuiet || m_machine.world.choices().chance(10, "gives up"))
            return endPending();
        static const QByteArray users[] = {"ada", "ben"};
        m_machine.line.ledger.approve(number, users[m_machine.world.choices().pick(2, "user")]);
        completeSignIn(number, true);
    });
}

void SimProcess::endPending() {
    setPending(false);
    m_isBusy = false;
}

void SimProcess::completeSignIn(int number, bool mayTryAgain) {
    const int faults = m_network->faults();
    m_machine.world.note("completes sign-in s" + QByteArray::number(number));
    const int code = session().CompleteLogin(m_clientKey, nullptr);
    if (m_process.isKilled)
        return;
    m_machine.world.note("CompleteLogin: " + QByteArray::number(code));
    const bool isFailed = code != LoginCode::success && faults == m_network->faults();
    // A sign-out that the server forces may be under way on this thread: the host is refused, and tries again after it.
    if (isFailed && mayTryAgain)
        return later(longestStepMs, [this, number] { completeSignIn(number, false); });
    endPending();
    if (isFailed)
        m_broken = QStringLiteral("R6: a sign-in that waited for the browser did not complete");
    else if (code == LoginCode::success)
        m_machine.takenUp.insert(number);
}

void SimProcess::signOut() {
    const int number = session().isLoggedIn({}) ? shownSignIn() : 0;
    if (number == 0)
        return;
    m_isBusy = true;
    if (m_machine.pendingSignIns > 0)
        m_machine.marks["sign-out during a pending sign-in"]++;
    m_machine.leftByUser.insert(number);
    m_machine.lastSignOutUs = m_machine.world.nowUs();
    m_machine.world.note("signs out of s" + QByteArray::number(number));
    QNetworkReply::NetworkError error = QNetworkReply::NoError;
    const bool isDone = m_session->Logout(m_clientKey, error, true);
    if (isDone)
        m_machine.lastSignOutUs = m_machine.world.nowUs();
    if (!m_process.isKilled)
        m_machine.world.note(isDone ? "has signed out" : "could not sign out");
    m_isBusy = false;
}

void SimProcess::end() {
    m_machine.world.note("ends");
    m_isEnded = true;
    m_session->stop();
    finish();
    m_main->quit();
}

} // namespace Velquor::Simulation
