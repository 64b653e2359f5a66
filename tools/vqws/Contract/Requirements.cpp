#include "Contract/Requirements.h"

namespace Vqws {

namespace {

Requirement must(const char* name, const char* sentence) {
    return {QString::fromLatin1(name), QString::fromLatin1(sentence), false};
}

Requirement should(const char* name, const char* sentence) {
    return {QString::fromLatin1(name), QString::fromLatin1(sentence), true};
}

QVector<Requirement> ofSignIn() {
    return {
        must("URL file", "The URL file names the address and the end points of sign-in, tokens and sign-out."),
        must("https", "The address of the account server is an https address."),
        must("request token", "The reply has oauth_token, oauth_token_secret and x_oauth_client_identifier, none of them empty."),
        must("used nonce", "A request that is sent a second time is refused with status 401."),
        must("wrong signature", "A request with a wrong signature is refused with status 401."),
        must("stale time stamp", "A time stamp of yesterday is refused with a reason that names the clock."),
        must("unknown product", "A consumer key that the server does not know is refused with status 401."),
        should("sign-in page", "The sign-in page refuses an address with a wrong signature."),
        must("before the sign-in", "A request token gives no access token before its user has signed in."),
        must("access token",
             "The access token comes with oauth_token_secret, oauth_session_handle and oauth_expires_in, none of them empty."),
        should("user", "It comes with x_oauth_user_name and x_oauth_user_guid."),
        should("session lifetime", "It comes with oauth_authorization_expires_in, the seconds until the session ends."),
        must("token lifetime", "An access token lasts well above 300 s."),
        must("spent request token", "A request token gives one access token and no second one."),
    };
}

QVector<Requirement> ofData() {
    return {
        must("profile", "The profile is XML with UserName or Id."),
        must("entitlements", "The entitlements are XML with the root EntitlementList."),
        must("quota", "The quota is XML with Quota and CurrentUsage."),
        should("unchanged document", "A document has Last-Modified, and is answered with status 304 while it is unchanged."),
        must("wrong token secret", "A request that is signed with a wrong token secret is refused with status 401."),
        must("OAuth2 token", "The reply is JSON with access_token and expires_in."),
        should("OAuth2 JWT", "The token type jwt gives a token, too."),
        must("OAuth2 wrong secret", "A wrong client secret is refused with status 401."),
        must("time", "Each time server tells the time of the account server."),
    };
}

QVector<Requirement> ofSession() {
    return {
        must("wrong session handle", "A refresh with a wrong session handle is refused with status 400."),
        must("refresh", "A refresh gives a new token, with the values of the first one."),
        must("session handle alone", "The session handle without a token gives a new token, too."),
        must("sign-out", "A sign-out is answered with status 200, and ends the session with all its tokens, of all products."),
        must("token after sign-out", "A token of an ended session is refused with status 401."),
        must("refresh after sign-out", "A refresh of an ended session is refused with status 400."),
        must("OAuth2 after sign-out", "The token of an ended session gives no OAuth2 token."),
        should("date", "Every reply has the header Date."),
        should("reasons", "Every refusal has the header xoauth_problem."),
        should("answer time", "The server answers within 2 s."),
    };
}

} // namespace

const QVector<Requirement>& requirements() {
    static const QVector<Requirement> all = ofSignIn() + ofData() + ofSession();
    return all;
}

} // namespace Vqws
