// The keyed operations that refresh tokens, and those with OAuth2 tokens.

#include "Facade/FacadeCall.h"

#include <QDateTime>
#include <VqWebServices/WebServicesManagerEx.h>

namespace Velquor::WebServices {

using namespace Internal;

namespace {

QString modeAdverb(bool synchronous) {
    return synchronous ? QStringLiteral("synchronously") : QStringLiteral("asynchronously");
}

OAuth2TokenData heldToken(const char* operation, const QString& clientKey, const OAuth2TokenSpec* spec) {
    return withSession(operation, OAuth2TokenData(), [&](LoginSession& session) {
        return session.requireClient(clientKey) ? session.oauth2().token(clientKey, spec) : OAuth2TokenData();
    });
}

} // namespace

bool WebServicesManagerEx::RefreshToken(const QString& clientKey, bool synchronous) {
    if (!mayUseNetwork("Cannot refresh token. Web Services initialization failed due to missing WebServices.logconfig file."))
        return false;
    return withSession("RefreshToken", false, [&](LoginSession& session) {
        Log::rootLogger().information(QStringLiteral("%1: WebServicesManager::RefreshToken called to refresh token %2")
                                          .arg(session.clientName(clientKey), modeAdverb(synchronous)));
        return session.requireClient(clientKey)
               && reportSignedOut("RefreshToken", session, clientKey, session.RefreshToken(clientKey, synchronous));
    });
}

bool WebServicesManagerEx::IsOAuth2Enabled(const QString& clientKey) {
    return withSession("IsOAuth2Enabled", false, [&](LoginSession& session) {
        return session.requireClient(clientKey) && session.oauth2().isEnabled(clientKey);
    });
}

bool WebServicesManagerEx::EnableOAuth2(const QString& clientKey, bool enable) {
    if (enable)
        return EnableOAuth2(clientKey, OAuth2Settings::legacySpec());
    return withSession("EnableOAuth2", false, [&](LoginSession& session) {
        return session.requireClient(clientKey) && session.oauth2().DisableOAuth2(clientKey);
    });
}

bool WebServicesManagerEx::EnableOAuth2(const QString& clientKey, const OAuth2TokenSpec& spec) {
    return withSession("EnableOAuth2", false, [&](LoginSession& session) {
        return session.requireClient(clientKey) && session.oauth2().EnableOAuth2(clientKey, spec);
    });
}

bool WebServicesManagerEx::GetOAuth2AccessToken(OAuth2Token& token, const QString& clientKey, const OAuth2TokenSpec* spec,
                                                bool waitToFinish) {
    token = OAuth2Token();
    if (!mayUseNetwork(
            "Cannot get OAuth2 access token. Web Services initialization failed due to missing WebServices.logconfig file."))
        return false;
    return withSession("GetOAuth2AccessToken", false, [&](LoginSession& session) {
        if (session.requireClient(clientKey))
            token = session.oauth2().GetOAuth2AccessToken(clientKey, spec, waitToFinish);
        return token.IsValid();
    });
}

bool WebServicesManagerEx::RefreshOAuth2Token(const QString& clientKey, const OAuth2TokenSpec* spec, bool synchronous) {
    if (!mayUseNetwork(
            "Cannot refresh OAuth2 token. Web Services initialization failed due to missing WebServices.logconfig file."))
        return false;
    return withSession("RefreshOAuth2Token", false, [&](LoginSession& session) {
        Log::rootLogger().information(
            QStringLiteral("WebServicesManager::RefreshOAuth2Token called to refresh token %1 for product %2")
                .arg(modeAdverb(synchronous), session.clientName(clientKey)));
        return session.requireClient(clientKey) && session.oauth2().RefreshOAuth2Token(clientKey, spec, synchronous);
    });
}

bool WebServicesManagerEx::IsOAuth2TokenAvailable(const QString& clientKey, const OAuth2TokenSpec* spec) {
    return heldToken("IsOAuth2TokenAvailable", clientKey, spec).isPresent();
}

bool WebServicesManagerEx::IsOAuth2TokenExpired(const QString& clientKey, const OAuth2TokenSpec* spec) {
    const OAuth2TokenData token = heldToken("IsOAuth2TokenExpired", clientKey, spec);
    return token.isPresent() && token.isExpired(QDateTime::currentDateTimeUtc());
}

unsigned int WebServicesManagerEx::GetOAuth2TokenExpiryDate(const QString& clientKey, const OAuth2TokenSpec* spec) {
    return secondsSinceEpoch(heldToken("GetOAuth2TokenExpiryDate", clientKey, spec).expiryDate);
}

} // namespace Velquor::WebServices
