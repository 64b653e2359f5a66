#include "simulation/Library/Ledger.h"

#include <cstdlib>

namespace Velquor::Simulation {

namespace {

Ledger::Answer refusal(int status, const QByteArray& problem) {
    return {status, "oauth_problem=" + problem, problem, 0};
}

} // namespace

// Without a copy of the parts: the oracle asks after each step.
int Ledger::numberAfter(const QByteArray& text, char mark) {
    for (int start = 0; start < text.size();) {
        if (text.at(start) == mark)
            return std::atoi(text.constData() + start + 1);
        const int dot = text.indexOf('.', start);
        start = dot < 0 ? text.size() : dot + 1;
    }
    return 0;
}

const Ledger::SignIn* Ledger::find(int number) const {
    const auto found = m_signIns.find(number);
    return found == m_signIns.end() ? nullptr : &found->second;
}

bool Ledger::isGood(int number) const {
    const SignIn* const signIn = find(number);
    return signIn && signIn->order > 0 && !signIn->isEnded && m_world.nowUs() < signIn->endUs;
}

int Ledger::ownerOf(int token) const {
    const auto found = m_owners.find(token);
    return found == m_owners.end() ? 0 : found->second;
}

bool Ledger::isCurrent(int token, const QByteArray& key) const {
    const SignIn* const signIn = find(ownerOf(token));
    const auto last = signIn ? signIn->lastTokens.find(key) : std::map<QByteArray, int>::const_iterator();
    return signIn && isGood(signIn->number) && last != signIn->lastTokens.end() && last->second == token;
}

Ledger::Answer Ledger::answer(const QString& path, const Parameters& oauth) {
    if (path.endsWith(QLatin1String("request-token")))
        return requestToken();
    return path.endsWith(QLatin1String("access-token")) ? accessToken(oauth) : invalidate(oauth);
}

Ledger::Answer Ledger::requestToken() {
    const int number = ++m_requests;
    m_signIns[number].number = number;
    const QByteArray text = 's' + QByteArray::number(number);
    return {200, "oauth_token=" + text + "&oauth_token_secret=x&x_oauth_client_identifier=" + text, {}, 0};
}

Ledger::Answer Ledger::accessToken(const Parameters& oauth) {
    const QByteArray key = oauth.value("oauth_consumer_key");
    const QByteArray token = oauth.value("oauth_token");
    const QByteArray handle = oauth.value("oauth_session_handle");
    const auto found = m_signIns.find(signInOf(handle.isEmpty() ? token : handle));
    if (found == m_signIns.end())
        return refusal(400, "session_rejected");
    if (handle.isEmpty())
        return exchange(found->second, key);
    if (!isGood(found->first))
        return refusal(400, "session_rejected");
    const bool isSpent = !token.isEmpty() && found->second.lastTokens[key] != tokenOf(token);
    return isSpent ? refusal(400, "token_used") : give(found->second, key);
}

Ledger::Answer Ledger::exchange(SignIn& signIn, const QByteArray& key) {
    if (signIn.user.isEmpty())
        return refusal(401, "permission_unknown");
    if (signIn.order > 0)
        return refusal(401, "token_used");
    signIn.order = ++m_exchanges;
    signIn.exchangedUs = m_world.nowUs();
    signIn.endUs = m_world.nowUs() + signInLifeSeconds * 1000000;
    return give(signIn, key);
}

Ledger::Answer Ledger::give(SignIn& signIn, const QByteArray& key) {
    const int token = ++m_tokens;
    markGiven(signIn, key);
    signIn.lastTokens[key] = token;
    m_owners[token] = signIn.number;
    const QByteArray name = 's' + QByteArray::number(signIn.number);
    const qint64 leftSeconds = (signIn.endUs - m_world.nowUs()) / 1000000;
    const QByteArray body =
        "oauth_token=" + name + ".t" + QByteArray::number(token) + "&oauth_token_secret=x&oauth_session_handle=" + name
        + "&oauth_expires_in=" + QByteArray::number(std::min(tokenLifeSeconds, leftSeconds)) + "&oauth_authorization_expires_in="
        + QByteArray::number(leftSeconds) + "&x_oauth_user_name=" + signIn.user + "&x_oauth_user_guid=id-" + signIn.user;
    m_world.note("the server gives token " + QByteArray::number(token) + " of sign-in " + name);
    return {200, body, {}, token};
}

void Ledger::markGiven(SignIn& signIn, const QByteArray& key) {
    const auto before = signIn.givenUs.find(key);
    signIn.isGivenEarly |= before != signIn.givenUs.end() && m_world.nowUs() - before->second < renewalSeconds * 1000000;
    signIn.givenUs[key] = m_world.nowUs();
}

// Tokens of OAuth2 are not spent: each is good until its end.
Ledger::Answer Ledger::oauth2Answer(const Parameters& form) {
    const QByteArray key = form.value("client_id");
    const int token = tokenOf(form.value("oauth1_token"));
    SignIn& signIn = m_signIns[ownerOf(token)];
    if (!isCurrent(token, key) || m_world.nowUs() - signIn.givenUs[key] >= tokenLifeSeconds * 1000000)
        return refusal(401, "token_rejected");
    markGiven(signIn, "oauth2 " + key);
    const int number = int(m_oauth2Tokens.size()) + 1;
    m_oauth2Tokens[number] = {signIn.number, m_world.nowUs() + tokenLifeSeconds * 1000000};
    const QByteArray text = 's' + QByteArray::number(signIn.number) + ".o" + QByteArray::number(number);
    m_world.note("the server gives OAuth2 token " + text);
    return {200, "{\"access_token\":\"" + text + "\",\"expires_in\":" + QByteArray::number(tokenLifeSeconds) + '}', {}, 0};
}

int Ledger::ownerOfOAuth2(int token) const {
    const auto found = m_oauth2Tokens.find(token);
    return found == m_oauth2Tokens.end() ? 0 : found->second.signIn;
}

bool Ledger::isOAuth2Good(int token) const {
    const auto found = m_oauth2Tokens.find(token);
    return found != m_oauth2Tokens.end() && isGood(found->second.signIn) && m_world.nowUs() < found->second.endUs;
}

Ledger::Answer Ledger::invalidate(const Parameters& oauth) {
    const QByteArray token = oauth.value("oauth_token");
    const int number = signInOf(token);
    if (!isGood(number) || m_signIns[number].lastTokens[oauth.value("oauth_consumer_key")] != tokenOf(token))
        return refusal(401, "token_revoked");
    end(number);
    m_world.note("the server ends sign-in s" + QByteArray::number(number));
    return {200, "x_oauth_user_name=" + m_signIns[number].user, {}, 0};
}

} // namespace Velquor::Simulation
