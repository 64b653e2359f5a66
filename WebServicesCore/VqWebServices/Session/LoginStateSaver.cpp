#include "Session/LoginStateSaver.h"

#include "Session/LoginStateLoader.h"
#include "Session/LoginStateNames.h"
#include "Session/LoginStateXml.h"
#include "Values/LibraryVersion.h"
#include "Values/WebServicesConfigurationImp.h"

namespace Velquor::WebServices {

namespace Names = LoginStateNames;

namespace {

const auto suppressName = QStringLiteral("SuppressLoginReminder");
const auto reminderName = QStringLiteral("LastLoginReminderDate");

} // namespace

LoginStateSaver::LoginStateSaver(SessionCore& core)
    : m_core(core)
    , m_logger(*core.services.loggers.session) {}

LoginStateSaver::Result LoginStateSaver::save() {
    const QString path = m_core.file.path();
    m_logger.information(QStringLiteral("Saving login state to file %1").arg(path));
    if (m_core.clients.configuredFor(m_core.currentServer()).isEmpty()) {
        m_logger.error(QStringLiteral("Failed to save login state to file. Current configuration is invalid."));
        return Result::Failed;
    }
    if (!m_core.isRestored()) {
        m_logger.information(QStringLiteral("Skipping saving of login state since login state is not yet restored"));
        return Result::Failed;
    }
    const LoginStateFile::Guard guard(m_core.file);
    QDomDocument document = guard.isHeld() ? m_core.file.readForSaving() : QDomDocument();
    if (document.isNull())
        return Result::Failed;
    QDomElement root = document.documentElement();
    const bool isLoggedIn = m_core.isLoggedIn();
    const bool writesUser = isLoggedIn && mayWriteUser(root);
    writeHeader(root);
    if (writesUser) {
        QDomElement login = loginElement(root);
        const bool isSameSignIn = m_core.basic().isSameSignIn(readBasicState(login));
        writeUser(login);
        mergeProducts(login, isSameSignIn);
    }
    const bool written = m_core.file.write(document);
    m_logger.information(QStringLiteral("Finished saving login state to file %1").arg(path));
    if (isLoggedIn && !writesUser)
        return Result::SignInGone;
    return written ? Result::Saved : Result::Failed;
}

LoginStateSaver::Result LoginStateSaver::saveOAuth2(const ProductLoginSession& product, const OAuth2TokenData& fresh) {
    m_logger.information(QStringLiteral("Saving OAuth2 login state to login state file"));
    const LoginStateFile::Guard guard(m_core.file);
    QDomDocument document = guard.isHeld() ? m_core.file.readForSaving() : QDomDocument();
    const Result result = document.isNull() ? Result::Failed : writeOAuth2(product, fresh, document);
    if (result == Result::Saved)
        m_logger.information(QStringLiteral("Finished saving OAuth2 login state to login state file"));
    return result;
}

LoginStateSaver::Result LoginStateSaver::writeOAuth2(const ProductLoginSession& product, const OAuth2TokenData& fresh,
                                                     QDomDocument& document) {
    QDomElement root = document.documentElement();
    if (!mayWriteUser(root))
        return Result::SignInGone;
    QDomElement element = root.firstChildElement(Names::loginSession).firstChildElement(Names::products).firstChildElement(Names::product);
    while (!element.isNull() && element.attribute(Names::productKey) != product.productKey())
        element = element.nextSiblingElement(Names::product);
    if (element.isNull()) {
        m_logger.error(
            QStringLiteral(
                "Failed to save OAuth2 access token for product %1 to login state file. Login state not found for this product in the login state file.")
                .arg(product.displayName()));
        return Result::Failed;
    }
    root.setAttribute(QStringLiteral("LastSavedByVersion"), libraryVersion());
    product.SaveOAuth2(element, fresh);
    if (m_core.file.write(document))
        return Result::Saved;
    m_logger.error(QStringLiteral("Failed to save OAuth2 access token for product %1 to login state file %2")
                       .arg(product.displayName(), m_core.file.path()));
    return Result::Failed;
}

bool LoginStateSaver::removeLogin(const QDateTime& logoutDate) {
    m_logger.information(QStringLiteral("Saving login state to file %1").arg(m_core.file.path()));
    m_core.setLogoutDate(logoutDate);
    const LoginStateFile::Guard guard(m_core.file);
    QDomDocument document = guard.isHeld() ? m_core.file.readForSaving() : QDomDocument();
    if (document.isNull())
        return false;
    QDomElement root = document.documentElement();
    root.removeChild(root.firstChildElement(Names::loginSession));
    writeHeader(root);
    const bool written = m_core.file.write(document);
    m_logger.information(QStringLiteral("Finished saving login state to file %1").arg(m_core.file.path()));
    return written;
}

void LoginStateSaver::writeHeader(QDomElement& root) {
    root.setAttribute(QStringLiteral("LastSavedByVersion"), libraryVersion());
    root.setAttribute(QStringLiteral("LastSavedBy"), m_core.services.savedBy);
    QDomElement settings = LoginStateXml::childOrNew(root, Names::settings);
    // The later of two sign-outs: one that another process wrote meanwhile must not be forgotten.
    const QDateTime inFile = LoginStateXml::date(settings, Names::logoutDate);
    const QDateTime mine = m_core.logoutDate();
    LoginStateXml::setDate(settings, Names::logoutDate, inFile.isValid() && (!mine.isValid() || inFile > mine) ? inFile : mine);
    settings.setAttribute(QStringLiteral("CurrentServer"), static_cast<int>(m_core.currentServer()));
    settings.setAttribute(reminderName, settings.attribute(reminderName));
    if (settings.attribute(suppressName).isEmpty())
        LoginStateXml::setFlag(settings, suppressName, false);
}

bool LoginStateSaver::mayWriteUser(const QDomElement& root) const {
    switch (compareSignIns(m_core.basic(), readBasicState(root.firstChildElement(Names::loginSession)), readLogoutDate(root))) {
    case StateOrigin::SignedOutElsewhere:
        m_logger.warning(QStringLiteral("Not saving the login state of the user. The user was signed out by another process."));
        return false;
    case StateOrigin::SignedInElsewhere:
        m_logger.warning(
            QStringLiteral("Not saving the login state of the user. A user has signed in later in another process."));
        return false;
    case StateOrigin::Same: break;
    }
    return true;
}

QDomElement LoginStateSaver::loginElement(QDomElement& root) const {
    QDomElement login = LoginStateXml::childOrNew(root, Names::loginSession);
    const QString otherUser = login.attribute(Names::userId);
    const bool isOtherUser = !otherUser.isEmpty() && otherUser != m_core.basic().userId;
    const bool isOtherServer = LoginStateXml::number(login, Names::server, m_core.currentServer()) != m_core.currentServer();
    if (isOtherUser || isOtherServer) {
        // Tokens of one user must never stand under the name of another.
        root.removeChild(login);
        login = LoginStateXml::childOrNew(root, Names::loginSession);
    }
    return login;
}

void LoginStateSaver::writeUser(QDomElement& login) {
    const BasicLoginState state = m_core.basic();
    login.setAttribute(Names::server, static_cast<int>(m_core.currentServer()));
    login.setAttribute(Names::userName, state.userName);
    login.setAttribute(Names::userId, state.userId);
    login.setAttribute(Names::ldapDomainKey, state.ldapDomainKey);
    LoginStateXml::setDate(login, Names::sessionExpiryDate, state.sessionExpiryDate);
    LoginStateXml::setDate(login, Names::loginDate, state.loginDate);
    LoginStateXml::setSecret(login, Names::clientId, state.clientId);
    LoginStateXml::setSecret(login, Names::ntUserName, state.ntUserName);
    LoginStateXml::setSecret(login, Names::machineAddress, state.machineAddress);
    QDomElement cookies = LoginStateXml::childOrNew(login, Names::cookies);
    LoginStateXml::setSecret(cookies, Names::loginCookies, state.loginCookies);
}

void LoginStateSaver::mergeProducts(QDomElement& login, bool isSameSignIn) {
    QDomElement products = LoginStateXml::childOrNew(login, Names::products);
    QMap<QString, QDomElement> existing;
    for (QDomElement element = products.firstChildElement(Names::product); !element.isNull();
         element = element.nextSiblingElement(Names::product)) {
        const QString key = element.attribute(Names::productKey);
        existing.insert(key, element);
        if (!m_core.products.find(key, m_core.currentServer()))
            m_logger.information(QStringLiteral("Found new product %1 in login state file while saving. Preserving it.")
                                     .arg(element.attribute(QStringLiteral("Name"))));
    }
    const QVector<ProductSessionPointer> sessions = m_core.products.onServer(m_core.currentServer());
    for (const ProductSessionPointer& session : sessions) {
        const QDomElement earlier = existing.value(session->productKey());
        // A product that was only read here belongs to another process, and so do later tokens of the same sign-in.
        const bool isLater = LoginStateXml::date(earlier, Names::tokenExpiryDate) > session->tokens().expiryDate;
        if (!earlier.isNull() && (!session->configuration() || (isSameSignIn && isLater)))
            continue;
        QDomElement element = products.ownerDocument().createElement(Names::product);
        if (!session->Save(element, isSameSignIn ? earlier : QDomElement()))
            continue;
        if (earlier.isNull())
            products.appendChild(element);
        else
            products.replaceChild(element, earlier);
    }
}

} // namespace Velquor::WebServices
