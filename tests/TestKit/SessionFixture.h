#pragma once

#include "Network/Urls/SupportFiles.h"
#include "Session/LoginSession.h"
#include "Session/State/LoginStateXml.h"
#include "Signing/OpenSslCryptoProvider.h"
#include "Signing/VqOAuthHost.h"
#include "TestKit/RecordingLogger.h"
#include "VqUtil/Crypto/UserCryptor.h"
#include "VqUtil/Crypto/UserRsaCryptor.h"

#include <QDomDocument>
#include <QFile>
#include <QTemporaryDir>
#include <atomic>
#include <memory>

namespace Velquor::TestKit {

/// A login session as the facade uses it: it follows the login state file before each operation.
///
/// Thread: the test's. Owner: the test.
class SessionUnderTest {
public:
    SessionUnderTest() = default;
    // Implicit: the tests make it from a session of any owner.
    SessionUnderTest(std::shared_ptr<WebServices::Internal::LoginSession> session)
        : m_session(std::move(session)) {}

    [[nodiscard]] WebServices::Internal::LoginSession* operator->() const {
        m_session->followFile();
        return m_session.get();
    }
    [[nodiscard]] WebServices::Internal::LoginSession& operator*() const { return *operator->(); }
    /// The session as it is in memory.
    [[nodiscard]] WebServices::Internal::LoginSession* get() const { return m_session.get(); }
    void reset() { m_session.reset(); }
    /// For code that shares the session.
    operator std::shared_ptr<WebServices::Internal::LoginSession>() const { return m_session; }

private:
    std::shared_ptr<WebServices::Internal::LoginSession> m_session;
};

/// Makes login sessions that share one login state file in a folder of their own, as processes of one user do.
///
/// Thread: the test's. Owner: the test.
class SessionFixture {
public:
    /// With folders of another process's fixture it is another process of the same user.
    explicit SessionFixture(const QString& stateFolder = {}, const QString& keyFolder = {})
        : logger(std::make_shared<RecordingLogger>())
        , urls(logger)
        , m_stateFolder(stateFolder.isEmpty() ? folder.path() : stateFolder) {
        // One key for all tests of the program, since making one takes a while.
        static const QTemporaryDir ownKeyFolder;
        static const auto rsa = Util::openUserRsaCryptor(keyFolder.isEmpty() ? ownKeyFolder.path() : keyFolder, logger);
        cryptor = std::make_shared<Util::UserCryptor>(rsa, logger);
        this->keyFolder = keyFolder.isEmpty() ? ownKeyFolder.path() : keyFolder;
    }

    [[nodiscard]] WebServices::Internal::SessionDependencies services() {
        WebServices::Internal::SessionDependencies made;
        made.cryptor = cryptor;
        made.cipherBlockSize = Util::userKeyBlockSize;
        made.oauthHost = std::make_shared<OAuth::VqOAuthHost>(std::make_shared<OAuth::OpenSslCryptoProvider>(), nullptr);
        made.urls = &urls;
        made.loggers = WebServices::Internal::Loggers::all(logger);
        made.now = [this] { return QDateTime::currentDateTimeUtc().addSecs(clockOffset); };
        made.exchangeTimeoutMs = exchangeTimeoutMs;
        made.loginStateFile = file();
        made.lockFolder = m_stateFolder;
        made.notifiesProcesses = notifiesProcesses;
        made.savedBy = QStringLiteral("test");
        made.isForAllUsers = isForAllUsers;
        return made;
    }

    [[nodiscard]] SessionUnderTest makeSession(const QString& key = QStringLiteral("demo-product-0001"),
                                               const QString& secret = QStringLiteral("demo-secret-0001")) {
        auto session = std::make_shared<WebServices::Internal::LoginSession>(
            services(),
            WebServices::Internal::ClientIdentity{key, 1, QStringLiteral("Test product"), QStringLiteral("/opt/test")});
        session->SetConfiguration(key, configuration(key, secret));
        return session;
    }

    [[nodiscard]] static WebServices::WebServicesConfiguration
    configuration(const QString& key, const QString& secret, WebServices::Server server = WebServices::Production) {
        WebServices::WebServicesConfiguration made;
        made.SetConsumerKey(key.toStdWString().c_str());
        made.SetConsumerSecret(secret.toStdWString().c_str());
        made.SetServer(server);
        return made;
    }

    [[nodiscard]] QString file() const { return m_stateFolder + QStringLiteral("/LoginState.xml"); }

    [[nodiscard]] QByteArray fileContents() const {
        QFile state(file());
        return state.open(QIODevice::ReadOnly) ? state.readAll() : QByteArray();
    }

    /// The user in the file, and the access token of its first product; empty when there is none.
    [[nodiscard]] QString userInFile() const { return loginInFile().attribute(QStringLiteral("UserName")); }
    [[nodiscard]] QString tokenInFile() const {
        const QDomElement products = loginInFile().firstChildElement(QStringLiteral("Products"));
        const QByteArray token =
            WebServices::Internal::LoginStateXml::secret(products.firstChildElement(), QStringLiteral("AccessToken"));
        return token.isEmpty() ? QString() : cryptor->decrypt(token).toText();
    }

    void writeFile(const QByteArray& contents) const {
        QFile state(file());
        if (state.open(QIODevice::WriteOnly))
            state.write(contents);
    }

    [[nodiscard]] bool hasLogged(const QString& text) const {
        const QStringList texts = logger->texts();
        return std::any_of(texts.begin(), texts.end(), [&text](const QString& line) { return line.contains(text); });
    }

    QTemporaryDir folder;
    QString keyFolder; ///< Where the user's key is.
    std::shared_ptr<RecordingLogger> logger;
    WebServices::Internal::UrlStore urls;
    std::shared_ptr<Util::ICryptor> cryptor;
    int exchangeTimeoutMs = 20000;
    bool isForAllUsers = false;         ///< The folder is the one of all users, for sessions made from now on.
    bool notifiesProcesses = false;     ///< Sessions made from now on tell each other what happens.
    std::atomic<qint64> clockOffset{0}; ///< Seconds that the sessions' clock is ahead.

private:
    [[nodiscard]] QDomElement loginInFile() const {
        QDomDocument document;
        document.setContent(fileContents());
        // A copy, which outlives the document.
        return document.documentElement().firstChildElement(QStringLiteral("LoginSession")).cloneNode().toElement();
    }

    const QString m_stateFolder;
};

} // namespace Velquor::TestKit
