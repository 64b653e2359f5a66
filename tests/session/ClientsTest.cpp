// Several clients of one process: registration, shared products, and the state dump for support.

#include "TestKit/ServiceTest.h"

using namespace Velquor;
using namespace Velquor::WebServices;
using namespace Velquor::WebServices::Internal;

namespace {

const auto partner = QStringLiteral("partner");
// What a host hands in may look like a placeholder of a log text.
const auto awkwardKey = QStringLiteral("client %2 %3");
const auto awkwardName = QStringLiteral("Product %2 %3");

} // namespace

class ClientsTest : public TestKit::ServiceTest {
    Q_OBJECT

private slots:
    void init() {
        startOver();
        m_session = m_fixture->makeSession(key, secret);
    }

    void aClientIsRegisteredOnce() {
        const ClientIdentity identity{partner, 2, "Partner product", "/opt/partner"};
        QVERIFY(m_session->AddClient(identity));
        QVERIFY(m_session->AddClient(identity));
        QCOMPARE(clients().size(), 2);
        QVERIFY(m_fixture->hasLogged("Added client Partner product. Clients (2): Test product, Partner product"));
        QVERIFY(m_session->RemoveClient("nobody"));
        QCOMPARE(clients().size(), 2);
        QVERIFY(m_session->RemoveClient(partner));
        QVERIFY(m_fixture->hasLogged("Removed client Partner product. Clients (1): Test product"));
    }

    // The only client of a signed-in product comes back, under another key: its tokens are still in the file.
    void aConfigurationBringsItsProductBack() {
        signIn(*m_session);
        QVERIFY(m_session->RemoveClient(key));
        m_fixture->logger->clear();
        QVERIFY(m_session->AddClient({awkwardKey, 1, awkwardName, "/opt/test"}));
        const WebServicesConfiguration configuration = TestKit::SessionFixture::configuration(key, secret);
        QVERIFY(m_session->SetConfiguration(awkwardKey, configuration));
        QVERIFY(m_session->isLoggedIn(awkwardKey));
        const auto referenced = QStringLiteral("Adding client reference client %2 %3 in product login session");
        QCOMPARE(logged("^Add.* client "),
                 QStringList({QStringLiteral("Adding client Product %2 %3"),
                              QStringLiteral("Added client Product %2 %3. Clients (1): Product %2 %3"), referenced,
                              QStringLiteral("Added client reference client %2 %3 in product login session. "
                                             "Client references (1): client %2 %3")}));
        QCOMPARE(m_fixture->logger->prefixes(referenced), QStringList("Product %2 %3.0001.0"));
        QVERIFY(m_session->SetConfiguration(awkwardKey, configuration));
        QCOMPARE(m_fixture->logger->texts().count(referenced), 2);
    }

    void oauth2IsSwitchedOffByKind() {
        QVERIFY(m_session->oauth2().EnableOAuth2(key, OAuth2Settings::legacySpec()));
        QVERIFY(m_session->oauth2().EnableOAuth2(key, OAuth2TokenSpec(JWT, L"data")));
        m_fixture->logger->clear();
        QVERIFY(m_session->oauth2().DisableOAuth2(key));
        QCOMPARE(logged("in client info"),
                 QStringList({QStringLiteral("OAuth2 disabled in client info"),
                              QStringLiteral("OAuth2 disabled in client info for OAuth2 token spec JWT.data")}));
    }

    // Two clients with one consumer key: the product of the one that stays must not lose its tokens.
    void theLastClientOfAProductEndsIt() {
        signIn(*m_session);
        addPartner();
        QCOMPARE(products().size(), 1);
        QVERIFY(m_session->RemoveClient(partner));
        QVERIFY(m_session->isLoggedIn(key));
        QCOMPARE(products().at(0).toObject().value("ClientReferences").toString(), key);
        QVERIFY(m_session->RemoveClient(key));
        QVERIFY(products().isEmpty());
    }

    // Only one product is read from the file then. A sign-out since the last read is still found.
    void aProductThatIsReadAloneHidesNoSignOut() {
        signIn(*m_session);
        const auto other = m_fixture->restoredSession();
        QVERIFY(signOut(*other));
        addPartner();
        QVERIFY(!m_session->isLoggedIn(QString()));
    }

    // Support must be able to tell whose token a line is about, on whatever thread it was written.
    void logLinesNameTheirProduct() {
        const auto second = QStringLiteral("second-product-0002");
        QVERIFY(m_session->AddClient({second, 1, "Second", "/opt/second"}));
        QVERIFY(m_session->SetConfiguration(second, TestKit::SessionFixture::configuration(second, "demo-secret-0002")));
        signIn(*m_session);
        const QStringList both{"Second.0002.0", "Test product.0001.0"};
        for (const char* line : {"Constructor", "Checking if tokens need to be queried", "Creating cache objects"}) {
            const QString text = QLatin1String(line);
            QTRY_VERIFY(m_fixture->logger->prefixes(text).size() >= 2);
            QStringList found = m_fixture->logger->prefixes(text);
            found.removeDuplicates();
            found.sort();
            QCOMPARE(found, both);
        }
        QCOMPARE(m_fixture->logger->prefixes("Restoring login state for all products"), QStringList(QString()));
    }

    void theStateDumpShowsNoSecrets() {
        signIn(*m_session);
        addPartner();
        // The workers start on a thread of their own.
        QTRY_VERIFY(products().at(0).toObject().value("IsTokenRefreshTimerActive").toBool());
        const QJsonObject dump = m_session->stateDump();
        QCOMPARE(dump.keys(), QStringList("LoginSession"));
        const QJsonObject client = clients().at(0).toObject();
        QCOMPARE(client.keys(), QStringList({"Configurations", "ConsumerKey", "Pid", "ProductExeFile", "ProductName"}));
        QCOMPARE(client.value("ConsumerKey").toString(), key);
        QCOMPARE(client.value("Pid").toInt(), 1);
        QCOMPARE(client.value("Configurations").toArray().at(0).toObject().value("Server").toInt(-7), int(Production));
        const QJsonObject product = products().at(0).toObject();
        QCOMPARE(product.value("ConsumerKey").toString(), key);
        QCOMPARE(product.value("IsOAuth2Enabled"), QJsonValue(false));
        QCOMPARE(product.value("ClientReferences").toString(), key + QStringLiteral(", ") + partner);
        const QByteArray text = QJsonDocument(dump).toJson();
        Util::SecretBytes token;
        Util::SecretBytes tokenSecret;
        QVERIFY(m_session->GetAccessToken(key, false, token, tokenSecret));
        for (const QByteArray& hidden :
             {secret.toUtf8(), QByteArray(token.data(), token.size()), QByteArray(tokenSecret.data(), tokenSecret.size())})
            QVERIFY(!hidden.isEmpty() && !text.contains(hidden));
    }

private:
    void addPartner() {
        QVERIFY(m_session->AddClient({partner, 1, "Partner product", "/opt/partner"}));
        QVERIFY(m_session->SetConfiguration(partner, TestKit::SessionFixture::configuration(key, secret)));
    }

    [[nodiscard]] QStringList logged(const char* pattern) const {
        return m_fixture->logger->texts().filter(QRegularExpression(QLatin1String(pattern)));
    }

    [[nodiscard]] QJsonArray part(const char* name) {
        return m_session->stateDump().value("LoginSession").toObject().value(QLatin1String(name)).toArray();
    }
    [[nodiscard]] QJsonArray clients() { return part("Clients"); }
    [[nodiscard]] QJsonArray products() { return part("ProductLoginSessions"); }
};

QTEST_GUILESS_MAIN(ClientsTest)
#include "ClientsTest.moc"
