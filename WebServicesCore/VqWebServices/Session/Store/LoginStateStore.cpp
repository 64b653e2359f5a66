#include "Session/Store/LoginStateStore.h"

#include "Session/Store/SignInCheck.h"
#include "Session/Store/StoredProducts.h"

namespace Velquor::WebServices::Internal {

LoginStateStore::LoginStateStore(LockedState& state, int guardTimeoutMs)
    : m_state(state)
    , m_logger(*state->services().loggers.session)
    , m_guardTimeoutMs(guardTimeoutMs) {}

HeldLogin LoginStateStore::held() const {
    HeldLogin held;
    held.state.currentServer = m_state->currentServer();
    held.state.logoutDate = m_state->logoutDate();
    held.state.user = m_state->basic();
    held.state.hasSignIn = held.state.user.hasUser();
    for (const ProductSessionPointer& product : m_state.products().onServer(m_state->currentServer()))
        held.state.products += product->stored();
    held.seen = m_state->seen();
    held.lastEnded = m_state->lastEnded();
    held.isLoggedIn = m_state->isLoggedIn();
    held.mayTakeServer = !m_state->hasPendingSignIn();
    return held;
}

void LoginStateStore::loadBasic() {
    const QString path = m_state.file().path();
    if (!m_state.file().exists()) {
        m_logger.information(QStringLiteral("Can't load basic login state from file %1. File not found.").arg(path));
        return;
    }
    const LoginStateFile::Content content = m_state.file().readNow(m_guardTimeoutMs);
    if (!content.isRead()) {
        m_logger.error(QStringLiteral("Failed to load basic login state from file %1. %2.").arg(path, content.error));
        return;
    }
    const LoginState file = content.document->state();
    HeldLogin held = this->held();
    held.isRestore = true;
    takeSettings(mergeLogin(held, file), file);
    BasicLoginState user = m_state->basic();
    user.userName = file.user.userName;
    user.userId = file.user.userId;
    user.sessionExpiryDate = file.user.sessionExpiryDate;
    m_state.setBasic(user);
    m_logger.information(QStringLiteral("Loaded basic login state from file %1").arg(path));
}

void LoginStateStore::restore() {
    if (!m_state.file().exists()) {
        m_logger.information(
            QStringLiteral("Loading of login state skipped. Login state file %1 does not exist.").arg(m_state.file().path()));
        m_state.file().removeLeftovers();
        return;
    }
    apply(m_state.file().readNow(m_guardTimeoutMs), true);
}

LoginStateStore::Followed LoginStateStore::follow() {
    const LoginStateFile::Content content = m_state.file().readNow(m_guardTimeoutMs);
    if (content.status == LoginStateFile::Content::Status::Missing)
        m_logger.information(
            QStringLiteral("Loading of login state skipped. Login state file %1 does not exist.").arg(m_state.file().path()));
    const LoginVerdict verdict = apply(content, false);
    return {content.isKnown(), verdict == LoginVerdict::SignedOut || verdict == LoginVerdict::Replaced};
}

LoginVerdict LoginStateStore::apply(const LoginStateFile::Content& content, bool isRestore) {
    const LoginVerdict verdict = content.isRead() ? take(*content.document, isRestore) : LoginVerdict::NoUser;
    // Not before: a thread that finds the file seen uses what is in memory.
    m_state.file().markSeen(content);
    if (content.status == LoginStateFile::Content::Status::Unreadable)
        m_state.unread().fail();
    else if (content.isKnown())
        m_state.unread().succeed();
    return verdict;
}

// The file's lock is free again: decrypting takes long, and who deletes a state reads the file once more.
LoginVerdict LoginStateStore::take(const LoginStateDocument& document, bool isRestore) {
    const LoginState file = document.state();
    HeldLogin held = this->held();
    held.isRestore = isRestore;
    const MergedLogin merged = mergeLogin(held, file);
    m_state.setSeen(file);
    m_state.proxy().follow(document, isRestore);
    if (merged.isGone())
        leaveUser(merged, file);
    if (merged.notTaken == NotTaken::OwnIsLater)
        keepOwn(merged);
    else
        takeSignIn(merged, file, merged.verdict == LoginVerdict::Same && held.seen.user.hasSameBinding(file.user));
    return merged.verdict;
}

void LoginStateStore::keepOwn(const MergedLogin& merged) {
    if (merged.verdict == LoginVerdict::Older)
        m_logger.information(
            QStringLiteral("Keeping user %1. The login state file holds an earlier sign-in.").arg(m_state->basic().userName));
    // The file lacks the sign-in, so it is to be written.
    if (!m_state.unsaved().isPending())
        m_state.unsaved().fail();
}

void LoginStateStore::leaveUser(const MergedLogin& merged, const LoginState& file) {
    const QString user = m_state->basic().userName;
    if (merged.verdict == LoginVerdict::Renewed) {
        m_logger.information(QStringLiteral("User %1 has signed in again in another process.").arg(user));
        StoredProducts(m_state).clearAllBut(file);
    } else {
        m_logger.information(QStringLiteral("User %1 was signed out in another process. Signing out in this process.").arg(user));
        // The process that signed out has emptied the cache file. When the file holds a user again, the cached values may be that
        // user's, so they stay. A value that was written after the sign-out is removed by the next one and never handed out.
        if (file.hasSignIn)
            m_state.endCaches();
        else
            m_state.deleteCaches();
        m_state.forgetUser();
    }
}

void LoginStateStore::takeSettings(const MergedLogin& merged, const LoginState& file) {
    if (!file.hasSettings)
        m_logger.warning(QStringLiteral("Settings node not found in login state file"));
    m_state.setCurrentServer(static_cast<Server>(merged.memory.currentServer.value_or(m_state->currentServer())));
    m_state.setLogoutDate(merged.memory.logoutDate);
}

void LoginStateStore::takeSignIn(const MergedLogin& merged, const LoginState& file, bool isKnown) {
    const QString path = m_state.file().path();
    m_logger.information(QStringLiteral("Loading login state from file %1").arg(path));
    takeSettings(merged, file);
    logNotTaken(merged.notTaken);
    BasicLoginState user = merged.memory.user;
    const SignInCheck::Verdict verdict =
        merged.notTaken == NotTaken::None ? SignInCheck(m_state).check(user, isKnown) : SignInCheck::Verdict::Ignored;
    if (verdict == SignInCheck::Verdict::Valid)
        takeUser(user, merged, file);
    else if (verdict == SignInCheck::Verdict::Discarded)
        discard(file.user);
    else if (!m_state->basic().hasUser())
        // The basic state that was read before the restore belongs to a user who is not signed in here.
        m_state.setBasic({});
    m_logger.information(QStringLiteral("Finished loading login state from file %1").arg(path));
}

void LoginStateStore::takeUser(const BasicLoginState& user, const MergedLogin& merged, const LoginState& file) {
    m_state.setBasic(user);
    StoredProducts products(m_state);
    products.load(merged.memory.products, file);
    products.deleteInvalid();
    if (products.isAnyMissing(file) && !m_state.unsaved().isPending())
        m_state.unsaved().fail();
    // While the library is being uninitialized its products are gone, which does not mean that the sign-in is.
    if (!m_state.products().hasTokens({}, m_state->currentServer()) && !m_state->isStopped()) {
        m_logger.warning(QStringLiteral(
            "No valid login state found after cleanup. Deleting the login state in login state file. Re-login required."));
        discard(file.user);
    }
}

void LoginStateStore::logNotTaken(NotTaken reason) {
    switch (reason) {
    case NotTaken::NoSignIn:
        m_logger.information(QStringLiteral("No login state found in login state file. LoginSession node not found."));
        return;
    case NotTaken::OtherServer:
        m_logger.information(
            QStringLiteral("Server in LoginSession node is different from current server. Stopping loading of login state."));
        return;
    case NotTaken::EndedHere:
        m_logger.information(
            QStringLiteral("Ignoring the login state in login state file. The user was signed out in this process."));
        return;
    case NotTaken::OwnIsLater:
    case NotTaken::None: return;
    }
}

void LoginStateStore::discard(const BasicLoginState& signIn) {
    m_state.deleteCaches();
    m_state.forgetUser();
    // Write it as a sign-out. Otherwise a process that still has this user would write the sign-in back.
    if (!endSignIn(signIn))
        m_logger.error(QStringLiteral("Failed to delete the login state in login state file %1").arg(m_state.file().path()));
}

std::optional<LoginState> LoginStateStore::findOwnSignIn(const LoginStateDocument& document) {
    const LoginState file = document.state();
    const MergedLogin merged = mergeLogin(held(), file);
    logNotTaken(merged.notTaken);
    const bool isOwn = merged.verdict == LoginVerdict::NoUser || merged.verdict == LoginVerdict::Same;
    return merged.notTaken == NotTaken::None && isOwn ? std::optional<LoginState>(merged.memory) : std::nullopt;
}

HeldLogin LoginStateStore::heldForSaving(const ProductLoginSession* fresh) const {
    HeldLogin held = this->held();
    held.state.products.clear();
    QVector<const ProductLoginSession*> products;
    const QVector<ProductSessionPointer> kept = m_state.products().onServer(m_state->currentServer());
    for (const ProductSessionPointer& product : kept)
        products += product.get();
    // A product that was removed while it obtained its tokens is still that of the sign-in.
    if (fresh && !products.contains(fresh))
        products += fresh;
    for (const ProductLoginSession* const product : std::as_const(products)) {
        // A product without a configuration was only read here, and belongs to another process.
        if (!product->configuration() && held.seen.product(product->productKey()))
            continue;
        if (const std::optional<StoredProduct> stored = product->Save())
            held.state.products += *stored;
    }
    held.isLoggedIn = held.isLoggedIn || (held.state.hasSignIn && fresh && fresh->tokens().areComplete());
    if (fresh)
        held.freshProduct = fresh->productKey();
    return held;
}

LoginStateStore::Result LoginStateStore::save() {
    return save(heldForSaving(nullptr));
}

LoginStateStore::Result LoginStateStore::saveServer() {
    HeldLogin held = heldForSaving(nullptr);
    held.isServerChosen = true;
    return save(held);
}

LoginStateStore::Result LoginStateStore::saveTokens(const ProductLoginSession& fresh) {
    return save(heldForSaving(&fresh));
}

LoginStateStore::Result LoginStateStore::saveSignIn(const ProductLoginSession& fresh) {
    HeldLogin held = heldForSaving(&fresh);
    held.isNewSignIn = true;
    return save(held);
}

bool LoginStateStore::maySave(const HeldLogin& held) {
    // A product that was removed while it obtained its tokens had a configuration.
    const bool isConfigured =
        !held.freshProduct.isEmpty() || !m_state->clients().configuredFor(m_state->currentServer()).isEmpty();
    const bool isRestored = m_state->isRestored() || held.isServerChosen;
    if (!isConfigured) {
        m_logger.error(QStringLiteral("Failed to save login state to file. Current configuration is invalid."));
        m_state.unsaved().succeed();
    } else if (!isRestored) {
        m_logger.information(QStringLiteral("Skipping saving of login state since login state is not yet restored"));
    }
    return isConfigured && isRestored;
}

LoginStateStore::Result LoginStateStore::save(const HeldLogin& held) {
    const QString path = m_state.file().path();
    m_logger.information(QStringLiteral("Saving login state to file %1").arg(path));
    Result result = Result::Failed;
    const bool isWritten = maySave(held) && change(held, [&](LoginStateDocument& document, const MergedLogin& merged) {
                               result = merged.isGone() ? Result::SignInGone : Result::Saved;
                               if (held.isNewSignIn)
                                   m_state.setBasic(merged.user);
                               document.setSavedBy(m_state->services().savedBy);
                               document.setState(merged.file);
                               return true;
                           });
    if (isWritten) {
        m_state.unsaved().succeed();
        m_logger.information(QStringLiteral("Finished saving login state to file %1").arg(path));
    }
    return isWritten || result == Result::SignInGone ? result : Result::Failed;
}

bool LoginStateStore::change(const HeldLogin& held, const Edit& edit) {
    const LoginStateFile::Guard guard(m_state.file(), m_guardTimeoutMs);
    std::optional<LoginStateDocument> document = guard.isHeld() ? m_state.file().readForSaving() : std::nullopt;
    const bool isDone = document && changeDocument(held, *document, edit);
    if (!isDone)
        m_state.unsaved().fail();
    return isDone;
}

bool LoginStateStore::changeDocument(const HeldLogin& held, LoginStateDocument& document, const Edit& edit) {
    const LoginState file = document.state();
    const MergedLogin merged = mergeLogin(held, file);
    logMerge(held, merged, file);
    const bool hasEdited = edit(document, merged);
    const bool isWritten = hasEdited && m_state.file().write(document);
    if (isWritten) {
        HeldLogin own = held;
        own.state.user = merged.user;
        m_state.setSeen(seenAfterWriting(own, document.state()));
    }
    return isWritten || !hasEdited;
}

void LoginStateStore::logMerge(const HeldLogin& held, const MergedLogin& merged, const LoginState& file) {
    if (merged.verdict == LoginVerdict::SignedOut)
        m_logger.warning(QStringLiteral("Not saving the login state of the user. The user was signed out by another process."));
    else if (merged.isGone())
        m_logger.warning(
            QStringLiteral("Not saving the login state of the user. A user has signed in later in another process."));
    if (held.isSignOut && merged.file.hasSignIn)
        m_logger.information(
            QStringLiteral("Keeping the login state in login state file. A user has signed in later in another process."));
    if (!held.isLoggedIn || merged.isGone())
        return;
    for (const StoredProduct& product : file.products) {
        if (!m_state.products().find(product.productKey, m_state->currentServer()) && merged.file.product(product.productKey))
            m_logger.information(
                QStringLiteral("Found new product %1 in login state file while saving. Preserving it.").arg(product.name));
    }
}

LoginStateStore::Result LoginStateStore::saveOAuth2(const ProductLoginSession& product, const OAuth2TokenData& fresh) {
    m_logger.information(QStringLiteral("Saving OAuth2 login state to login state file"));
    HeldLogin held = heldForSaving(&product);
    held.freshOAuth2 = fresh;
    Result result = Result::Failed;
    const bool isDone = change(held, [&](LoginStateDocument& document, const MergedLogin& merged) {
        result = putOAuth2(product, merged, document);
        return result == Result::Saved;
    });
    if (!isDone) {
        m_logger.error(QStringLiteral("Failed to save OAuth2 access token for product %1 to login state file %2")
                           .arg(product.displayName(), m_state.file().path()));
        return Result::Failed;
    }
    if (result == Result::Saved)
        m_logger.information(QStringLiteral("Finished saving OAuth2 login state to login state file"));
    return result;
}

LoginStateStore::Result LoginStateStore::putOAuth2(const ProductLoginSession& product, const MergedLogin& merged,
                                                   LoginStateDocument& document) {
    if (merged.isGone())
        return Result::SignInGone;
    LoginState after = document.state();
    StoredProduct* const stored = merged.verdict == LoginVerdict::Same ? after.product(product.productKey()) : nullptr;
    const StoredProduct* const own = merged.file.product(product.productKey());
    // The file may still hold another user's sign-in, which this process could not replace yet. A product there is not this
    // user's.
    if (!stored || !own) {
        m_logger.error(
            QStringLiteral(
                "Failed to save OAuth2 access token for product %1 to login state file. Login state not found for this product in the login state file.")
                .arg(product.displayName()));
        return Result::Failed;
    }
    stored->oauth2Tokens = own->oauth2Tokens;
    stored->hasOlderToken = false;
    document.setSavedByVersion();
    document.setState(after);
    return Result::Saved;
}

bool LoginStateStore::endSignIn(const BasicLoginState& ended) {
    const QString path = m_state.file().path();
    m_logger.information(QStringLiteral("Saving login state to file %1").arg(path));
    m_state.markEnded(ended);
    m_state.setLogoutDate(laterOf(m_state->logoutDate(), logoutDateFor(m_state->services().now(), ended.loginDate)));
    HeldLogin held = this->held();
    held.isSignOut = true;
    held.isLoggedIn = false;
    held.state.user = {};
    const bool isDone = change(held, [&](LoginStateDocument& document, const MergedLogin& merged) {
        m_state.setLogoutDate(merged.file.logoutDate);
        if (merged.file.hasSignIn)
            return false;
        document.setSavedBy(m_state->services().savedBy);
        document.setState(merged.file);
        return true;
    });
    if (isDone)
        m_logger.information(QStringLiteral("Finished saving login state to file %1").arg(path));
    return isDone;
}

} // namespace Velquor::WebServices::Internal
