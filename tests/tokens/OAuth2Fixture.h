#pragma once

#include "TestKit/ServiceTest.h"
#include "Tokens/OAuth2/RetrySchedules.h"
#include "Values/OAuth2TokenSpecImp.h"

#include <QDomDocument>

namespace Velquor::WebServices::OAuth2Testing {

using namespace Internal;

inline const auto endPoint = QStringLiteral("oauth2-token");
inline const OAuth2TokenSpec rt(RT, L"");
inline const OAuth2TokenSpec jwt(JWT, L"openid data");
constexpr int hour = 3600;

inline WebServicesConfiguration oauth2Configuration() {
    WebServicesConfiguration made = TestKit::SessionFixture::oauth2Configuration(TestKit::demoKey, TestKit::demoSecret);
    made.SetOAuth2AccessTokenScope(L"legacy");
    return made;
}

/// What the tests of OAuth2 tokens share: a product that is signed in at the account service, and looks at what was sent and
/// stored.
class OAuth2Fixture : public TestKit::ServiceTest {
protected:
    void begin() {
        startOver();
        RetrySchedules::instance().clear();
        m_session = makeSession({});
        signIn(*m_session);
    }

    TestKit::SessionUnderTest makeSession(const QVector<OAuth2TokenSpec>& specs,
                                          const WebServicesConfiguration& configuration = oauth2Configuration()) {
        auto session =
            std::make_shared<LoginSession>(m_fixture->services(), ClientIdentity{key, 1, "Test product", "/opt/test"}, specs);
        session->SetConfiguration(key, configuration);
        return session;
    }
    TestKit::SessionUnderTest restoredSession(const QVector<OAuth2TokenSpec>& specs,
                                              const WebServicesConfiguration& configuration = oauth2Configuration()) {
        const TestKit::SessionUnderTest session = makeSession(specs, configuration);
        session->RestoreLogin(key, false);
        return session;
    }

    static QString askOf(LoginSession& session, const OAuth2TokenSpec& spec) {
        return QString::fromWCharArray(session.oauth2().GetOAuth2AccessToken(key, &spec, true).GetToken());
    }
    QString ask(const OAuth2TokenSpec& spec) { return askOf(*m_session, spec); }

    void slowDown(int milliseconds) { delay(endPoint, milliseconds); }

    QDateTime now() const { return QDateTime::currentDateTimeUtc().addSecs(m_fixture->clockOffset); }

    /// What the service received, without secrets.
    QStringList forms() {
        QStringList found;
        const QJsonArray log = m_service.control("log").value("requests").toArray();
        for (const QJsonValue& entry : log) {
            if (entry.toObject().value("endpoint").toString() == endPoint)
                found += entry.toObject().value("form").toString();
        }
        return found;
    }

    void expectNoSecrets(QStringList secrets) {
        const QJsonArray handedOut = m_service.control("secrets").value("secrets").toArray();
        for (const QJsonValue& secret : handedOut)
            secrets += secret.toString();
        QVERIFY(secrets.size() > 3);
        const QString log = m_fixture->logger->texts().join('\n');
        const QString file = QString::fromUtf8(m_fixture->fileContents());
        for (const QString& secret : qAsConst(secrets)) {
            const QString encoded = QString::fromLatin1(secret.toUtf8().toPercentEncoding());
            QVERIFY2(!log.contains(secret) && !log.contains(encoded) && !file.contains(secret), qPrintable(secret));
        }
    }

    template <class Edit>
    void editProduct(const Edit& edit) {
        const QDomDocument document = m_fixture->document();
        QDomElement product = TestKit::firstProduct(document);
        edit(product);
        m_fixture->writeFile(document.toByteArray());
    }

    QDomElement productNode() {
        m_document = m_fixture->document();
        return TestKit::firstProduct(m_document);
    }

    void putSecret(QDomElement& parent, const char* name, const char* clear) const {
        TestKit::setSecret(parent, name, m_fixture->cryptor->encrypt(clear));
    }

    QDomElement tokenElement(const QDomElement& tokens, const char* type, const char* scope, const char* clear) const {
        QDomElement element = tokens.ownerDocument().createElement("OAuth2Token");
        element.setAttribute("Type", type);
        element.setAttribute("Scope", scope);
        element.setAttribute("ExpiryDate", now().addSecs(hour).toString(Qt::ISODate));
        putSecret(element, "Token", clear);
        return element;
    }

    QString textOf(const QDomElement& product, const char* type, const QString& scope) const {
        QDomElement element = product.firstChildElement("OAuth2Tokens").firstChildElement("OAuth2Token");
        while (!element.isNull() && (element.attribute("Type") != type || element.attribute("Scope") != scope))
            element = element.nextSiblingElement("OAuth2Token");
        return m_fixture->cryptor->decrypt(element.firstChildElement("Token").text().toLatin1()).toText();
    }

    QString stored(const OAuth2TokenSpec& spec) {
        const OAuth2TokenSpecImp& data = OAuth2TokenSpecImp::of(spec);
        return textOf(productNode(), data.type == RT ? "1" : "2", data.legacy ? QStringLiteral("legacy") : data.scope);
    }

    QDomDocument m_document;
};

} // namespace Velquor::WebServices::OAuth2Testing
