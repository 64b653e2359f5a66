// Every public header on its own feet, after macros that unfriendly system headers define; then the library's shortest life.
#define small char
#define interface struct

#include <VqWebServices/CacheType.h>
#include <VqWebServices/IWebServicesManager.h>
#include <VqWebServices/OAuth2Token.h>
#include <VqWebServices/PersistentNetworkCookieJar.h>
#include <VqWebServices/WebServicesManager.h>
#include <VqWebServices/WebServicesManagerEx.h>
#include <VqWebServices/WebServicesPrivate.h>

using namespace Velquor::WebServices;

int main() {
    if (!WebServicesManager::Initialize() || !GetIWebServicesManager())
        return 1;
    const bool isLogged = WebServicesManager::GetInstance()->IsLogEnabled();
    const bool hasConfiguration = !WebServicesPrivate::GetLogConfigFile().isEmpty();
    const bool isSignedIn = WebServicesManager::GetInstance()->IsLoggedIn();
    WebServicesManager::Uninitialize();
    return isLogged && hasConfiguration && !isSignedIn && !WebServicesManager::GetInstance() ? 0 : 2;
}
