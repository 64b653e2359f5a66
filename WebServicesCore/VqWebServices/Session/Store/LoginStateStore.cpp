#include "Session/Store/LoginStateStore.h"

#include "Session/Store/HeldLogin.h"

namespace Velquor::WebServices::Internal {

LoginStateStore::LoginStateStore(LockedState& state, int guardTimeoutMs)
    : m_state(state)
    , m_logger(*state->services().loggers.session)
    , m_guardTimeoutMs(guardTimeoutMs) {}

HeldLogin LoginStateStore::heldForSaving(const ProductLoginSession* fresh) const {
    HeldLogin held = heldLogin(*m_state);
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

bool LoginStateStore::endSignIn(const BasicLoginState& ended, EndedBy who) {
    const QString path = m_state.file().path();
    m_logger.information(QStringLiteral("Saving login state to file %1").arg(path));
    m_state.markEnded(ended);
    const bool endsAlone = who == EndedBy::Others && ended.loginDate.isValid();
    const QDateTime date = endsAlone ? ended.loginDate : logoutDateFor(m_state->services().now(), ended.loginDate);
    m_state.setLogoutDate(laterOf(m_state->logoutDate(), date));
    HeldLogin held = heldLogin(*m_state);
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
