#include <VqWebServices/WebServicesManager.h>

#include "Facade/FacadeCall.h"
#include "Network/Urls/UrlStore.h"
#include "Runtime/LogSetupHelper.h"
#include "Runtime/RuntimePaths.h"
#include "Values/CallerText.h"

#include <VqWebServices/WebServicesPrivate.h>

// The operations of the default client. Each forwards to the keyed facade, or calls the session when the operation has no key.

namespace Velquor::WebServices {

using namespace Internal;

bool WebServicesManager::SetConfiguration(const WebServicesConfiguration& configuration) {
    // The single-sign-on server is no client itself, and a configuration must not make it one.
    const bool isClient =
        !WebServicesPrivate::IsHostSSOServer()
        || withSession("SetConfiguration", false, [](LoginSession& session) { return session.requireClient(defaultKey()); });
    return isClient && keyed().SetConfiguration(defaultKey(), configuration);
}

const WebServicesConfiguration& WebServicesManager::GetConfiguration() {
    return keyed().GetConfiguration(defaultKey());
}

bool WebServicesManager::SetServer(Server server) {
    return keyed().SetServer(defaultKey(), server);
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
    return keyed().GetLoginCookie(defaultKey(), cookie);
}

bool WebServicesManager::RestoreLogin() {
    return keyed().RestoreLogin(defaultKey());
}

bool WebServicesManager::InitiateLogin(wchar_t* url, int size) {
    return keyed().InitiateLogin(defaultKey(), url, size);
}

bool WebServicesManager::InitiateLogin(wchar_t* url, int size, LoginError& error, int& httpStatus) {
    return keyed().InitiateLogin(defaultKey(), url, size, error, httpStatus);
}

bool WebServicesManager::InitiateLogin(const wchar_t* userName, int, wchar_t* url, int size, LoginError& error, int& httpStatus) {
    LoginErrorEx detail = LoginErrorEx::None;
    const bool done = InitiateLogin(userName, url, size, detail, httpStatus);
    error = shortLoginError(detail);
    return done;
}

bool WebServicesManager::InitiateLogin(const wchar_t* userName, wchar_t* url, int size, LoginErrorEx& error, int& httpStatus) {
    return keyed().InitiateLogin(defaultKey(), userName, url, size, error, httpStatus);
}

bool WebServicesManager::CompleteLogin() {
    return keyed().CompleteLogin(defaultKey());
}

bool WebServicesManager::CompleteLogin(const NetworkCookieJar& cookies) {
    return keyed().CompleteLogin(defaultKey(), cookies);
}

bool WebServicesManager::InitiateLogout(wchar_t* url, int size, NetworkCookieJar& cookies) {
    return keyed().InitiateLogout(defaultKey(), url, size, cookies);
}

bool WebServicesManager::CompleteLogout() {
    return keyed().CompleteLogout(defaultKey());
}

bool WebServicesManager::Logout() {
    return keyed().Logout(defaultKey());
}

bool WebServicesManager::IsTokenAvailable() {
    return keyed().IsTokenAvailable(defaultKey());
}

int WebServicesManager::GetAccessToken(wchar_t* buffer, int size) {
    return keyed().GetAccessToken(defaultKey(), buffer, size);
}

int WebServicesManager::GetAccessToken(wchar_t* buffer, int size, bool checkExpiry) {
    return keyed().GetAccessToken(defaultKey(), buffer, size, checkExpiry);
}

unsigned int WebServicesManager::GetTokenExpiryDate() {
    return keyed().GetTokenExpiryDate(defaultKey());
}

bool WebServicesManager::IsTokenExpired() {
    return keyed().IsTokenExpired(defaultKey());
}

wchar_t* WebServicesManager::SignRequest(const wchar_t* url, const RequestParam* params, int count, HttpMethod method,
                                         ParsingMode mode, const wchar_t* token, const wchar_t* tokenSecret) {
    return keyed().SignRequest(defaultKey(), url, params, count, method, mode, token, tokenSecret);
}

wchar_t* WebServicesManager::SignUrlForBrowser(const wchar_t* url, bool checkExpiry) {
    return keyed().SignUrlForBrowser(defaultKey(), url, checkExpiry);
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
