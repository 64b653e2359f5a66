#include <VqWebServices/WebServicesManagerEx.h>

#include "Facade/ClientCalls.h"
#include "Facade/FacadeCall.h"
#include "Network/Urls/UrlStore.h"
#include "Runtime/RuntimePaths.h"
#include "Values/CallerText.h"
#include "Values/NetworkCookieImp.h"
#include "Values/WebServicesConfigurationImp.h"
#include "VqUtil/General/PerThread.h"
#include "VqUtil/Platform/HostProcess.h"

#include <QCoreApplication>
#include <algorithm>

namespace Velquor::WebServices {

using namespace Internal;

namespace {

ClientIdentity identityOf(const QString& clientKey) {
    return {clientKey, QCoreApplication::applicationPid(), QString(), Util::hostExecutablePath()};
}

QByteArray cookieHeader(const NetworkCookieJar& jar) {
    QByteArray header;
    for (int index = 0; index < jar.GetCookieCount(); ++index) {
        const NetworkCookie cookie = jar.GetCookie(index);
        const NetworkCookieImp& data = NetworkCookieImp::of(cookie);
        header += (header.isEmpty() ? "" : "; ") + data.name + '=' + data.value;
    }
    return header;
}

bool canUse(Server server) {
    const bool isUsable = UrlStore::instance().canUse(server);
    if (!isUsable)
        Log::CallReport::fail(Log::CallFailure::NotFound);
    return isUsable;
}

wchar_t* sign(const QString& clientKey, const SigningArguments& arguments, bool checkExpiry) {
    return guarded("SignRequest", static_cast<wchar_t*>(nullptr), [&] {
        const QByteArray result = signRequest(
            clientKey, [&] { return textsOf(arguments); }, [&] { return textFromCaller(arguments.url); }, checkExpiry);
        return result.isEmpty() ? nullptr : allocateText(QString::fromLatin1(result));
    });
}

} // namespace

WebServicesManagerEx* WebServicesManagerEx::GetInstanceEx() {
    WebServicesManagerImp& singleton = WebServicesManagerImp::instance();
    return singleton.session() ? &singleton : nullptr;
}

bool WebServicesManagerEx::SetConfiguration(const QString& clientKey, const WebServicesConfiguration& configuration) {
    return withSession("SetConfiguration", false, [&](LoginSession& session) {
        const bool isNew = !clientKey.isEmpty() && !session.isClient(clientKey);
        if (isNew)
            session.AddClient(identityOf(clientKey));
        const bool isSet = session.SetConfiguration(clientKey, configuration);
        // A refused configuration must not register a client.
        if (isNew && !isSet)
            session.RemoveClient(clientKey);
        return isSet;
    });
}

const WebServicesConfiguration& WebServicesManagerEx::GetConfiguration(const QString& clientKey) {
    // Both are never destroyed: hosts call this from the destructors of their static objects, and keep the reference.
    static const auto* const empty = new ConfigurationPointer(std::make_shared<const WebServicesConfiguration>());
    // Per thread, so that the returned reference stays valid when another thread changes the configuration.
    static auto* const kept = new Util::PerThread<ConfigurationPointer>;
    ConfigurationPointer& returned = kept->get();
    returned = withSession("GetConfiguration", ConfigurationPointer(), [&](LoginSession& session) {
        return session.requireClient(clientKey) ? session.configuration(clientKey) : ConfigurationPointer();
    });
    if (!returned)
        returned = *empty;
    return *returned;
}

bool WebServicesManagerEx::SetServer(const QString& clientKey, Server server) {
    return withSession("SetServer", false, [&](LoginSession& session) {
        return session.requireClient(clientKey) && canUse(server) && session.ChangeServer(clientKey, server, true);
    });
}

int WebServicesManagerEx::GetCachePath(const QString& clientKey, wchar_t* buffer, int size) {
    return withSession("GetCachePath", 0, [&](LoginSession& session) {
        const ConfigurationPointer configuration =
            session.requireClient(clientKey) ? session.configuration(clientKey) : ConfigurationPointer();
        return copyText(configuration ? RuntimePaths::loginStateCacheFolder(
                            WebServicesConfigurationImp::of(*configuration).derivedKey(), false)
                                      : QString(),
                        buffer, size);
    });
}

int WebServicesManagerEx::GetLoginUserName(const QString& clientKey, wchar_t* buffer, int size) {
    return withSession("GetLoginUserName", 0, [&](LoginSession& session) {
        const bool isKnown = session.requireClient(clientKey) && (!session.isRestored() || session.isLoggedIn(QString()));
        return copyText(isKnown ? session.basicState().userName : QString(), buffer, size);
    });
}

bool WebServicesManagerEx::IsLoggedIn(const QString& clientKey) {
    return withSession("IsLoggedIn", false,
                       [&](LoginSession& session) { return session.requireClient(clientKey) && session.isLoggedIn(clientKey); });
}

bool WebServicesManagerEx::IsLoginValid(const QString& clientKey) {
    return withSession("IsLoginValid", false, [&](LoginSession& session) {
        return session.requireClient(clientKey) && session.isLoginValid(clientKey);
    });
}

int WebServicesManagerEx::GetLoginCookie(const QString& clientKey, unsigned char*& cookie) {
    cookie = nullptr;
    return withSession("GetLoginCookie", 0, [&](LoginSession& session) {
        const QByteArray header = session.requireClient(clientKey) ? cookieHeader(session.loginCookies()) : QByteArray();
        if (header.isEmpty())
            return 0;
        cookie = new unsigned char[static_cast<size_t>(header.size())];
        std::copy(header.begin(), header.end(), cookie);
        return static_cast<int>(header.size());
    });
}

bool WebServicesManagerEx::RestoreLogin(const QString& clientKey) {
    return withSession("RestoreLogin", false, [&](LoginSession& session) {
        return session.requireClient(clientKey) && session.RestoreLogin(clientKey, false);
    });
}

bool WebServicesManagerEx::InitiateLogin(const QString& clientKey, wchar_t* url, int size) {
    LoginErrorEx error = LoginErrorEx::None;
    int httpStatus = 0;
    return InitiateLogin(clientKey, nullptr, url, size, error, httpStatus);
}

bool WebServicesManagerEx::InitiateLogin(const QString& clientKey, wchar_t* url, int size, LoginError& error, int& httpStatus) {
    LoginErrorEx detail = LoginErrorEx::None;
    const bool done = InitiateLogin(clientKey, nullptr, url, size, detail, httpStatus);
    error = shortLoginError(detail);
    return done;
}

bool WebServicesManagerEx::InitiateLogin(const QString& clientKey, const wchar_t* userName, wchar_t* url, int size,
                                         LoginErrorEx& error, int& httpStatus) {
    error = LoginErrorEx::BadArgument;
    httpStatus = 0;
    if (!hasBuffer("InitiateLogin", url, size))
        return false;
    url[0] = 0;
    error = LoginErrorEx::NotReady;
    const InitiatedLogin failure{LoginCode::notReady, {}, LoginErrorEx::NotReady, 0};
    const InitiatedLogin login =
        guarded("InitiateLogin", failure, [&] { return initiateLogin(clientKey, textFromCaller(userName)); });
    error = login.error;
    httpStatus = login.httpStatus;
    if (login.code != LoginCode::success)
        return false;
    copyText(login.url, url, size);
    return true;
}

bool WebServicesManagerEx::CompleteLogin(const QString& clientKey) {
    if (!mayUseNetwork("Cannot complete login. Web Services initialization failed due to missing WebServices.logconfig file."))
        return false;
    return withSession("CompleteLogin", false, [&](LoginSession& session) {
        return session.requireClient(clientKey) && session.CompleteLogin(clientKey, nullptr) == LoginCode::success;
    });
}

bool WebServicesManagerEx::CompleteLogin(const QString& clientKey, const NetworkCookieJar& cookies) {
    if (!mayUseNetwork("Cannot complete login. Web Services initialization failed due to missing WebServices.logconfig file."))
        return false;
    return withSession("CompleteLogin", false, [&](LoginSession& session) {
        return session.requireClient(clientKey) && session.CompleteLogin(clientKey, &cookies) == LoginCode::success;
    });
}

bool WebServicesManagerEx::InitiateLogout(const QString& clientKey, wchar_t* url, int size, NetworkCookieJar& cookies) {
    if (!hasBuffer("InitiateLogout", url, size))
        return false;
    url[0] = 0;
    return guarded("InitiateLogout", false, [&] {
        QString text;
        const bool isDone = initiateLogout(clientKey, text, cookies);
        if (isDone)
            copyText(text, url, size);
        return isDone;
    });
}

bool WebServicesManagerEx::CompleteLogout(const QString& clientKey) {
    return withSessionAsIs("CompleteLogout", false, [&](LoginSession& session) {
        return session.requireClient(clientKey) && session.CompleteLogout(clientKey);
    });
}

bool WebServicesManagerEx::Logout(const QString& clientKey) {
    if (!mayUseNetwork("Cannot log out. Web Services initialization failed due to missing WebServices.logconfig file."))
        return false;
    return withSession("Logout", false, [&](LoginSession& session) {
        QNetworkReply::NetworkError error = QNetworkReply::NoError;
        return session.requireClient(clientKey) && session.Logout(clientKey, error, false);
    });
}

bool WebServicesManagerEx::IsTokenAvailable(const QString& clientKey) {
    return withSession("IsTokenAvailable", false, [&](LoginSession& session) {
        return session.requireClient(clientKey) && session.tokens(clientKey).areComplete();
    });
}

int WebServicesManagerEx::GetAccessToken(const QString& clientKey, wchar_t* buffer, int size) {
    return GetAccessToken(clientKey, buffer, size, true);
}

int WebServicesManagerEx::GetAccessToken(const QString& clientKey, wchar_t* buffer, int size, bool checkExpiry) {
    return guarded("GetAccessToken", 0, [&] { return copyText(accessToken(clientKey, checkExpiry).toText(), buffer, size); });
}

unsigned int WebServicesManagerEx::GetTokenExpiryDate(const QString& clientKey) {
    return withSession("GetTokenExpiryDate", 0U, [&](LoginSession& session) {
        return session.requireClient(clientKey) ? secondsSinceEpoch(session.tokens(clientKey).expiryDate) : 0U;
    });
}

bool WebServicesManagerEx::IsTokenExpired(const QString& clientKey) {
    return withSession("IsTokenExpired", false, [&](LoginSession& session) {
        if (!session.requireClient(clientKey))
            return false;
        const ProductTokens tokens = session.tokens(clientKey);
        return tokens.areComplete() && tokens.areExpired(QDateTime::currentDateTimeUtc());
    });
}

wchar_t* WebServicesManagerEx::SignRequest(const QString& clientKey, const wchar_t* url, const RequestParam* params, int count,
                                           HttpMethod method, ParsingMode mode, const wchar_t* token,
                                           const wchar_t* tokenSecret) {
    return sign(clientKey, {url, params, count, method, mode, token, tokenSecret}, true);
}

wchar_t* WebServicesManagerEx::SignUrlForBrowser(const QString& clientKey, const wchar_t* url, bool checkExpiry) {
    return sign(clientKey, {url, nullptr, 0, HttpMethod::Get, ParsingMode::SignedUrl, nullptr, nullptr}, checkExpiry);
}

} // namespace Velquor::WebServices
