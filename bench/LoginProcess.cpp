#include "LoginProcess.h"

#include "QuietLogger.h"
#include "Session/Operations/ProductConfigurator.h"
#include "Session/Store/LoginStateReader.h"
#include "Session/Store/LoginStateStore.h"
#include "Signing/OpenSslCryptoProvider.h"
#include "Signing/VqOAuthHost.h"
#include "VqUtil/Crypto/CachingCryptor.h"
#include "VqUtil/Crypto/UserCryptor.h"
#include "VqUtil/Crypto/UserRsaCryptor.h"
#include "VqUtil/Files/AtomicFile.h"

#include <QDomDocument>

namespace Velquor::Bench {

using namespace Velquor::WebServices;
using namespace Velquor::WebServices::Internal;

class LoginProcess::Events final : public ISessionEvents {
public:
    void raiseEvent(WebServicesPrivateCore::WebServicesEvent, const EventSubject&) override {}
    void raiseEventHere(WebServicesPrivateCore::WebServicesEvent, const EventSubject&) override {}
    void deliverEvent(WebServicesPrivateCore::WebServicesEvent, const EventSubject&) override {}
    void forceLogout(const QString&, const QString&) override {}
    [[nodiscard]] bool isLogoutVetoed(const QString&) override { return false; }
    bool followFile(int) override { return true; }
};

LoginProcess::LoginProcess(int stored, int own)
    : m_folder(new QTemporaryDir)
    , m_events(new Events)
    , m_services(services())
    , m_state(std::make_unique<SessionState>(m_services, m_events.get())) {
    BasicLoginState user;
    user.clientId = m_services.cryptor->encrypt("client");
    user.userName = user.userId = QStringLiteral("ada");
    user.loginDate = m_services.now();
    m_state->binding().bind(user);
    LockedState(*m_state).setRestored();
    LockedState(*m_state).setBasic(user);
    configure(stored);
    (void)store();
    // Starts again from the file, since a process that saves has read what the others wrote.
    (void)restore();
    configure(own);
}

LoginProcess::~LoginProcess() = default;

SessionDependencies LoginProcess::services() const {
    SessionDependencies made;
    made.loggers = Loggers::all(std::make_shared<QuietLogger>());
    made.cryptor = std::make_shared<Util::CachingCryptor>(std::make_shared<Util::UserCryptor>(
        Util::openUserRsaCryptor(m_folder->path(), made.loggers.session), made.loggers.session));
    made.cipherBlockSize = Util::userKeyBlockSize;
    made.oauthHost = std::make_shared<OAuth::VqOAuthHost>(std::make_shared<OAuth::OpenSslCryptoProvider>(), nullptr);
    made.urls = &UrlStore::instance();
    made.loginStateFile = m_folder->filePath(QStringLiteral("LoginState.xml"));
    return made;
}

void LoginProcess::configure(int count) {
    m_own.clear();
    for (int index = 0; index < count; ++index) {
        const QString key = QStringLiteral("8a6f1c0b2e594d7b9%1").arg(index, 3, 10, QLatin1Char('0'));
        m_state->clients().add({key, 1, QStringLiteral("Bench"), QStringLiteral("/bench")});
        WebServicesConfiguration configuration;
        configuration.SetConsumerKey(key.toStdWString().c_str());
        configuration.SetConsumerSecret(L"kd94hf93k423kf44-pfkkdhi9sl3r4s00");
        m_state->clients().setConfiguration(key, std::make_shared<const WebServicesConfiguration>(configuration));
        LockedState state(*m_state);
        m_own += ProductConfigurator(state).configure(key);
        const auto seal = [this](const char* text) { return m_services.cryptor->encrypt(text); };
        if (!m_own.last()->tokens().areComplete())
            m_own.last()->setTokens(
                {seal("nnch734d00sl2jdk-7a1e5c09"), seal("pfkkdhi9sl3r4s00"), seal("handle"), m_services.now().addDays(1)});
    }
}

bool LoginProcess::save() {
    for (const ProductSessionPointer& product : m_own) {
        ProductTokens tokens = product->tokens();
        tokens.expiryDate = tokens.expiryDate.addSecs(1);
        product->setTokens(tokens);
    }
    return store();
}

bool LoginProcess::store() {
    LockedState state(*m_state);
    return LoginStateStore(state).save() == LoginStateStore::Result::Saved;
}

bool LoginProcess::saveAtLeast() {
    QDomDocument document;
    const Util::AtomicFile::ReadResult file = Util::AtomicFile::read(m_services.loginStateFile, LoginStateDocument::limits.size);
    if (!document.setContent(file.data))
        return false;
    document.documentElement().setAttribute(QStringLiteral("LastSavedBy"), ++m_number);
    return static_cast<bool>(Util::AtomicFile::write(m_services.loginStateFile, document.toByteArray(2)));
}

bool LoginProcess::restore() {
    m_own.clear();
    m_state = std::make_unique<SessionState>(m_services, m_events.get());
    LockedState restored(*m_state);
    LoginStateReader(restored).restore();
    restored.setRestored();
    return m_state->isLoggedIn();
}

bool LoginProcess::restoreAtLeast() {
    QDomDocument document;
    const Util::AtomicFile::ReadResult file = Util::AtomicFile::read(m_services.loginStateFile, LoginStateDocument::limits.size);
    return document.setContent(file.data) && document.documentElement().hasChildNodes();
}

int LoginProcess::productCount() const {
    LockedState state(*m_state);
    return state.products().all().size();
}

} // namespace Velquor::Bench
