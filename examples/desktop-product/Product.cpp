#include "Product.h"

#include <QMetaObject>
#include <VqWebServices/WebServicesManager.h>
#include <VqWebServices/WebServicesPrivate.h>
#include <utility>

using namespace Velquor::WebServices;

namespace {

// Events report changes at once. This interval finds changes without an event, such as a state file that was removed by hand.
constexpr int lookIntervalMs = 5000;
// The library renews known replies about once a day. Reading them again costs nothing, and finds replies that were missing.
constexpr int detailsIntervalMs = 30000;

} // namespace

Product::Product(Options options)
    : m_options(std::move(options)) {
    connect(&m_observer, &EventObserver::happened, this, &Product::onEvent);
    m_observer.setVeto([this] { return vetoes(); });
    connect(&m_lookTimer, &QTimer::timeout, this, &Product::look);
    connect(&m_detailsTimer, &QTimer::timeout, this, &Product::readDetails);
    m_lookTimer.setInterval(lookIntervalMs);
    m_detailsTimer.setInterval(detailsIntervalMs);
}

Product::~Product() {
    endLibrary();
}

void Product::start() {
    WebServicesManager::SetSupportFileSearchPaths(m_options.supportFolder.toStdWString().c_str());
    if (!beginLibrary()) {
        emit failed(FailureTexts::libraryDidNotStart());
        return;
    }
    m_lookTimer.start();
    m_detailsTimer.start();
}

bool Product::beginLibrary() {
    if (!WebServicesManager::Initialize(true))
        return false;
    WebServicesManager::GetInstance()->AddObserver(&m_observer);
    act(Activity::Starting, [keys = m_options.keys] { return ProductCalls::configureAndRestore(keys); });
    return true;
}

void Product::endLibrary() {
    for (Worker* const worker : {&m_actions, &m_looks, &m_reads})
        worker->clear();
    if (WebServicesManager* const manager = WebServicesManager::GetInstance()) {
        manager->RemoveObserver(&m_observer);
        WebServicesManager::Uninitialize();
    }
}

void Product::signIn() {
    act(Activity::RequestingPage, &ProductCalls::requestPage);
}

void Product::completeSignIn() {
    act(Activity::Completing, &ProductCalls::completeSignIn);
}

void Product::signOut() {
    act(Activity::SigningOut, &ProductCalls::signOut);
}

void Product::repeat() {
    act(m_lastActivity, m_lastCall);
}

bool Product::vetoes() {
    const bool isWanted = m_activity == Activity::SigningOut || m_activity == Activity::SwitchingServer;
    // The library asks also before it ends a sign-in that the server does not accept any more. A veto would not bring that back.
    m_end = isWanted ? SignInEnd::ByThisWindow : SignInEnd::Expired;
    m_isVetoed = isWanted && m_hasUnsavedWork && m_hasUnsavedWork();
    if (m_isVetoed)
        m_end = SignInEnd::ByOtherProduct;
    return m_isVetoed;
}

void Product::renewAccessToken() {
    act(Activity::RenewingAccessToken, &ProductCalls::renewAccessToken);
}

void Product::renewOAuth2Token() {
    act(Activity::RenewingOAuth2Token, &ProductCalls::renewOAuth2Token);
}

void Product::switchServer(Server server) {
    act(Activity::SwitchingServer, [server] { return ProductCalls::switchServer(server); });
}

void Product::storeProxy(const ProxySettings& proxy) {
    act(Activity::StoringProxy, [proxy] { return ProductCalls::storeProxy(proxy); });
}

void Product::clearProxy() {
    act(Activity::ClearingProxy, &ProductCalls::clearProxy);
}

void Product::cancel() {
    if (m_activity == Activity::Idle)
        return;
    const bool isCallUnderWay = m_activity != Activity::WaitingForBrowser;
    ++m_actionRound;
    setActivity(Activity::Idle);
    if (!isCallUnderWay)
        return;
    endLibrary();
    m_isReadingDetails = false;
    ++m_signInRound;
    if (!beginLibrary())
        emit failed(FailureTexts::libraryDidNotStart());
}

QString Product::logFile() {
    return WebServicesPrivate::GetLogFile();
}

void Product::act(Activity activity, const std::function<Outcome()>& call) {
    const bool isNextStep = m_activity == Activity::WaitingForBrowser && activity == Activity::Completing;
    if (m_activity != Activity::Idle && !isNextStep)
        return;
    m_lastActivity = activity;
    m_lastCall = call;
    m_isVetoed = false;
    setActivity(activity);
    m_actions.post([this, call, round = m_actionRound] {
        const Outcome outcome = call();
        QMetaObject::invokeMethod(
            this,
            [this, outcome, round] {
                if (round == m_actionRound)
                    finish(outcome);
            },
            Qt::QueuedConnection);
    });
}

void Product::finish(const Outcome& outcome) {
    const Activity done = m_activity;
    const bool isPageReady = !outcome.page.isEmpty();
    // When the service did not complete a sign-in, the user can continue with the same page.
    const bool isPageStillOpen = done == Activity::Completing && outcome.failure.isFailure();
    setActivity(isPageReady || isPageStillOpen ? Activity::WaitingForBrowser : Activity::Idle);
    if (m_isVetoed)
        emit vetoed();
    else if (outcome.failure.isFailure())
        tellFailure(done, outcome.failure);
    else
        emit succeeded();
    if (isPageReady)
        emit pageReady(outcome.page);
    look();
}

void Product::tellFailure(Activity done, const Failure& failure) {
    const bool isRenewal = done == Activity::RenewingAccessToken || done == Activity::RenewingOAuth2Token;
    // A sign-out that failed leaves the end of the sign-in to others.
    if (done == Activity::SigningOut || done == Activity::SwitchingServer)
        m_end = SignInEnd::ByOtherProduct;
    // A renewal without a sign-in fails, which the end of the sign-in has explained.
    if (!isRenewal || m_state.isSignedIn)
        emit failed(failure);
}

void Product::setActivity(Activity activity) {
    m_activity = activity;
    emit activityChanged(activity);
}
