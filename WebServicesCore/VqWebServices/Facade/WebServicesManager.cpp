#include <VqWebServices/WebServicesManager.h>

#include "Facade/DefaultClient.h"
#include "Facade/FacadeCall.h"
#include "Network/Urls/UrlStore.h"
#include "Runtime/LogSetupHelper.h"
#include "Runtime/RuntimePaths.h"
#include "Values/CallerText.h"

// The operations address the default client: each forwards to the keyed facade, or asks the session where there is no key.

namespace Velquor::WebServices {

using namespace Internal;

bool WebServicesManager::SetConfiguration(const WebServicesConfiguration& configuration) {
    return keyed().SetConfiguration(self(), configuration);
}

const WebServicesConfiguration& WebServicesManager::GetConfiguration() {
    return keyed().GetConfiguration(self());
}

bool WebServicesManager::SetServer(Server server) {
    return keyed().SetServer(self(), server);
}

Server WebServicesManager::GetServer() {
    return withSession("GetServer", Production, [](LoginSession& session) { return session.currentServer(); });
}

int WebServicesManager::GetCachePath(wchar_t* buffer, int size) {
    return copyText(QString(), buffer, size);
}

void WebServicesManager::SetCachePath(const wchar_t*) {}

int WebServicesManager::GetLoginStateFile(wchar_t* buffer, int size) {
    return guarded("GetLoginStateFile", 0, [&] { return copyText(RuntimePaths::loginStateFile(), buffer, size); });
}

int WebServicesManager::GetUrl(WebServicesUrlCode code, wchar_t* buffer, int size) {
    return withSession("GetUrl", 0, [&](LoginSession& session) {
        return copyText(UrlStore::instance().GetUrl(session.currentServer(), code), buffer, size);
    });
}

int WebServicesManager::GetUserName(wchar_t* buffer, int size) {
    return withSession("GetUserName", 0, [&](LoginSession& session) {
        const QString name = session.basicState().userName;
        return copyText(session.isRestored() && !session.isLoggedIn(QString()) ? QString() : name, buffer, size);
    });
}

int WebServicesManager::GetLoginUserName(wchar_t* buffer, int size) {
    return GetUserName(buffer, size);
}

int WebServicesManager::GetUserId(wchar_t* buffer, int size) {
    return withSession("GetUserId", 0,
                       [&](LoginSession& session) { return copyText(session.basicState().userId, buffer, size); });
}

int WebServicesManager::GetLdapDomainKey(wchar_t* buffer, int size) {
    return withSession("GetLdapDomainKey", 0,
                       [&](LoginSession& session) { return copyText(session.ldapDomainKey(), buffer, size); });
}

bool WebServicesManager::IsLoggedIn() {
    return withSession("IsLoggedIn", false, [](LoginSession& session) { return session.isLoggedIn(QString()); });
}

bool WebServicesManager::IsLoginValid() {
    return withSession("IsLoginValid", false, [](LoginSession& session) { return session.isLoginValid(QString()); });
}

bool WebServicesManager::IsLoginExpired() {
    return withSession("IsLoginExpired", false, [](LoginSession& session) { return session.isLoginExpired(); });
}

unsigned int WebServicesManager::GetLoginExpiryDate() {
    return withSession("GetLoginExpiryDate", 0U,
                       [](LoginSession& session) { return secondsSinceEpoch(session.basicState().sessionExpiryDate); });
}

int WebServicesManager::GetLoginCookie(unsigned char*& cookie) {
    return keyed().GetLoginCookie(self(), cookie);
}

bool WebServicesManager::RestoreLogin() {
    return keyed().RestoreLogin(self());
}

bool WebServicesManager::InitiateLogin(wchar_t* url, int size) {
    return keyed().InitiateLogin(self(), url, size);
}

bool WebServicesManager::InitiateLogin(wchar_t* url, int size, LoginError& error, int& httpStatus) {
    return keyed().InitiateLogin(self(), url, size, error, httpStatus);
}

bool WebServicesManager::InitiateLogin(const wchar_t* userName, int, wchar_t* url, int size, LoginError& error, int& httpStatus) {
    LoginErrorEx detail = LoginErrorEx::None;
    const bool done = InitiateLogin(userName, url, size, detail, httpStatus);
    error = shortLoginError(detail);
    return done;
}

bool WebServicesManager::InitiateLogin(const wchar_t* userName, wchar_t* url, int size, LoginErrorEx& error, int& httpStatus) {
    return keyed().InitiateLogin(self(), userName, url, size, error, httpStatus);
}

bool WebServicesManager::CompleteLogin() {
    return keyed().CompleteLogin(self());
}

bool WebServicesManager::CompleteLogin(const NetworkCookieJar& cookies) {
    return keyed().CompleteLogin(self(), cookies);
}

bool WebServicesManager::InitiateLogout(wchar_t* url, int size, NetworkCookieJar& cookies) {
    return keyed().InitiateLogout(self(), url, size, cookies);
}

bool WebServicesManager::CompleteLogout() {
    return keyed().CompleteLogout(self());
}

bool WebServicesManager::Logout() {
    return keyed().Logout(self());
}

bool WebServicesManager::IsTokenAvailable() {
    return keyed().IsTokenAvailable(self());
}

int WebServicesManager::GetAccessToken(wchar_t* buffer, int size) {
    return keyed().GetAccessToken(self(), buffer, size);
}

int WebServicesManager::GetAccessToken(wchar_t* buffer, int size, bool checkExpiry) {
    return keyed().GetAccessToken(self(), buffer, size, checkExpiry);
}

unsigned int WebServicesManager::GetTokenExpiryDate() {
    return keyed().GetTokenExpiryDate(self());
}

bool WebServicesManager::IsTokenExpired() {
    return keyed().IsTokenExpired(self());
}

wchar_t* WebServicesManager::SignRequest(const wchar_t* url, const RequestParam* params, int count, HttpMethod method,
                                         ParsingMode mode, const wchar_t* token, const wchar_t* tokenSecret) {
    return keyed().SignRequest(self(), url, params, count, method, mode, token, tokenSecret);
}

wchar_t* WebServicesManager::SignUrlForBrowser(const wchar_t* url, bool checkExpiry) {
    return keyed().SignUrlForBrowser(self(), url, checkExpiry);
}

void WebServicesManager::AddObserver(IWebServicesObserver* observer) {
    withSessionAsIs("AddObserver", false, [&](LoginSession& session) {
        session.observers().add(observer);
        return true;
    });
}

void WebServicesManager::RemoveObserver(IWebServicesObserver* observer) {
    withSessionAsIs("RemoveObserver", false, [&](LoginSession& session) {
        session.observers().remove(observer);
        return true;
    });
}

bool WebServicesManager::IsLogEnabled() {
    return guarded("IsLogEnabled", false, [] { return LogSetupHelper::isLogEnabled(); });
}

bool WebServicesManager::IsSSOEnabledForAllUsers() {
    return guarded("IsSSOEnabledForAllUsers", false, [] { return RuntimePaths::isSSOEnabledForAllUsers(); });
}

} // namespace Velquor::WebServices
