#include "Session/Store/LoginStateSaver.h"

#include "Session/State/LoginStateElements.h"
#include "Session/State/LoginStateXml.h"
#include "Values/LibraryVersion.h"
#include "Values/WebServicesConfigurationImp.h"

namespace Velquor::WebServices::Internal {

namespace Names = LoginStateNames;

namespace {

const auto suppressName = QStringLiteral("SuppressLoginReminder");
const auto reminderName = QStringLiteral("LastLoginReminderDate");

} // namespace

LoginStateSaver::LoginStateSaver(SessionState& state, int guardTimeoutMs)
    : m_state(state)
    , m_logger(*state.services.loggers.session)
    , m_guardTimeoutMs(guardTimeoutMs)
    , m_products(state) {}

LoginStateSaver::Result LoginStateSaver::saveTokens(const ProductLoginSession& fresh) {
    m_products.setFresh(fresh);
    return save();
}

LoginStateSaver::Result LoginStateSaver::saveSignIn(const ProductLoginSession& fresh) {
    m_isSignIn = true;
    return saveTokens(fresh);
}

LoginStateSaver::Result LoginStateSaver::save() {
    const QString path = m_state.file.path();
    m_logger.information(QStringLiteral("Saving login state to file %1").arg(path));
    if (m_state.clients.configuredFor(m_state.currentServer()).isEmpty()) {
        m_logger.error(QStringLiteral("Failed to save login state to file. Current configuration is invalid."));
        m_state.unsaved.succeed();
        return Result::Failed;
    }
    if (!m_state.isRestored()) {
        m_logger.information(QStringLiteral("Skipping saving of login state since login state is not yet restored"));
        return Result::Failed;
    }
    bool isGone = false;
    const bool isWritten = change([&](QDomElement& root) {
        removeEnded(root);
        if (m_isSignIn)
            dateSignIn(root);
        isGone = !mergeUser(root);
        return true;
    });
    if (isWritten) {
        m_state.unsaved.succeed();
        m_logger.information(QStringLiteral("Finished saving login state to file %1").arg(path));
    }
    return isGone ? Result::SignInGone : isWritten ? Result::Saved : Result::Failed;
}

bool LoginStateSaver::change(const Edit& edit) {
    const LoginStateFile::Guard guard(m_state.file, m_guardTimeoutMs);
    return change(guard.isHeld() ? m_state.file.readForSaving() : QDomDocument(), edit);
}

bool LoginStateSaver::change(const QDomDocument& document, const Edit& edit) {
    QDomElement root = document.documentElement();
    if (root.isNull() || (edit(root) && !m_state.file.write(document))) {
        m_state.unsaved.fail();
        return false;
    }
    m_products.confirm();
    return true;
}

bool LoginStateSaver::mergeUser(QDomElement& root) {
    // Only the first element is read. Remove the others, or the next one would surface when it goes.
    LoginStateXml::removeChildren(root, Names::loginSession, 1);
    const bool isLoggedIn = m_state.isLoggedIn();
    const bool writesUser = isLoggedIn && mayWriteUser(root);
    writeHeader(root);
    if (writesUser) {
        QDomElement login = loginElement(root);
        const bool isSameSignIn = m_state.basic().isSameSignIn(readSignIn(login));
        writeSignIn(login, m_state.basic(), m_state.currentServer());
        m_products.writeInto(login, isSameSignIn);
    }
    return writesUser || !isLoggedIn;
}

void LoginStateSaver::dateSignIn(const QDomElement& root) {
    BasicLoginState state = m_state.basic();
    const QDateTime lastLogin = readSignIn(root.firstChildElement(Names::loginSession)).loginDate;
    state.loginDate = loginDateAfter(state.loginDate, laterOf(readLogoutDate(root), lastLogin));
    m_state.setBasic(state);
}

LoginStateSaver::Result LoginStateSaver::saveOAuth2(const ProductLoginSession& product, const OAuth2TokenData& fresh) {
    m_logger.information(QStringLiteral("Saving OAuth2 login state to login state file"));
    Result result = Result::Failed;
    const bool isDone = change([&](QDomElement& root) {
        result = putOAuth2(product, fresh, root);
        return result == Result::Saved;
    });
    if (!isDone) {
        m_logger.error(QStringLiteral("Failed to save OAuth2 access token for product %1 to login state file %2")
                           .arg(product.displayName(), m_state.file.path()));
        return Result::Failed;
    }
    if (result == Result::Saved)
        m_logger.information(QStringLiteral("Finished saving OAuth2 login state to login state file"));
    return result;
}

LoginStateSaver::Result LoginStateSaver::putOAuth2(const ProductLoginSession& product, const OAuth2TokenData& fresh,
                                                   QDomElement& root) const {
    if (!mayWriteUser(root))
        return Result::SignInGone;
    const QDomElement login = root.firstChildElement(Names::loginSession);
    // The file may still hold another user's sign-in, which this process could not replace yet. A product there is not this
    // user's.
    const bool isOwn = m_state.basic().isSameSignIn(readSignIn(login));
    QDomElement element = isOwn ? findProduct(login, product.productKey()) : QDomElement();
    if (element.isNull()) {
        m_logger.error(
            QStringLiteral(
                "Failed to save OAuth2 access token for product %1 to login state file. Login state not found for this product in the login state file.")
                .arg(product.displayName()));
        return Result::Failed;
    }
    root.setAttribute(QStringLiteral("LastSavedByVersion"), libraryVersion());
    product.SaveOAuth2(element, fresh);
    return Result::Saved;
}

void LoginStateSaver::markEnded(const BasicLoginState& ended) {
    m_state.markEnded(ended);
    m_state.setLogoutDate(laterOf(m_state.logoutDate(), logoutDateFor(m_state.services.now(), ended.loginDate)));
}

bool LoginStateSaver::endSignIn(const BasicLoginState& ended) {
    m_logger.information(QStringLiteral("Saving login state to file %1").arg(m_state.file.path()));
    markEnded(ended);
    const bool isDone = change([this](QDomElement& root) { return writeSignOut(root); });
    if (isDone)
        m_logger.information(QStringLiteral("Finished saving login state to file %1").arg(m_state.file.path()));
    return isDone;
}

bool LoginStateSaver::endSignIn(const BasicLoginState& ended, const QDomDocument& document) {
    markEnded(ended);
    return change(document, [this](QDomElement& root) { return writeSignOut(root); });
}

void LoginStateSaver::removeEnded(QDomElement& root) const {
    if (m_state.isEnded(readSignIn(root.firstChildElement(Names::loginSession))))
        LoginStateXml::removeChildren(root, Names::loginSession);
}

bool LoginStateSaver::writeSignOut(QDomElement& root) {
    removeEnded(root);
    const BasicLoginState left = readSignIn(root.firstChildElement(Names::loginSession));
    if (left.hasUser() && left.loginDate.isValid()) {
        m_logger.information(
            QStringLiteral("Keeping the login state in login state file. A user has signed in later in another process."));
        // A sign-out date later than that sign-in would end it in every process.
        m_state.setLogoutDate(readLogoutDate(root));
        return false;
    }
    LoginStateXml::removeChildren(root, Names::loginSession);
    writeHeader(root);
    return true;
}

void LoginStateSaver::writeHeader(QDomElement& root) {
    root.setAttribute(QStringLiteral("LastSavedByVersion"), libraryVersion());
    LoginStateXml::setText(root, QStringLiteral("LastSavedBy"), m_state.services.savedBy);
    QDomElement settings = LoginStateXml::childOrNew(root, Names::settings);
    // Keep the later of the two sign-out dates, since another process may have written one. But write no date that is later than
    // a sign-in which this process has not applied yet.
    const bool isOthers = !m_state.isLoggedIn() && !root.firstChildElement(Names::loginSession).isNull();
    const QDateTime inFile = LoginStateXml::date(settings, Names::logoutDate);
    LoginStateXml::setDate(settings, Names::logoutDate, isOthers ? inFile : laterOf(inFile, m_state.logoutDate()));
    settings.setAttribute(QStringLiteral("CurrentServer"), static_cast<int>(m_state.currentServer()));
    settings.setAttribute(reminderName, settings.attribute(reminderName));
    if (settings.attribute(suppressName).isEmpty())
        LoginStateXml::setFlag(settings, suppressName, false);
}

bool LoginStateSaver::mayWriteUser(const QDomElement& root) const {
    switch (compareSignIns(m_state.basic(), readSignIn(root.firstChildElement(Names::loginSession)), readLogoutDate(root))) {
    case StateOrigin::SignedOutElsewhere:
        m_logger.warning(QStringLiteral("Not saving the login state of the user. The user was signed out by another process."));
        return false;
    case StateOrigin::SignedInElsewhere:
        m_logger.warning(
            QStringLiteral("Not saving the login state of the user. A user has signed in later in another process."));
        return false;
    case StateOrigin::Same:
    case StateOrigin::Older: break;
    }
    return true;
}

QDomElement LoginStateSaver::loginElement(QDomElement& root) const {
    QDomElement login = LoginStateXml::childOrNew(root, Names::loginSession);
    const QString userInFile = readSignIn(login).user();
    const bool isOtherUser = !userInFile.isEmpty() && userInFile != m_state.basic().user();
    const bool isOtherServer = LoginStateXml::number(login, Names::server, m_state.currentServer()) != m_state.currentServer();
    if (isOtherUser || isOtherServer) {
        // Tokens of one user must never be written under the name of another.
        root.removeChild(login);
        login = LoginStateXml::childOrNew(root, Names::loginSession);
    }
    return login;
}

} // namespace Velquor::WebServices::Internal
