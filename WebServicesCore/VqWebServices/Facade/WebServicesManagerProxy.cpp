// The operations with proxy credentials.

#include <VqWebServices/WebServicesManager.h>

#include "Facade/FacadeCall.h"
#include "Network/Proxy/ProxyPrompt.h"
#include "Values/CallerText.h"

namespace Velquor::WebServices {

using namespace Internal;

namespace {

// Logs one line when a caller passes no buffers for the results.
bool hasBuffers(const char* operation, const wchar_t* first, int firstSize, const wchar_t* second, int secondSize) {
    if (first && firstSize > 0 && second && secondSize > 0)
        return true;
    Log::rootLogger().error(QStringLiteral("%1 failed. A buffer is null or has no size.").arg(QLatin1String(operation)));
    return false;
}

} // namespace

bool WebServicesManager::GetProxyAuthenticationDialogText(wchar_t* caption, int captionSize, wchar_t* message, int messageSize) {
    const char* const operation = "GetProxyAuthenticationDialogText";
    return withSessionAsIs(operation, false, [&](LoginSession&) {
        if (!hasBuffers(operation, caption, captionSize, message, messageSize))
            return false;
        const ProxyDialogTexts texts = ProxyPrompt::instance().texts();
        copyText(texts.caption, caption, captionSize);
        copyText(texts.message, message, messageSize);
        return true;
    });
}

void WebServicesManager::SetProxyAuthenticationDialogText(const wchar_t* caption, const wchar_t* message) {
    withSessionAsIs("SetProxyAuthenticationDialogText", false, [&](LoginSession&) {
        ProxyPrompt::instance().setTexts({textFromCaller(caption), textFromCaller(message)});
        return true;
    });
}

bool WebServicesManager::HasProxyAuthentication(const wchar_t* host, int port) {
    return withSessionAsIs("HasProxyAuthentication", false, [&](LoginSession& session) {
        return session.proxyCredentials().HasProxyAuthentication(textFromCaller(host), port);
    });
}

bool WebServicesManager::GetProxyAuthentication(const wchar_t* host, int port, wchar_t* user, int userSize, wchar_t* password,
                                                int passwordSize) {
    const char* const operation = "GetProxyAuthentication";
    return withSessionAsIs(operation, false, [&](LoginSession& session) {
        const QString name = textFromCaller(host);
        if (!name.isEmpty() && !session.proxyCredentials().HasProxyAuthentication(name, port)) {
            Log::rootLogger().error(QStringLiteral("GetProxyAuthentication failed. No user is stored for this proxy."));
            return false;
        }
        ProxyLogin login;
        if ((!name.isEmpty() && !hasBuffers(operation, user, userSize, password, passwordSize))
            || !session.proxyCredentials().GetProxyAuthentication(name, port, login))
            return false;
        copyText(login.user, user, userSize);
        copyText(login.password, password, passwordSize);
        return true;
    });
}

bool WebServicesManager::SetProxyAuthentication(const wchar_t* host, int port, const wchar_t* user, const wchar_t* password) {
    return withSessionAsIs("SetProxyAuthentication", false, [&](LoginSession& session) {
        return session.SetProxyAuthentication(textFromCaller(host), port, textFromCaller(user), textFromCaller(password));
    });
}

bool WebServicesManager::HasProxyInfo() {
    return withSessionAsIs("HasProxyInfo", false,
                           [](LoginSession& session) { return session.proxyCredentials().HasProxyInfo(); });
}

bool WebServicesManager::ClearProxyInfo() {
    return withSessionAsIs("ClearProxyInfo", false, [](LoginSession& session) { return session.ClearProxyInfo(); });
}

} // namespace Velquor::WebServices
