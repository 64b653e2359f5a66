// The default client's operations that refresh tokens, and those with OAuth2 tokens.

#include "Facade/FacadeCall.h"
#include "Values/OAuth2TokenSpecImp.h"

#include <VqWebServices/WebServicesManager.h>

namespace Velquor::WebServices {

using namespace Internal;

bool WebServicesManager::RefreshToken(bool synchronous) {
    return keyed().RefreshToken(defaultKey(), synchronous);
}

bool WebServicesManager::IsOAuth2Enabled() {
    return keyed().IsOAuth2Enabled(defaultKey());
}

bool WebServicesManager::EnableOAuth2(bool enable) {
    return keyed().EnableOAuth2(defaultKey(), enable);
}

bool WebServicesManager::EnableOAuth2(const OAuth2TokenSpec& spec) {
    return keyed().EnableOAuth2(defaultKey(), spec);
}

bool WebServicesManager::DisableOAuth2() {
    return keyed().EnableOAuth2(defaultKey(), false);
}

bool WebServicesManager::GetOAuth2AccessToken(const OAuth2TokenSpec& spec, OAuth2Token& token, bool waitToFinish) {
    return keyed().GetOAuth2AccessToken(token, defaultKey(), &spec, waitToFinish);
}

int WebServicesManager::GetOAuth2AccessToken(wchar_t* buffer, int size, bool waitToFinish) {
    if (buffer && size >= 1)
        buffer[0] = 0;
    OAuth2Token token;
    if (!keyed().GetOAuth2AccessToken(token, defaultKey(), nullptr, waitToFinish))
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
    return keyed().RefreshOAuth2Token(defaultKey(), nullptr, synchronous);
}

bool WebServicesManager::RefreshOAuth2Token(const OAuth2TokenSpec& spec, bool synchronous) {
    return keyed().RefreshOAuth2Token(defaultKey(), &spec, synchronous);
}

bool WebServicesManager::IsOAuth2TokenAvailable() {
    return keyed().IsOAuth2TokenAvailable(defaultKey(), nullptr);
}

bool WebServicesManager::IsOAuth2TokenAvailable(const OAuth2TokenSpec& spec) {
    return keyed().IsOAuth2TokenAvailable(defaultKey(), &spec);
}

bool WebServicesManager::IsOAuth2TokenExpired() {
    return keyed().IsOAuth2TokenExpired(defaultKey(), nullptr);
}

bool WebServicesManager::IsOAuth2TokenExpired(const OAuth2TokenSpec& spec) {
    return keyed().IsOAuth2TokenExpired(defaultKey(), &spec);
}

unsigned int WebServicesManager::GetOAuth2TokenExpiryDate() {
    return keyed().GetOAuth2TokenExpiryDate(defaultKey(), nullptr);
}

unsigned int WebServicesManager::GetOAuth2TokenExpiryDate(const OAuth2TokenSpec& spec) {
    return keyed().GetOAuth2TokenExpiryDate(defaultKey(), &spec);
}

} // namespace Velquor::WebServices
