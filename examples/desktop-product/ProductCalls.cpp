// The calls of the library that change its state.

#include "ProductCalls.h"

#include <QCoreApplication>
#include <VqWebServices/WebServicesManager.h>
#include <array>

using namespace Velquor::WebServices;

namespace {

constexpr int urlSize = 8192;

WebServicesManager* manager() {
    return WebServicesManager::GetInstance();
}

Outcome outcome(bool isDone, const Failure& failure) {
    return {isDone ? Failure() : failure, {}};
}

} // namespace

Outcome ProductCalls::configureAndRestore(const Keys& keys) {
    WebServicesConfiguration configuration;
    configuration.SetConsumerKey(keys.key.toStdWString().c_str());
    configuration.SetConsumerSecret(keys.secret.toStdWString().c_str());
    configuration.SetOAuth2ConsumerKey(keys.key.toStdWString().c_str());
    configuration.SetOAuth2ConsumerSecret(keys.secret.toStdWString().c_str());
    configuration.SetOAuth2AccessTokenScope(L"data:read");
    bool isDone = manager() != nullptr;
    for (const Server server : {Production, Staging, Development}) {
        configuration.SetServer(server);
        isDone = isDone && manager()->SetConfiguration(configuration);
    }
    return outcome(isDone && manager()->RestoreLogin(), FailureTexts::notConfigured());
}

Outcome ProductCalls::requestPage() {
    std::array<wchar_t, urlSize> url{};
    LoginErrorEx error = LoginErrorEx::NotReady;
    int httpStatus = 0;
    if (!manager() || !manager()->InitiateLogin(nullptr, url.data(), urlSize, error, httpStatus))
        return {FailureTexts::noSignInPage(error, httpStatus), {}};
    return {{}, QString::fromWCharArray(url.data())};
}

Outcome ProductCalls::completeSignIn() {
    return outcome(manager() && manager()->CompleteLogin(), FailureTexts::signInNotCompleted());
}

Outcome ProductCalls::signOut() {
    return outcome(manager() && manager()->Logout(), FailureTexts::notSignedOut());
}

Outcome ProductCalls::renewAccessToken() {
    return outcome(manager() && manager()->RefreshToken(true),
                   FailureTexts::notRenewed(QCoreApplication::translate("Product", "access token")));
}

Outcome ProductCalls::renewOAuth2Token() {
    return outcome(manager() && manager()->RefreshOAuth2Token(true),
                   FailureTexts::notRenewed(QCoreApplication::translate("Product", "OAuth2 token")));
}

Outcome ProductCalls::switchServer(Server server) {
    return outcome(manager() && manager()->SetServer(server), FailureTexts::serverNotChanged(serverName(server)));
}

Outcome ProductCalls::storeProxy(const ProxySettings& proxy) {
    if (proxy.host.isEmpty() || proxy.user.isEmpty() || proxy.port < 1)
        return {FailureTexts::proxyIncomplete(), {}};
    const bool isDone =
        manager()
        && manager()->SetProxyAuthentication(proxy.host.toStdWString().c_str(), proxy.port, proxy.user.toStdWString().c_str(),
                                             proxy.password.toStdWString().c_str());
    return outcome(isDone, FailureTexts::proxyNotStored());
}

Outcome ProductCalls::clearProxy() {
    return outcome(manager() && manager()->ClearProxyInfo(), FailureTexts::proxyNotCleared());
}
