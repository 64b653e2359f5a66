#include "TestKit/SessionFixture.h"

#include "Session/State/DiskStateFile.h"
#include "Signing/OpenSslCryptoProvider.h"
#include "Signing/VqOAuthHost.h"
#include "TestKit/Files.h"
#include "VqUtil/Crypto/UserCryptor.h"
#include "VqUtil/Crypto/UserRsaCryptor.h"

namespace Velquor::TestKit {

SessionFixture::SessionFixture(const QString& stateFolder, const QString& keyFolder)
    : logger(std::make_shared<RecordingLogger>())
    , urls(logger)
    , m_stateFolder(stateFolder.isEmpty() ? folder.path() : stateFolder) {
    // One key for all tests of the program, since making one takes a while.
    static const QTemporaryDir ownKeyFolder;
    this->keyFolder = keyFolder.isEmpty() ? ownKeyFolder.path() : keyFolder;
    static const auto rsa = Util::openUserRsaCryptor(this->keyFolder, logger);
    cryptor = std::make_shared<Util::UserCryptor>(rsa, logger);
}

WebServices::Internal::SessionDependencies SessionFixture::services() {
    WebServices::Internal::SessionDependencies made;
    made.cryptor = cryptor;
    made.cipherBlockSize = Util::userKeyBlockSize;
    made.oauthHost = std::make_shared<OAuth::VqOAuthHost>(std::make_shared<OAuth::OpenSslCryptoProvider>(), nullptr);
    made.urls = &urls;
    made.loggers = WebServices::Internal::Loggers::all(logger);
    made.now = [this] { return QDateTime::currentDateTimeUtc().addSecs(clockOffset); };
    made.exchangeTimeoutMs = exchangeTimeoutMs;
    made.tokenTimeoutMs = tokenTimeoutMs;
    made.loginStateFile = file();
    made.lockFolder = m_stateFolder;
    made.notifiesProcesses = notifiesProcesses;
    made.savedBy = "test";
    made.isForAllUsers = isForAllUsers;
    return made;
}

SessionUnderTest SessionFixture::makeSession(const QString& key, const QString& secret) {
    const WebServices::Internal::ClientIdentity client{key, 1, "Test product", "/opt/test"};
    auto session = std::make_shared<WebServices::Internal::LoginSession>(services(), client);
    session->SetConfiguration(key, configuration(key, secret));
    return session;
}

SessionUnderTest SessionFixture::restoredSession(const QString& key, const QString& secret) {
    const SessionUnderTest session = makeSession(key, secret);
    session->RestoreLogin(key, false);
    return session;
}

WebServices::WebServicesConfiguration SessionFixture::configuration(const QString& key, const QString& secret,
                                                                    WebServices::Server server) {
    WebServices::WebServicesConfiguration made;
    made.SetConsumerKey(key.toStdWString().c_str());
    made.SetConsumerSecret(secret.toStdWString().c_str());
    made.SetServer(server);
    return made;
}

WebServices::WebServicesConfiguration SessionFixture::oauth2Configuration(const QString& key, const QString& secret) {
    WebServices::WebServicesConfiguration made = configuration(key, secret);
    made.SetOAuth2ConsumerKey(key.toStdWString().c_str());
    made.SetOAuth2ConsumerSecret(secret.toStdWString().c_str());
    return made;
}

WebServices::Internal::LoginStateFile SessionFixture::stateFile() {
    return {std::make_shared<WebServices::Internal::DiskStateFile>(file(), logger), services().now, logger};
}

QByteArray SessionFixture::fileContents() const {
    return readFile(file());
}

void SessionFixture::writeFile(const QByteArray& contents) const {
    (void)TestKit::writeFile(file(), contents);
}

QDomDocument SessionFixture::document() const {
    QDomDocument read;
    read.setContent(fileContents());
    return read;
}

QDomElement SessionFixture::element(const QStringList& path) const {
    // A copy, which outlives the document.
    return descendant(document().documentElement(), path).cloneNode().toElement();
}

QString SessionFixture::tokenInFile() const {
    const QDomElement products = element({"LoginSession", "Products"});
    const QByteArray token = secret(products.firstChildElement(), "AccessToken");
    return token.isEmpty() ? QString() : cryptor->decrypt(token).toText();
}

QByteArray secret(const QDomElement& parent, const QString& name) {
    return parent.firstChildElement(name).text().trimmed().toLatin1();
}

void setSecret(QDomElement& parent, const QString& name, const QByteArray& encrypted) {
    parent.removeChild(parent.firstChildElement(name));
    QDomDocument document = parent.ownerDocument();
    QDomElement child = document.createElement(name);
    child.appendChild(document.createCDATASection(QString::fromLatin1(encrypted)));
    if (!encrypted.isEmpty())
        parent.appendChild(child);
}

QDomElement descendant(QDomElement parent, const QStringList& path) {
    for (const QString& name : path)
        parent = parent.firstChildElement(name);
    return parent;
}

QDomElement firstProduct(const QDomDocument& document) {
    return descendant(document.documentElement(), {"LoginSession", "Products", "Product"});
}

} // namespace Velquor::TestKit
