// The text of the login state file: files as programs have written them, and what a change touches.

#include "Session/State/LoginStateDocument.h"
#include "TestKit/Test.h"

#include <QDir>

using namespace Velquor;
using namespace Velquor::WebServices;
using namespace Velquor::WebServices::Internal;

namespace {

QDir folder() {
    return QDir(qEnvironmentVariable("VQ_SOURCE_DIR") + "/tests/session/files");
}

LoginStateDocument read(const QString& name) {
    const Util::Result<LoginStateDocument> document = LoginStateDocument::parse(TestKit::readFile(folder().filePath(name)));
    return document ? *document : LoginStateDocument();
}

QStringList lines(const LoginStateDocument& document) {
    return QString::fromUtf8(*document.toBytes()).split('\n');
}

} // namespace

class LoginStateDocumentTest : public QObject {
    Q_OBJECT

private slots:
    void aFileIsWrittenAsItWasRead() {
        const TestKit::Rows row([](const QString& name) {
            const QByteArray text = TestKit::readFile(folder().filePath(name));
            LoginStateDocument document = read(name);
            QCOMPARE(*document.toBytes(), text);
            document.setState(document.state());
            if (name != QLatin1String("other-programs.xml"))
                QCOMPARE(*document.toBytes(), text);
        });
        for (const QString& name : folder().entryList({"*.xml"}))
            row(qPrintable(name), name);
    }

    void aFileOfThisVersionHasItsValues() {
        const LoginState state = read("signed-in.xml").state();
        QCOMPARE(state.currentServer.value_or(-2), 0);
        QCOMPARE(state.user.userId, QStringLiteral("8d1f2c44-ada"));
        QCOMPARE(state.user.loginCookies, QByteArray("AlUz1c2fX9=="));
        QCOMPARE(state.products.size(), 2);
        QCOMPARE(state.products.first().tokens.accessToken, QByteArray("AQ1hY2Nlc3M="));
        QCOMPARE(state.products.first().oauth2Tokens.last().scope, QStringLiteral("data:read"));
        QCOMPARE(read("signed-in.xml").proxy().value_or(StoredProxy()).port, 3128);
    }

    // A change rewrites the tags that it concerns, and no other line.
    void aChangeTouchesNothingElse() {
        LoginStateDocument document = read("signed-in.xml");
        const QStringList before = lines(document);
        LoginState state = document.state();
        state.products[1].tokens.accessToken = "AW5ldw==";
        document.setState(state);
        QStringList changed;
        for (const QString& line : lines(document)) {
            if (!before.contains(line))
                changed += line.trimmed();
        }
        QCOMPARE(changed, QStringList({"<AccessToken><![CDATA[AW5ldw==]]></AccessToken>"}));
    }

    void whatOthersWroteStays() {
        LoginStateDocument document = read("other-programs.xml");
        LoginState state = document.state();
        QCOMPARE(state.user.userName, QString::fromUtf8("\xc3\xa4"
                                                        "da"));
        QCOMPARE(state.products.first().oauth2Tokens.first().token, QByteArray("BA=="));
        state.products.first().tokens.accessToken = "AQI=";
        state.products.first().hasOlderToken = false;
        document.setState(state);
        document.setSavedBy("test");
        const QString text = QString::fromUtf8(*document.toBytes());
        for (const char* const kept : {"<!-- kept by an administrator -->", "<Window x=\"1\"/>", "Theme=\"dark\"",
                                       "Kiosk=\"yes\"", "<Products Count=\"1\">", "<Rights><Right Name=\"x\"/></Rights>",
                                       "<Later><Thing/></Later>", "<ClientId>AS3mD8xQk1==</ClientId>", "<!-- end -->"})
            QVERIFY2(text.contains(kept), kept);
        QVERIFY(!text.contains("OAuth2AccessToken") && text.contains("Scope=\"data:write\""));
        state.hasSignIn = false;
        document.setState(state);
        QVERIFY(!QString::fromUtf8(*document.toBytes()).contains("LoginSession"));
    }
};

QTEST_GUILESS_MAIN(LoginStateDocumentTest)
#include "LoginStateDocumentTest.moc"
