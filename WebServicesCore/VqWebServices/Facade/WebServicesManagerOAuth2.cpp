// The default client's operations that refresh tokens, and those with OAuth2 tokens.

#include "Facade/DefaultClient.h"
#include "Facade/FacadeCall.h"
#include "Values/OAuth2TokenSpecImp.h"

#include <VqWebServices/WebServicesManager.h>

namespace Velquor::WebServices {

using namespace Internal;

bool WebServicesManager::RefreshToken(bool synchronous) {
    return keyed().RefreshToken(self(), synchronous);
}

bool WebServicesManager::IsOAuth2Enabled() {
    return keyed().IsOAuth2Enabled(self());
}

bool WebServicesManager::EnableOAuth2(bool enable) {
    return keyed().EnableOAuth2(self(), enable);
}

bool WebServicesManager::EnableOAuth2(const OAuth2TokenSpec& spec) {
    return keyed().EnableOAuth2(self(), spec);
}

bool WebServicesManager::DisableOAuth2() {
    return keyed().EnableOAuth2(self(), false);
}

bool WebServicesManager::GetOAuth2AccessToken(const OAuth2TokenSpec& spec, OAuth2Token& token, bool waitToFinish) {
    return keyed().GetOAuth2AccessToken(token, self(), &spec, waitToFinish);
}

int WebServicesManager::GetOAuth2AccessToken(wchar_t* buffer, int size, bool waitToFinish) {
    if (buffer && size >= 1)
        buffer[0] = 0;
    OAuth2Token token;
    if (!keyed().GetOAuth2AccessToken(token, self(), nullptr, waitToFinish))
        return 0;
    if (token.GetSpec().GetType() != RT) {
        Log::rootLogger().error(QStringLiteral(
            "GetOAuth2AccessToken failed. Cannot use deprecated overload GetOAuth2AccessToken(wchar_t*,...) for new feature. This overload is supported only for legacy code. Use the new overload which returns OAuth2Token."));
        return 0;
    }
    if (buffer && size < token.GetTokenSize() + 1) {
        Log::rootLogger().error(
            QStringLiteral("GetOAuth2AccessToken failed. Insufficient buffer size. Pass null to get buffer size required."));
        return 0;
    }
    return token.GetToken(buffer, size);
}

bool WebServicesManager::RefreshOAuth2Token(bool synchronous) {
    return keyed().RefreshOAuth2Token(self(), nullptr, synchronous);
}

bool WebServicesManager::RefreshOAuth2Token(const OAuth2TokenSpec& spec, bool synchronous) {
    return keyed().RefreshOAuth2Token(self(), &spec, synchronous);
}

bool WebServicesManager::IsOAuth2TokenAvailable() {
    return keyed().IsOAuth2TokenAvailable(self(), nullptr);
}

bool WebServicesManager::IsOAuth2TokenAvailable(const OAuth2TokenSpec& spec) {
    return keyed().IsOAuth2TokenAvailable(self(), &spec);
}

bool WebServicesManager::IsOAuth2TokenExpired() {
    return keyed().IsOAuth2TokenExpired(self(), nullptr);
}

bool WebServicesManager::IsOAuth2TokenExpired(const OAuth2TokenSpec& spec) {
    return keyed().IsOAuth2TokenExpired(self(), &spec);
}

unsigned int WebServicesManager::GetOAuth2TokenExpiryDate() {
    return keyed().GetOAuth2TokenExpiryDate(self(), nullptr);
}

unsigned int WebServicesManager::GetOAuth2TokenExpiryDate(const OAuth2TokenSpec& spec) {
    return keyed().GetOAuth2TokenExpiryDate(self(), &spec);
}

} // namespace Velquor::WebServices
