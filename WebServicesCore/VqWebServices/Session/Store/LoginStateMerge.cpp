#include "Session/Store/LoginStateMerge.h"

#include <utility>

namespace Velquor::WebServices::Internal {

namespace {

bool isEnded(const BasicLoginState& signIn, const BasicLoginState& lastEnded) {
    return signIn.loginDate.isValid() && lastEnded.loginDate.isValid()
           && (signIn.isSameSignIn(lastEnded) || signIn.loginDate < lastEnded.loginDate);
}

// Another program may end a sign-in without a date: it removes the sign-in from the document that this process knows. A document
// that was started afresh was lost before, and ends nothing.
bool isRemoved(const HeldLogin& held, const LoginState& file) {
    return held.seen.hasSignIn && held.seen.user.isSameSignIn(held.state.user) && held.seen.created == file.created
           && file.hasSettings;
}

LoginVerdict compare(const HeldLogin& held, const LoginState& file) {
    const BasicLoginState& mine = held.state.user;
    if (!mine.hasUser())
        return LoginVerdict::NoUser;
    if (!file.user.hasUser()) {
        const bool isDated = file.logoutDate.isValid() && file.logoutDate >= mine.loginDate;
        return isDated || isRemoved(held, file) ? LoginVerdict::SignedOut : LoginVerdict::Missing;
    }
    if (mine.isSameSignIn(file.user))
        return LoginVerdict::Same;
    if (!file.user.loginDate.isValid() || file.user.loginDate < mine.loginDate)
        return LoginVerdict::Older;
    const bool isSignedOutBetween = file.logoutDate.isValid() && file.logoutDate >= mine.loginDate;
    return mine.user() == file.user.user() && !isSignedOutBetween ? LoginVerdict::Renewed : LoginVerdict::Replaced;
}

/// The encrypted token that each side holds; empty: none.
struct Token {
    QByteArray held;
    QByteArray seen;
    QByteArray file;
};

// The last one that was obtained. Its date does not show it: a clock may have been corrected, and lifetimes change.
bool isHeldNewer(const Token& token, bool isFresh) {
    const bool hasFileChanged = token.file != token.seen && token.file != token.held;
    return !token.held.isEmpty() && (isFresh || token.file.isEmpty() || !hasFileChanged);
}

QByteArray tokenOf(const StoredProduct* product) {
    return product ? product->tokens.accessToken : QByteArray();
}

QByteArray tokenOf(const StoredProduct* product, const OAuth2TokenData& kind) {
    const OAuth2TokenData* const token = product ? product->oauth2Token(kind) : nullptr;
    return token ? token->token : QByteArray();
}

void putToken(QVector<OAuth2TokenData>& tokens, const OAuth2TokenData& token) {
    for (OAuth2TokenData& known : tokens) {
        if (known.isOfSameKind(token)) {
            known = token;
            return;
        }
    }
    tokens += token;
}

// Two states of one sign-in. Tokens of another one are of no use: the server ends them with it.
class ProductMerge {
public:
    ProductMerge(const HeldLogin& held, const LoginState& file)
        : m_held(held)
        , m_file(file) {}

    [[nodiscard]] QVector<StoredProduct> merge() const {
        LoginState merged;
        merged.products = m_file.products;
        for (const StoredProduct& held : m_held.state.products) {
            StoredProduct* const known = merged.product(held.productKey);
            if (known)
                *known = mergeProduct(held, *known);
            else
                merged.products += held;
        }
        return merged.products;
    }

private:
    [[nodiscard]] StoredProduct mergeProduct(const StoredProduct& held, const StoredProduct& file) const {
        const StoredProduct* const seen = m_held.seen.product(held.productKey);
        const Token token{tokenOf(&held), tokenOf(seen), file.tokens.accessToken};
        const bool isFresh = held.productKey == m_held.freshProduct && !m_held.freshOAuth2;
        StoredProduct merged = held.tokens.areComplete() && isHeldNewer(token, isFresh) ? held : file;
        merged.oauth2Tokens = mergeOAuth2(held, seen, file);
        return merged;
    }

    [[nodiscard]] QVector<OAuth2TokenData> mergeOAuth2(const StoredProduct& held, const StoredProduct* seen,
                                                       const StoredProduct& file) const {
        QVector<OAuth2TokenData> merged = file.oauth2Tokens;
        for (const OAuth2TokenData& token : held.oauth2Tokens) {
            const bool isFresh =
                held.productKey == m_held.freshProduct && m_held.freshOAuth2 && m_held.freshOAuth2->isOfSameKind(token);
            if (isHeldNewer({token.token, tokenOf(seen, token), tokenOf(&file, token)}, isFresh))
                putToken(merged, token);
        }
        return merged;
    }

    const HeldLogin& m_held;
    const LoginState& m_file;
};

// Takes a value from memory when it was changed here. When it was changed on both sides, the one that was just obtained counts,
// and else the file.
template <typename Value>
void mergeValue(BasicLoginState& merged, const HeldLogin& held, Value BasicLoginState::*value) {
    const Value& here = held.state.user.*value;
    const Value& before = held.seen.user.*value;
    const bool isChangedThere = merged.*value != before;
    if (here != before && (!isChangedThere || !held.freshProduct.isEmpty()))
        merged.*value = here;
}

// Two states of one sign-in. A refresh renews the session, for example.
BasicLoginState mergeUser(const HeldLogin& held, const LoginState& file) {
    BasicLoginState merged = file.user;
    if (!held.seen.user.isSameSignIn(held.state.user))
        return merged;
    for (const auto value : {&BasicLoginState::clientId, &BasicLoginState::ntUserName, &BasicLoginState::machineAddress,
                             &BasicLoginState::loginCookies})
        mergeValue(merged, held, value);
    mergeValue(merged, held, &BasicLoginState::ldapDomainKey);
    mergeValue(merged, held, &BasicLoginState::sessionExpiryDate);
    return merged;
}

bool hasServerChanged(const HeldLogin& held, const LoginState& file) {
    return file.currentServer && file.currentServer != held.seen.currentServer;
}

NotTaken reasonAgainst(const HeldLogin& held, const LoginState& file, LoginVerdict verdict, std::optional<int> server) {
    if (verdict == LoginVerdict::Older || verdict == LoginVerdict::Missing)
        return NotTaken::OwnIsLater;
    if (!file.hasSignIn)
        return NotTaken::NoSignIn;
    if (file.signInServer != server)
        return NotTaken::OtherServer;
    return isEnded(file.user, held.lastEnded) ? NotTaken::EndedHere : NotTaken::None;
}

void mergeMemory(MergedLogin& merged, const HeldLogin& held, const LoginState& file) {
    LoginState& memory = merged.memory;
    memory = held.state;
    memory.created = file.created;
    memory.logoutDate = laterOf(file.logoutDate, held.state.logoutDate);
    // The server of a user who stays signed in here cannot change.
    const bool isFree = merged.verdict == LoginVerdict::NoUser || merged.isGone();
    if (isFree && held.mayTakeServer && (held.isRestore ? file.currentServer.has_value() : hasServerChanged(held, file)))
        memory.currentServer = file.currentServer;
    merged.seen = file;
    if (memory.currentServer != file.currentServer)
        merged.seen.currentServer = held.seen.currentServer;
    merged.notTaken = reasonAgainst(held, file, merged.verdict, memory.currentServer);
    if (merged.notTaken == NotTaken::None) {
        HeldLogin own = held;
        if (merged.isGone())
            own.state.products.clear();
        memory.user = merged.verdict == LoginVerdict::Same ? mergeUser(held, file) : file.user;
        memory.products = ProductMerge(own, file).merge();
    } else if (isFree) {
        memory.user = {};
        memory.products.clear();
    }
    memory.hasSignIn = memory.user.hasUser();
}

void noteAgreed(LoginState& seen, const StoredProduct* held, const StoredProduct& file) {
    if (!held)
        return;
    if (!seen.product(file.productKey)) {
        seen.products += StoredProduct();
        seen.products.last().productKey = file.productKey;
    }
    StoredProduct& known = *seen.product(file.productKey);
    if (held->tokens.accessToken == file.tokens.accessToken)
        known.tokens = file.tokens;
    for (const OAuth2TokenData& token : file.oauth2Tokens) {
        if (tokenOf(held, token) == token.token)
            putToken(known.oauth2Tokens, token);
    }
}

void mergeFile(MergedLogin& merged, const HeldLogin& held, const LoginState& file) {
    LoginState& after = merged.file;
    after = file;
    if (held.isNewSignIn || held.isServerChosen || !hasServerChanged(held, file))
        after.currentServer = held.state.currentServer;
    after.logoutDate = laterOf(file.logoutDate, held.state.logoutDate);
    if (held.isLoggedIn && !merged.isGone()) {
        const bool isSame = merged.verdict == LoginVerdict::Same && file.signInServer == held.state.currentServer;
        after.user = isSame ? mergeUser(held, file) : held.state.user;
        after.products = isSame ? ProductMerge(held, file).merge() : held.state.products;
        after.signInServer = held.state.currentServer.value_or(-1);
        after.hasSignIn = true;
    } else if (!held.isLoggedIn) {
        const bool isUndated = held.isSignOut && !file.user.loginDate.isValid();
        if (isEnded(file.user, held.lastEnded) || isUndated)
            after.hasSignIn = false;
        else if (file.hasSignIn)
            // A sign-out date later than that sign-in would end it in every process.
            after.logoutDate = file.logoutDate;
    }
}

} // namespace

MergedLogin mergeLogin(const HeldLogin& held, const LoginState& file) {
    HeldLogin own = held;
    if (held.isNewSignIn)
        own.state.user.loginDate = loginDateAfter(held.state.user.loginDate, laterOf(file.logoutDate, file.user.loginDate));
    MergedLogin merged;
    merged.user = own.state.user;
    merged.verdict = compare(own, file);
    mergeMemory(merged, own, file);
    mergeFile(merged, own, file);
    return merged;
}

LoginState seenAfterWriting(const HeldLogin& held, const LoginState& file) {
    LoginState seen = held.seen;
    if (file.currentServer == held.state.currentServer)
        seen.currentServer = file.currentServer;
    if (file.hasSignIn == held.state.hasSignIn && file.user.isSameSignIn(held.state.user)) {
        seen.created = file.created;
        seen.hasSignIn = file.hasSignIn;
        seen.signInServer = file.signInServer;
        if (file.user == held.state.user)
            seen.user = file.user;
    }
    if (!file.hasSignIn)
        seen.products.clear();
    for (const StoredProduct& product : file.products)
        noteAgreed(seen, held.state.product(product.productKey), product);
    return seen;
}

} // namespace Velquor::WebServices::Internal
