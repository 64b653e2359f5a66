// The login state file: what is written, what is merged, and what a file from outside may do.

#include "Session/State/DiskStateFile.h"
#include "TestKit/BlockedFile.h"
#include "TestKit/Platform/SystemFacts.h"
#include "TestKit/StateProcess.h"
#include "TestKit/Test.h"

#include <QDomDocument>

using namespace Velquor;
using namespace Velquor::WebServices;
using namespace Velquor::WebServices::Internal;
using TestKit::demoKey;

namespace {

using Process = TestKit::StateProcess;

class FullDisk : public DiskStateFile {
public:
    using DiskStateFile::DiskStateFile;
    [[nodiscard]] Util::Result<void> write(const QByteArray&) override { return Util::Failure{QStringLiteral("full")}; }
};

} // namespace

class LoginStateFileTest : public QObject {
    Q_OBJECT

private slots:
    void init() { m_fixture = std::make_unique<TestKit::SessionFixture>(); }

    void writesTheFormat() {
        Process process(*m_fixture);
        process.restore();
        process.signIn("ada");
        QCOMPARE(process.save(), LoginStateStore::Result::Saved);
        const QDomElement root = m_fixture->element({});
        QCOMPARE(root.attribute("LastSavedByVersion"), QStringLiteral("13.4.4.1804"));
        const QDomElement login = m_fixture->element({"LoginSession"});
        QVERIFY(
            QRegularExpression("^\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\dZ$").match(login.attribute("LoginDate")).hasMatch());
        const QDomElement product = m_fixture->element({"LoginSession", "Products", "Product"});
        for (const char* const secret : {"AccessToken", "AccessTokenSecret", "SessionHandle"})
            QVERIFY2(product.firstChildElement(secret).firstChild().isCDATASection(), secret);
        QVERIFY(!m_fixture->fileContents().contains("token of"));
        QVERIFY(TestKit::isOwnerOnly(m_fixture->file()));
    }

    // Support must see whether a line is about a read, or about the read in a save.
    void theLogTellsWhatIsDoneWithTheFile() {
        using Act = std::function<void(LoginStateFile & file)>;
        const TestKit::Rows row(this, [&](const Act& act, const QStringList& lines) {
            m_fixture->writeFile("<WebServices/>");
            LoginStateFile file = m_fixture->stateFile();
            act(file);
            QCOMPARE(m_fixture->logger->texts(), lines);
        });
        const auto save = [](auto& file) { (void)file.write(*file.readForSaving()); };
        const auto saveAnew = [&](auto& file) {
            QFile::remove(m_fixture->file());
            save(file);
        };
        const auto saveOnFullDisk = [&](auto& file) {
            LoginStateFile full(std::make_shared<FullDisk>(m_fixture->file(), m_fixture->logger), m_fixture->services().now,
                                m_fixture->logger);
            (void)full.write(*file.readForSaving());
        };
        const auto readBlocked = [&](auto& file) {
            const TestKit::BlockedFile blocked(m_fixture->file());
            (void)file.read();
        };
        const QStringList read{"Reading login state file", "Finished reading login state file"};
        const QStringList written{"Writing login state file", "Finished writing login state file successfully"};
        row("read", [](auto& file) { (void)file.read(); }, {read.first(), "Finished reading login state file successfully"});
        row("missing when saved", saveAnew, read + written);
        row("saved", save, read + written);
        row("cannot be read", readBlocked, {read.first(), "Failed to read file", "Reason: It is not a regular file"});
        row("cannot be written", saveOnFullDisk,
            read + QStringList{written.first(), "Failed to write login state file", "Reason: full"});
    }

    // A signed-in file is changed in one place; the state must not be used, and is deleted or left as the case demands.
    void anInvalidStateSignsNobodyIn() {
        using Change = std::function<void(QDomElement & login, QDomElement & product)>;
        const TestKit::Rows row(this, [&](const QString& logged, bool deleted, const Change& change) {
            Process running(*m_fixture);
            running.restoreAndSignIn();
            QDomDocument document = m_fixture->document();
            QDomElement login = document.documentElement().firstChildElement("LoginSession");
            QDomElement product = TestKit::firstProduct(document);
            change(login, product);
            m_fixture->writeFile(document.toByteArray());
            Process process(*m_fixture);
            LockedState state(process.core);
            LoginStateReader(state).loadBasic();
            process.restore();
            QVERIFY(!process.core.isLoggedIn());
            QVERIFY(process.core.basic().userName.isEmpty());
            QVERIFY2(m_fixture->hasLogged(logged), qPrintable(logged));
            QCOMPARE(m_fixture->element({"LoginSession"}).isNull(), deleted);
            if (!deleted)
                return;
            // A process that runs with this sign-in ends it as well, and does not bring it back.
            running.lookAtFile();
            QVERIFY(!running.core.isLoggedIn());
            running.save();
            QVERIFY(m_fixture->element({"LoginSession"}).isNull());
        });
        const auto secret = [this](const char* name, const QByteArray& clear) {
            return [=](QDomElement& login, QDomElement&) {
                TestKit::setSecret(login, name, clear.isEmpty() ? QByteArray() : m_fixture->cryptor->encrypt(clear));
            };
        };
        const auto elsewhere = QStringLiteral(
            "Login state is invalid since it was not saved in this computer. Discarding it and forcing logout. User needs to login.");
        row("expired", "Login session expired. Deleting the login state in login state file. Re-login required.", true,
            [](auto& login, auto&) { login.setAttribute("SessionExpiryDate", "2020-01-01T00:00:00Z"); });
        row("other server", "Server in LoginSession node is different from current server. Stopping loading of login state.",
            false, [](auto& login, auto&) { login.setAttribute("Server", "1"); });
        row("no client id", "Client id is blank or not found in login state file", false, secret("ClientId", ""));
        row("client id damaged", "Failed to restore client id. Deleting the login state in login state file. Re-login required.",
            true, [](auto& login, auto&) { TestKit::setSecret(login, "ClientId", "AQIDBA=="); });
        row("other user of the system",
            "Login state is invalid since it was not saved by current NT user. Discarding it and forcing logout. User needs to login.",
            true, secret("NTUserName", "somebody-else"));
        row("other machine", elsewhere, true, secret("MachineAddress", "001122334455"));
        row("no machine", elsewhere, true, secret("MachineAddress", ""));
        row("product without key", "Invalid product node without product key found and ignored", true,
            [](auto&, auto& product) { product.removeAttribute("ProductKey"); });
        row("product without tokens",
            "No valid login state found after cleanup. Deleting the login state in login state file. Re-login required.", true,
            [](auto&, auto& product) { product.removeChild(product.firstChildElement("AccessTokenSecret")); });
    }

    void anAbsentExpiryNeverExpires() {
        writeSignedInFile();
        QByteArray contents = m_fixture->fileContents();
        contents.replace("SessionExpiryDate=", "Ignored=");
        m_fixture->writeFile(contents);
        m_fixture->clockOffset = 50LL * 365 * 86400;
        Process process(*m_fixture);
        process.restore();
        QVERIFY(process.core.isLoginValid());
    }

    // In the folder of all users the state may belong to another user, and is left alone.
    void leavesTheStateOfAnotherUserAlone() {
        const TestKit::Rows row(this, [&](const QString& name, const QByteArray& value, bool isUsed) {
            writeSignedInFile();
            QDomDocument document = m_fixture->document();
            QDomElement login = document.documentElement().firstChildElement("LoginSession");
            TestKit::setSecret(login, name, value.isEmpty() ? m_fixture->cryptor->encrypt("somebody-else") : value);
            m_fixture->writeFile(document.toByteArray());
            m_fixture->isForAllUsers = true;
            Process process(*m_fixture);
            process.restore();
            QCOMPARE(process.core.isLoggedIn(), isUsed);
            QVERIFY(!m_fixture->element({"LoginSession"}).isNull());
        });
        row("encrypted by the other user", "ClientId", "AQIDBA==", false);
        row("saved by the other user", "NTUserName", {}, true);
    }

    // What hosts and servers call things must never keep others from reading the file.
    void aNameOfAnyTextCanBeReadAgain() {
        const TestKit::Rows row(this, [&](const QString& name) {
            Process process(*m_fixture);
            process.restore();
            process.signIn("ada");
            BasicLoginState state = process.core.basic();
            state.userName = state.userId = state.ldapDomainKey = name;
            process.setUser(state);
            process.core.products().find(demoKey, Production)->setProduct(name, name);
            QCOMPARE(process.save(), LoginStateStore::Result::Saved);
            Process next(*m_fixture);
            next.restore();
            QVERIFY(next.core.isLoginValid(demoKey));
            QVERIFY(next.core.basic().userName.contains("a"));
        });
        row("control character", QStringLiteral("ad\x01"
                                                "a"));
        row("NUL", QString(QChar(0)) + "ada");
        row("line end", "ad\r\na");
        row("half a character", QString(QChar(0xd800)) + "ada");
        row("no character", QString(QChar(0xffff)) + "ada");
        row("markup", "<ada> & \"]]>'");
        row("far too long", QString(2000000, 'a'));
    }

    void aFileThatWouldBeTooLargeIsNotWritten() {
        Process process(*m_fixture);
        process.restoreAndSignIn();
        const QByteArray before = m_fixture->fileContents();
        process.takeTokens(QDateTime::currentDateTimeUtc(), QByteArray(int(LoginStateDocument::limits.size), 'x'));
        QCOMPARE(process.save(), LoginStateStore::Result::Failed);
        QCOMPARE(m_fixture->fileContents(), before);
    }

    // Elements that should be there once: the one that is not used must not come to light.
    void duplicateElementsAreRemoved() {
        writeSignedInFile();
        QDomDocument document = m_fixture->document();
        QDomElement login = document.documentElement().firstChildElement("LoginSession");
        QDomElement products = login.firstChildElement("Products");
        QDomElement stale = products.appendChild(products.firstChildElement().cloneNode()).toElement();
        TestKit::setSecret(stale, "AccessToken", m_fixture->cryptor->encrypt("stale"));
        document.documentElement().appendChild(login.cloneNode());
        m_fixture->writeFile(document.toByteArray());
        Process process(*m_fixture);
        process.restore();
        QCOMPARE(process.token(demoKey), QByteArray("token of demo-product-0001"));
        process.takeTokens(QDateTime::currentDateTimeUtc().addSecs(60), "fresh");
        QCOMPARE(process.save(), LoginStateStore::Result::Saved);
        QCOMPARE(m_fixture->tokenInFile(), QStringLiteral("fresh"));
        QCOMPARE(m_fixture->fileContents().count("<LoginSession "), 1);
        QCOMPARE(m_fixture->fileContents().count("<Product "), 1);
        m_fixture->writeFile(document.toByteArray());
        process.lookAtFile();
        QVERIFY(process.endSignIn());
        QVERIFY(!m_fixture->fileContents().contains("LoginSession"));
    }

    // Whatever the file contains: no crash, no sign-in, and a save afterwards writes a good file.
    void hostileFilesSignNobodyInAndAreReplaced() {
        const TestKit::Rows row(this, [&](const QByteArray& contents, bool isSetAside) {
            m_fixture->writeFile(contents);
            Process process(*m_fixture);
            process.restore();
            QVERIFY(!process.core.isLoggedIn());
            process.signIn("ada");
            QCOMPARE(process.save(), LoginStateStore::Result::Saved);
            QCOMPARE(QFile::exists(m_fixture->file() + QStringLiteral(".damaged-1")), isSetAside);
            Process next(*m_fixture);
            next.restore();
            QVERIFY(next.core.isLoginValid(demoKey));
        });
        row("empty", {}, false);
        row("other root", "<Other><LoginSession Server=\"0\"/></Other>", true);
        row("entity bomb", "<!DOCTYPE a [<!ENTITY b \"bbbbbbbb\"><!ENTITY c \"&b;&b;&b;&b;\">]><WebServices>&c;</WebServices>",
            true);
        row("cut", "<WebServices><Settings CurrentServer=\"0\"/><LoginSession Ser", true);
        row("too large", QByteArray("<WebServices>") + QByteArray(int(LoginStateDocument::limits.size), ' ') + "</WebServices>",
            true);
        row("numbers that are none",
            "<WebServices><Settings CurrentServer=\"99999999999\" LogoutDate=\"never\"/><LoginSession Server=\"x\"/></WebServices>",
            false);
    }

    void doesNotSaveBeforeItWasRestored() {
        Process process(*m_fixture);
        process.signIn("ada");
        QCOMPARE(process.save(), LoginStateStore::Result::Failed);
        QVERIFY(m_fixture->fileContents().isEmpty());
        QVERIFY(m_fixture->hasLogged("Skipping saving of login state since login state is not yet restored"));
    }

private:
    void writeSignedInFile() {
        Process process(*m_fixture);
        process.restoreAndSignIn();
        QVERIFY(!m_fixture->element({"LoginSession"}).isNull());
    }

    std::unique_ptr<TestKit::SessionFixture> m_fixture;
};

QTEST_GUILESS_MAIN(LoginStateFileTest)
#include "LoginStateFileTest.moc"
