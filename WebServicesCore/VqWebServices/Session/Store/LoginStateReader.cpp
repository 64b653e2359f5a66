#include "Session/Store/LoginStateReader.h"

#include "Session/Store/HeldLogin.h"
#include "Session/Store/LoginStateStore.h"
#include "Session/Store/SignInCheck.h"
#include "Session/Store/StoredProducts.h"

namespace Velquor::WebServices::Internal {

LoginStateReader::LoginStateReader(LockedState& state)
    : m_state(state)
    , m_logger(*state->services().loggers.session) {}

HeldLogin LoginStateReader::heldForReading() const {
    HeldLogin held = heldLogin(*m_state);
    for (const ProductSessionPointer& product : m_state->products().onServer(m_state->currentServer()))
        held.state.products += product->stored();
    return held;
}

void LoginStateReader::loadBasic() {
    const QString path = m_state.file().path();
    if (!m_state.file().exists()) {
        m_logger.information(QStringLiteral("Can't load basic login state from file %1. File not found.").arg(path));
        return;
    }
    const LoginStateFile::Content content = m_state.file().readAtStart();
    if (!content.isRead()) {
        m_logger.error(QStringLiteral("Failed to load basic login state from file %1. %2.").arg(path, content.error));
        return;
    }
    const LoginState file = content.document->state();
    HeldLogin held = heldLogin(*m_state);
    held.isRestore = true;
    takeSettings(mergeLogin(held, file), file);
    BasicLoginState user = m_state->basic();
    user.userName = file.user.userName;
    user.userId = file.user.userId;
    user.sessionExpiryDate = file.user.sessionExpiryDate;
    m_state.setBasic(user);
    m_logger.information(QStringLiteral("Loaded basic login state from file %1").arg(path));
}

void LoginStateReader::restore() {
    if (!m_state.file().exists()) {
        m_logger.information(
            QStringLiteral("Loading of login state skipped. Login state file %1 does not exist.").arg(m_state.file().path()));
        m_state.file().removeLeftovers();
        return;
    }
    apply(m_state.file().readAtStart(), true);
}

LoginStateReader::Followed LoginStateReader::follow() {
    const LoginStateFile::Content content = m_state.file().readNow();
    if (content.status == LoginStateFile::Content::Status::Missing)
        m_logger.information(
            QStringLiteral("Loading of login state skipped. Login state file %1 does not exist.").arg(m_state.file().path()));
    const LoginVerdict verdict = apply(content, false);
    return {content.isKnown() && !m_isUndecided, verdict == LoginVerdict::SignedOut || verdict == LoginVerdict::Replaced};
}

LoginVerdict LoginStateReader::apply(const LoginStateFile::Content& content, bool isRestore) {
    const LoginVerdict verdict = content.isRead() ? take(*content.document, isRestore) : LoginVerdict::NoUser;
    if (m_isUndecided) {
        m_state.unread().fail();
        return verdict;
    }
    // Not before: a thread that finds the file seen uses what is in memory.
    m_state.file().markSeen(content);
    if (content.status == LoginStateFile::Content::Status::Unreadable)
        m_state.unread().fail();
    else if (content.isKnown())
        m_state.unread().succeed();
    return verdict;
}

// The file's lock is free again: decrypting takes long, and who deletes a state reads the file once more.
LoginVerdict LoginStateReader::take(const LoginStateDocument& document, bool isRestore) {
    const LoginState file = document.state();
    HeldLogin held = heldForReading();
    held.isRestore = isRestore;
    const MergedLogin merged = mergeLogin(held, file);
    m_state.setSeen(merged.seen);
    m_state.proxy().follow(document, isRestore);
    if (merged.isGone())
        leaveUser(merged, file);
    if (merged.notTaken == NotTaken::OwnIsLater)
        keepOwn(merged);
    else
        takeSignIn(merged, file, merged.verdict == LoginVerdict::Same && held.seen.user.hasSameBinding(file.user));
    return merged.verdict;
}

void LoginStateReader::keepOwn(const MergedLogin& merged) {
    if (merged.verdict == LoginVerdict::Older)
        m_logger.information(
            QStringLiteral("Keeping user %1. The login state file holds an earlier sign-in.").arg(m_state->basic().userName));
    // The file lacks the sign-in.
    askForSave();
}

void LoginStateReader::askForSave() {
    if (!m_state.unsaved().isPending())
        m_state.unsaved().fail();
}

void LoginStateReader::leaveUser(const MergedLogin& merged, const LoginState& file) {
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

void LoginStateReader::takeSettings(const MergedLogin& merged, const LoginState& file) {
    if (!file.hasSettings)
        m_logger.warning(QStringLiteral("Settings node not found in login state file"));
    m_state.setCurrentServer(static_cast<Server>(merged.memory.currentServer.value_or(m_state->currentServer())));
    m_state.setLogoutDate(merged.memory.logoutDate);
}

void LoginStateReader::takeSignIn(const MergedLogin& merged, const LoginState& file, bool isKnown) {
    const QString path = m_state.file().path();
    m_logger.information(QStringLiteral("Loading login state from file %1").arg(path));
    takeSettings(merged, file);
    logNotTaken(merged.notTaken);
    BasicLoginState user = merged.memory.user;
    const SignInCheck::Verdict verdict =
        merged.notTaken == NotTaken::None ? SignInCheck(m_state).check(user, isKnown) : SignInCheck::Verdict::Ignored;
    m_isUndecided = verdict == SignInCheck::Verdict::Undecided;
    if (verdict == SignInCheck::Verdict::Valid)
        takeUser(user, merged, file);
    else if (verdict == SignInCheck::Verdict::Discarded)
        discard(file.user);
    else if (!m_state->basic().hasUser())
        // The basic state that was read before the restore belongs to a user who is not signed in here.
        m_state.setBasic({});
    m_logger.information(QStringLiteral("Finished loading login state from file %1").arg(path));
}

void LoginStateReader::takeUser(const BasicLoginState& user, const MergedLogin& merged, const LoginState& file) {
    m_state.setBasic(user);
    StoredProducts products(m_state);
    products.load(merged.memory.products, file);
    products.deleteInvalid();
    if (products.isAnyMissing(file))
        askForSave();
    // While the library is being uninitialized its products are gone, which does not mean that the sign-in is.
    if (!m_state.products().hasTokens({}, m_state->currentServer()) && !m_state->isStopped()) {
        m_logger.warning(QStringLiteral(
            "No valid login state found after cleanup. Deleting the login state in login state file. Re-login required."));
        discard(file.user);
    }
}

void LoginStateReader::logNotTaken(NotTaken reason) {
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

void LoginStateReader::discard(const BasicLoginState& signIn) {
    m_state.deleteCaches();
    m_state.forgetUser();
    // Write it as a sign-out. Otherwise a process that still has this user would write the sign-in back.
    if (!LoginStateStore(m_state).endSignIn(signIn, LoginStateStore::EndedBy::Others))
        m_logger.error(QStringLiteral("Failed to delete the login state in login state file %1").arg(m_state.file().path()));
}

std::optional<LoginState> LoginStateReader::findOwnSignIn(const LoginStateDocument& document) {
    const LoginState file = document.state();
    const MergedLogin merged = mergeLogin(heldForReading(), file);
    logNotTaken(merged.notTaken);
    const bool isOwn = merged.verdict == LoginVerdict::NoUser || merged.verdict == LoginVerdict::Same;
    return merged.notTaken == NotTaken::None && isOwn ? std::optional<LoginState>(merged.memory) : std::nullopt;
}

} // namespace Velquor::WebServices::Internal
