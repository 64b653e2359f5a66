#pragma once

#include "Network/Urls/SupportFiles.h"
#include "Network/Urls/UrlStore.h"
#include "Session/LoginSession.h"
#include "TestKit/RecordingLogger.h"

#include <QDomDocument>
#include <QTemporaryDir>
#include <atomic>
#include <memory>

namespace Velquor::TestKit {

/// The key of the product that most tests are about, and its secret, as the account service knows them.
inline const auto demoKey = QStringLiteral("demo-product-0001");
inline const auto demoSecret = QStringLiteral("demo-secret-0001");
/// A second product of the account service.
inline const auto secondKey = QStringLiteral("second-product-0002");
inline const auto secondSecret = QStringLiteral("demo-secret-0002");

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
    /// With the folders of another process's fixture it is another process of the same user.
    explicit SessionFixture(const QString& stateFolder = {}, const QString& keyFolder = {});

    [[nodiscard]] WebServices::Internal::SessionDependencies services();
    [[nodiscard]] SessionUnderTest makeSession(const QString& key = demoKey, const QString& secret = demoSecret);
    /// A process that starts: it reads the login state file.
    [[nodiscard]] SessionUnderTest restoredSession(const QString& key = demoKey, const QString& secret = demoSecret);
    [[nodiscard]] static WebServices::WebServicesConfiguration
    configuration(const QString& key, const QString& secret, WebServices::Server server = WebServices::Production);
    /// The same with OAuth2, whose keys are those of OAuth 1.0.
    [[nodiscard]] static WebServices::WebServicesConfiguration oauth2Configuration(const QString& key, const QString& secret);

    [[nodiscard]] QString file() const { return m_stateFolder + "/LoginState.xml"; }
    /// The file as another process of the user sees it.
    [[nodiscard]] WebServices::Internal::LoginStateFile stateFile();
    [[nodiscard]] QByteArray fileContents() const;
    void writeFile(const QByteArray& contents) const;
    [[nodiscard]] QDomDocument document() const;

    /// The element of the file that the names lead to, from the root.
    [[nodiscard]] QDomElement element(const QStringList& path) const;
    /// The user in the file, and the access token of its first product; empty when there is none.
    [[nodiscard]] QString userInFile() const { return element({"LoginSession"}).attribute("UserName"); }
    [[nodiscard]] QString tokenInFile() const;

    [[nodiscard]] bool hasLogged(const QString& text) const { return logger->count(text) > 0; }

    QTemporaryDir folder;
    QString keyFolder; ///< Where the user's key is.
    std::shared_ptr<RecordingLogger> logger;
    WebServices::Internal::UrlStore urls;
    std::shared_ptr<Util::ICryptor> cryptor;
    int exchangeTimeoutMs = 20000;
    int tokenTimeoutMs = 61000;
    bool isForAllUsers = false;         ///< The folder is the one of all users, for sessions made from now on.
    bool notifiesProcesses = false;     ///< Sessions made from now on notify each other.
    std::atomic<qint64> clockOffset{0}; ///< Seconds that the sessions' clock is ahead.

private:
    const QString m_stateFolder;
};

/// The encrypted value in the child of this name, as the file holds it; empty when there is none.
[[nodiscard]] QByteArray secret(const QDomElement& parent, const QString& name);
void setSecret(QDomElement& parent, const QString& name, const QByteArray& encrypted);
/// The element below `parent` that the names lead to.
[[nodiscard]] QDomElement descendant(QDomElement parent, const QStringList& path);
/// The first product in a login state document.
[[nodiscard]] QDomElement firstProduct(const QDomDocument& document);

} // namespace Velquor::TestKit
