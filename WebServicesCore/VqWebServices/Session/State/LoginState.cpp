#include "Session/State/LoginState.h"

#include <algorithm>
#include <tuple>
#include <utility>

namespace Velquor::WebServices::Internal {

namespace {

bool isSame(const OAuth2TokenData& one, const OAuth2TokenData& other) {
    return one.isOfSameKind(other) && one.token == other.token && one.expiryDate == other.expiryDate;
}

bool isSame(const ProductTokens& one, const ProductTokens& other) {
    return std::tie(one.accessToken, one.accessTokenSecret, one.sessionHandle, one.expiryDate)
           == std::tie(other.accessToken, other.accessTokenSecret, other.sessionHandle, other.expiryDate);
}

} // namespace

bool BasicLoginState::isSameSignIn(const BasicLoginState& other) const {
    return loginDate == other.loginDate && userId == other.userId && userName == other.userName;
}

bool BasicLoginState::hasSameBinding(const BasicLoginState& other) const {
    return std::tie(clientId, ntUserName, machineAddress) == std::tie(other.clientId, other.ntUserName, other.machineAddress);
}

bool BasicLoginState::operator==(const BasicLoginState& other) const {
    const auto fields = [](const BasicLoginState& state) {
        return std::tie(state.loginCookies, state.ldapDomainKey, state.sessionExpiryDate);
    };
    return isSameSignIn(other) && hasSameBinding(other) && fields(*this) == fields(other);
}

const OAuth2TokenData* StoredProduct::oauth2Token(const OAuth2TokenData& kind) const {
    const auto found =
        std::find_if(oauth2Tokens.begin(), oauth2Tokens.end(), [&](const auto& token) { return token.isOfSameKind(kind); });
    return found == oauth2Tokens.end() ? nullptr : &*found;
}

bool StoredProduct::operator==(const StoredProduct& other) const {
    const auto fields = [](const StoredProduct& product) {
        return std::tie(product.productKey, product.name, product.exeName, product.serialNumber, product.server,
                        product.hasOlderToken);
    };
    return fields(*this) == fields(other) && isSame(tokens, other.tokens)
           && std::equal(oauth2Tokens.begin(), oauth2Tokens.end(), other.oauth2Tokens.begin(), other.oauth2Tokens.end(),
                         [](const auto& one, const auto& another) { return isSame(one, another); });
}

const StoredProduct* LoginState::product(const QString& productKey) const {
    const auto found = std::find_if(products.begin(), products.end(), [&](const auto& product) {
        return !productKey.isEmpty() && product.productKey == productKey;
    });
    return found == products.end() ? nullptr : &*found;
}

StoredProduct* LoginState::product(const QString& productKey) {
    const StoredProduct* const found = std::as_const(*this).product(productKey);
    return found ? &products[static_cast<int>(found - products.constData())] : nullptr;
}

QDateTime laterOf(const QDateTime& first, const QDateTime& second) {
    return second.isValid() && (!first.isValid() || second > first) ? second : first;
}

QDateTime loginDateAfter(const QDateTime& now, const QDateTime& last) {
    const QDateTime wholeSecond = QDateTime::fromSecsSinceEpoch(now.toSecsSinceEpoch(), Qt::UTC);
    return last.isValid() && last >= wholeSecond ? last.addSecs(1) : wholeSecond;
}

QDateTime logoutDateFor(const QDateTime& now, const QDateTime& loginDate) {
    return laterOf(QDateTime::fromSecsSinceEpoch(now.toSecsSinceEpoch(), Qt::UTC), loginDate);
}

} // namespace Velquor::WebServices::Internal
