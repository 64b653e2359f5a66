// The operations by which sibling modules configure and query the refresh of tokens.

#include "Facade/FacadeCall.h"
#include "Tokens/OAuth2/RetrySchedules.h"

#include <VqWebServices/WebServicesPrivate.h>

namespace Velquor::WebServices {

using namespace Internal;

namespace {

struct TokenName {
    QString productKey;
    OAuth2TokenSpec spec;
};

// Without a session there are no clients. Then the key must be the product's own, and a spec is required.
TokenName tokenName(const QString& key, const OAuth2TokenSpec* spec) {
    const auto session = WebServicesManagerImp::instance().session();
    if (session)
        return {session->oauth2().productKey(key), session->oauth2().resolve(key, spec)};
    return spec ? TokenName{key, *spec} : TokenName();
}

} // namespace

bool WebServicesPrivate::SetOAuth2TokenRefreshRetrySchedule(const RetrySchedule& schedule) {
    return guarded("SetOAuth2TokenRefreshRetrySchedule", false, [&] { return RetrySchedules::instance().set(schedule); });
}

bool WebServicesPrivate::SetOAuth2TokenRefreshRetrySchedule(const QString& key, const OAuth2TokenSpec* spec,
                                                            const RetrySchedule& schedule) {
    return guarded("SetOAuth2TokenRefreshRetrySchedule", false, [&] {
        const TokenName name = tokenName(key, spec);
        const bool isNamed = !name.productKey.isEmpty();
        if (!isNamed)
            Log::rootLogger().error(
                QStringLiteral("Failed to set OAuth2 token refresh retry schedule. It is not clear for which token."));
        return isNamed && RetrySchedules::instance().set(name.productKey, name.spec, schedule);
    });
}

RetrySchedule WebServicesPrivate::GetActiveOAuth2TokenRefreshRetrySchedule() {
    return GetActiveOAuth2TokenRefreshRetrySchedule(WebServicesManagerImp::defaultClientKey(), nullptr);
}

RetrySchedule WebServicesPrivate::GetActiveOAuth2TokenRefreshRetrySchedule(const QString& key, const OAuth2TokenSpec* spec) {
    return guarded("GetActiveOAuth2TokenRefreshRetrySchedule", RetrySchedule(), [&] {
        const TokenName name = tokenName(key, spec);
        return RetrySchedules::instance().inForce(name.productKey, name.spec);
    });
}

bool WebServicesPrivate::IsOAuth2TokenRefreshTimerActive() {
    return withSession("IsOAuth2TokenRefreshTimerActive", false, [](LoginSession& session) {
        return session.oauth2().isRefreshTimerActive(WebServicesManagerImp::defaultClientKey(), nullptr);
    });
}

bool WebServicesPrivate::IsOAuth2TokenRefreshTimerActive(const QString& key, const OAuth2TokenSpec& spec) {
    return withSession("IsOAuth2TokenRefreshTimerActive", false,
                       [&](LoginSession& session) { return session.oauth2().isRefreshTimerActive(key, &spec); });
}

bool WebServicesPrivate::IsTokenRefreshTimerActive() {
    return IsTokenRefreshTimerActive(WebServicesManagerImp::defaultClientKey());
}

bool WebServicesPrivate::IsTokenRefreshTimerActive(const QString& key) {
    return withSession("IsTokenRefreshTimerActive", false,
                       [&](LoginSession& session) { return session.isTokenRefreshTimerActive(key); });
}

} // namespace Velquor::WebServices
