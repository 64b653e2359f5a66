// OAuth2 tokens in the login state file: those of other processes, damaged ones, and those of a sign-in that is over.

#include "OAuth2Fixture.h"

using namespace Velquor;
using namespace Velquor::WebServices;
using namespace Velquor::WebServices::Internal;
using namespace Velquor::WebServices::OAuth2Testing;

class OAuth2FileTest : public OAuth2Fixture {
    Q_OBJECT

private slots:
    void init() { begin(); }

    void aSignOutMeanwhileWins() {
        const TestKit::Rows row(this, [&](bool isRefresh, const QString& logged) {
            const auto other = restoredSession({});
            if (isRefresh) {
                m_session->oauth2().EnableOAuth2(key, rt);
                QVERIFY(!ask(rt).isEmpty());
            }
            slowDown(700);
            if (isRefresh)
                QVERIFY(m_session->oauth2().RefreshOAuth2Token(key, &rt, false));
            else
                QVERIFY(m_session->oauth2().EnableOAuth2(key, rt));
            QTRY_VERIFY(
                m_fixture->hasLogged(isRefresh ? QStringLiteral("Starting network operation in separate thread to refresh OAuth2")
                                               : QStringLiteral("Getting OAuth2 token")));
            QVERIFY(signOut(*other));
            QTRY_VERIFY(m_fixture->hasLogged(logged));
            QVERIFY(!m_fixture->fileContents().contains("LoginSession"));
            QVERIFY(!m_session->isLoggedIn(QString()));
            QVERIFY(ask(rt).isEmpty());
        });
        row("query", false, "OAuth2 token query finished. But ignoring the result since user has logged out.");
        row("refresh", true, "Failed to refresh OAuth2 token. Not logged in.");
    }

    // Tokens that this process does not use survive its saves, in whatever form the file has them.
    void tokensOfOthersArePreserved() {
        const TestKit::Rows row(this, [&](bool isOAuth2First) {
            editProduct([this](QDomElement& product) {
                QDomElement tokens = product.ownerDocument().createElement("OAuth2Tokens");
                tokens.appendChild(tokenElement(tokens, "2", "Foreign scope", "foreign-token"));
                QDomElement unknown = tokenElement(tokens, "17", "x", "unknown-token");
                unknown.setAttribute("Later", "kept");
                tokens.appendChild(unknown);
                product.appendChild(tokens);
                putSecret(product, "OAuth2AccessToken", "older-token");
                product.setAttribute("OAuth2TokenScope", "older");
                product.setAttribute("OAuth2TokenExpiryDate", now().addSecs(hour).toString(Qt::ISODate));
            });
            const auto expectKept = [this] {
                const QDomElement product = productNode();
                QVERIFY(!product.hasAttribute("OAuth2TokenScope"));
                QVERIFY(product.firstChildElement("OAuth2AccessToken").isNull());
                QCOMPARE(textOf(product, "2", "Foreign scope"), QString("foreign-token"));
                QCOMPARE(textOf(product, "17", "x"), QString("unknown-token"));
                QVERIFY(m_fixture->fileContents().contains("kept"));
                QCOMPARE(textOf(product, "1", "older"), QString("older-token"));
            };
            if (!isOAuth2First) {
                QVERIFY(m_session->RefreshToken(key, true));
                expectKept();
            }
            QVERIFY(m_session->oauth2().EnableOAuth2(key, rt));
            const QString own = ask(rt);
            expectKept();
            QCOMPARE(textOf(productNode(), "1", ""), own);
            editProduct([this](QDomElement& product) {
                QDomElement tokens = product.firstChildElement("OAuth2Tokens");
                tokens.appendChild(tokenElement(tokens, "2", "saved since", "since-token"));
            });
            QVERIFY(m_session->RefreshToken(key, true));
            expectKept();
            QCOMPARE(textOf(productNode(), "2", "saved since"), QString("since-token"));
            QCOMPARE(textOf(productNode(), "1", ""), own);
            // Enabled now, they are used, both that of the present and that of the older form.
            const OAuth2TokenSpec foreign(JWT, L"FOREIGN scope");
            const OAuth2TokenSpec older(RT, L"older");
            QVERIFY(m_session->oauth2().EnableOAuth2(key, foreign));
            QVERIFY(m_session->oauth2().EnableOAuth2(key, older));
            QCOMPARE(ask(foreign), QString("foreign-token"));
            QCOMPARE(ask(older), QString("older-token"));
            QCOMPARE(forms().size(), 1);
        });
        row("a save of everything first", false);
        row("one of the OAuth2 tokens first", true);
    }

    // A server that shortens its lifetimes: the end of a token does not show which one was obtained last.
    void aRenewedTokenThatEndsEarlierIsUsed() {
        QVERIFY(m_session->oauth2().EnableOAuth2(key, rt));
        const QString first = ask(rt);
        editProduct([this](QDomElement& product) {
            QDomElement token = product.firstChildElement("OAuth2Tokens").firstChildElement();
            putSecret(token, "Token", "renewed-token");
            token.setAttribute("ExpiryDate", now().addSecs(hour / 2).toString(Qt::ISODate));
        });
        QCOMPARE(ask(rt), QString("renewed-token"));
        QVERIFY(m_session->RefreshToken(key, true));
        QCOMPARE(stored(rt), QString("renewed-token"));
        QCOMPARE(ask(rt), QString("renewed-token"));
    }

    void damagedTokensAreNotUsed() {
        editProduct([this](QDomElement& product) {
            QDomElement tokens = product.ownerDocument().createElement("OAuth2Tokens");
            QDomElement damaged = tokenElement(tokens, "1", "", "x");
            damaged.firstChildElement("Token").firstChild().toCDATASection().setData("bm90IGVuY3J5cHRlZA==");
            damaged.setAttribute("ExpiryDate", now().addSecs(100 * hour).toString(Qt::ISODate));
            tokens.appendChild(damaged);
            product.appendChild(tokens);
        });
        QVERIFY(m_session->oauth2().EnableOAuth2(key, rt));
        const QString token = ask(rt);
        QVERIFY(!token.isEmpty());
        QCOMPARE(stored(rt), token);
        QCOMPARE(forms().size(), 1);
    }

    // A save that merges what another process wrote must not make this one overlook it.
    void aSaveDoesNotHideTheChangeOfAnotherProcess() {
        slowDown(700);
        QVERIFY(m_session->oauth2().EnableOAuth2(key, rt));
        QTRY_VERIFY(m_fixture->hasLogged("Getting OAuth2 token"));
        editProduct([this](QDomElement& product) {
            putSecret(product, "AccessToken", "newer-access-token");
            product.setAttribute("TokenExpiryDate", now().addSecs(2 * hour).toString(Qt::ISODate));
        });
        QTRY_VERIFY(m_fixture->hasLogged("Finished saving OAuth2 login state to login state file"));
        Util::SecretBytes token;
        Util::SecretBytes secret;
        QVERIFY(m_session->GetAccessToken(key, true, token, secret));
        QCOMPARE(token.toText(), QStringLiteral("newer-access-token"));
    }
};

QTEST_GUILESS_MAIN(OAuth2FileTest)
#include "OAuth2FileTest.moc"
