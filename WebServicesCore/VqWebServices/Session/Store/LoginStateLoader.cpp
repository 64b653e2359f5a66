#include "Session/Store/LoginStateLoader.h"

#include "Session/State/LoginStateElements.h"
#include "Session/State/LoginStateXml.h"
#include "Session/Store/LoginStateSaver.h"
#include "Session/Store/StoredProducts.h"

namespace Velquor::WebServices::Internal {

namespace Names = LoginStateNames;

LoginStateLoader::LoginStateLoader(SessionState& state)
    : m_state(state)
    , m_logger(*state.services.loggers.session) {}

bool LoginStateLoader::loadBasic() {
    const QString path = m_state.file.path();
    if (!m_state.file.exists()) {
        m_logger.information(QStringLiteral("Can't load basic login state from file %1. File not found.").arg(path));
        return false;
    }
    LoginStateFile::Content content;
    {
        const LoginStateFile::Guard guard(m_state.file);
        if (guard.isHeld())
            content = m_state.file.read();
    }
    if (!content.isRead()) {
        m_logger.error(QStringLiteral("Failed to load basic login state from file %1. %2.").arg(path, content.error));
        return false;
    }
    loadSettings(content.root(), true);
    const QDomElement login = content.root().firstChildElement(Names::loginSession);
    BasicLoginState state = m_state.basic();
    state.userName = login.attribute(Names::userName);
    state.userId = login.attribute(Names::userId);
    state.sessionExpiryDate = LoginStateXml::date(login, Names::sessionExpiryDate);
    m_state.setBasic(state);
    m_logger.information(QStringLiteral("Loaded basic login state from file %1").arg(path));
    return true;
}

void LoginStateLoader::loadAll(bool takeServer) {
    const QString path = m_state.file.path();
    if (!m_state.file.exists()) {
        m_logger.information(QStringLiteral("Loading of login state skipped. Login state file %1 does not exist.").arg(path));
        m_state.file.removeLeftovers();
        return;
    }
    const LoginStateFile::Guard guard(m_state.file);
    if (!guard.isHeld())
        return;
    const LoginStateFile::Content content = m_state.file.read();
    if (content.isRead()) {
        m_state.proxy.load(content.root());
        (void)apply(content, takeServer);
    }
    markApplied(content);
}

void LoginStateLoader::markApplied(const LoginStateFile::Content& content) {
    m_state.file.markSeen(content);
    if (content.status == LoginStateFile::Content::Status::Unreadable)
        m_state.unread.fail();
    else
        m_state.unread.succeed();
}

bool LoginStateLoader::apply(const LoginStateFile::Content& content, bool takeServer) {
    if (m_state.basic().hasUser() && !mayLoad(content.root()))
        return false;
    loadFrom(content, takeServer);
    return true;
}

bool LoginStateLoader::mayLoad(const QDomElement& root) {
    const BasicLoginState mine = m_state.basic();
    const QDomElement login = root.firstChildElement(Names::loginSession);
    switch (compareSignIns(mine, readSignIn(login), readLogoutDate(root))) {
    case StateOrigin::Same:
        // The element was removed without a sign-out. The tokens are still valid, so keep them.
        return !login.isNull();
    case StateOrigin::Older:
        m_logger.information(
            QStringLiteral("Keeping user %1. The login state file holds an earlier sign-in.").arg(mine.userName));
        if (!m_state.unsaved.isPending())
            m_state.unsaved.fail();
        return false;
    case StateOrigin::SignedOutElsewhere:
    case StateOrigin::SignedInElsewhere: break;
    }
    m_logger.information(
        QStringLiteral("User %1 was signed out in another process. Signing out in this process.").arg(mine.userName));
    // The process that signed out has emptied the cache file. When the file holds a user again, the cached values may be that
    // user's, so they stay. A value that was written after the sign-out is removed by the next one and never handed out.
    if (login.isNull())
        m_state.deleteCaches();
    else
        m_state.endCaches();
    m_state.forgetUser();
    return true;
}

void LoginStateLoader::loadFrom(const LoginStateFile::Content& content, bool takeServer) {
    const QString path = m_state.file.path();
    m_logger.information(QStringLiteral("Loading login state from file %1").arg(path));
    loadSettings(content.root(), takeServer);
    const QDomElement login = findLogin(content.root());
    BasicLoginState state;
    const Verdict verdict = login.isNull() ? Verdict::NoLogin : loadUser(login, state);
    if (verdict == Verdict::Valid) {
        m_state.setBasic(state);
        StoredProducts products(m_state);
        products.load(login);
        products.deleteInvalid();
        // While the library is being uninitialized its products are gone, which does not mean that the sign-in is.
        if (!m_state.products.hasTokens({}, m_state.currentServer()) && !m_state.isStopped) {
            m_logger.warning(QStringLiteral(
                "No valid login state found after cleanup. Deleting the login state in login state file. Re-login required."));
            discard(content.document);
        }
    } else if (verdict == Verdict::Discard) {
        discard(content.document);
    } else if (!m_state.basic().hasUser()) {
        // The basic state that was read before the restore belongs to a user who is not signed in here.
        m_state.setBasic({});
    }
    m_logger.information(QStringLiteral("Finished loading login state from file %1").arg(path));
}

void LoginStateLoader::loadSettings(const QDomElement& root, bool takeServer) {
    const QDomElement settings = root.firstChildElement(Names::settings);
    if (settings.isNull()) {
        m_logger.warning(QStringLiteral("Settings node not found in login state file"));
        return;
    }
    if (takeServer) {
        const int server = LoginStateXml::number(settings, QStringLiteral("CurrentServer"), m_state.currentServer());
        if (isRealServer(server) || server == NoServer)
            m_state.setCurrentServer(static_cast<Server>(server));
    }
    m_state.setLogoutDate(laterOf(readLogoutDate(root), m_state.logoutDate()));
}

QDomElement LoginStateLoader::findLogin(const QDomElement& root) {
    const QDomElement login = root.firstChildElement(Names::loginSession);
    if (login.isNull()) {
        m_logger.information(QStringLiteral("No login state found in login state file. LoginSession node not found."));
        return {};
    }
    if (LoginStateXml::number(login, Names::server, NoServer) != m_state.currentServer()) {
        m_logger.information(
            QStringLiteral("Server in LoginSession node is different from current server. Stopping loading of login state."));
        return {};
    }
    if (m_state.isEnded(readSignIn(login))) {
        m_logger.information(
            QStringLiteral("Ignoring the login state in login state file. The user was signed out in this process."));
        return {};
    }
    return login;
}

QDomElement LoginStateLoader::findOwnLogin(const QDomElement& root) {
    const QDomElement login = findLogin(root);
    const BasicLoginState mine = m_state.basic();
    return mine.hasUser() && !mine.isSameSignIn(readSignIn(login)) ? QDomElement() : login;
}

LoginStateLoader::Verdict LoginStateLoader::loadUser(const QDomElement& login, BasicLoginState& state) {
    state = readSignIn(login);
    // A state that could not be saved yet is newer than the file.
    if (m_state.unsaved.isPending() && state.isSameSignIn(m_state.basic()))
        state = m_state.basic();
    if (!state.hasUser()) {
        m_logger.error(QStringLiteral("Client id is blank or not found in login state file"));
        return Verdict::NoLogin;
    }
    const bool isReadable = !m_state.services.cryptor->decrypt(state.clientId).isEmpty();
    if (!isReadable && m_state.services.isForAllUsers) {
        m_logger.information(QStringLiteral("Ignoring the login state in login state file. It was saved by another user."));
        return Verdict::NoLogin;
    }
    if (!isReadable) {
        m_logger.error(
            QStringLiteral("Failed to restore client id. Deleting the login state in login state file. Re-login required."));
        return Verdict::Discard;
    }
    m_state.setLdapDomainKey(state.ldapDomainKey);
    if (state.isExpired(m_state.services.now())) {
        m_logger.warning(
            QStringLiteral("Login session expired. Deleting the login state in login state file. Re-login required."));
        return Verdict::Discard;
    }
    if (!m_state.binding.check(state))
        return Verdict::Discard;
    m_state.binding.renew(state);
    return Verdict::Valid;
}

void LoginStateLoader::discard(const QDomDocument& document) {
    m_state.deleteCaches();
    m_state.forgetUser();
    // Write it as a sign-out. Otherwise a process that still has this user would write the sign-in back.
    const QDomElement login = document.documentElement().firstChildElement(Names::loginSession);
    if (!LoginStateSaver(m_state).endSignIn(readSignIn(login), document))
        m_logger.error(QStringLiteral("Failed to delete the login state in login state file %1").arg(m_state.file.path()));
}

} // namespace Velquor::WebServices::Internal
