#include "TestKit/Test.h"
#include "Values/NetworkCookieImp.h"
#include "Values/NetworkCookieJarImp.h"
#include "Values/OAuth2TokenImp.h"
#include "Values/OAuth2TokenSpecImp.h"

#include <VqWebServices/WebServicesPrivate.h>

using namespace Velquor;
using namespace Velquor::WebServices;
using namespace Velquor::WebServices::Internal;

namespace {

QJsonObject object(const QByteArray& text) {
    return QJsonDocument::fromJson(text).object();
}

/// Turns a text around, and fails on demand.
class ReversingCryptor final : public Util::ICryptor {
public:
    QByteArray encrypt(const QByteArray& clear) override { return isBroken ? QByteArray() : reversed(clear).toBase64(); }
    Util::SecretBytes decrypt(const QByteArray& text) override {
        return isBroken ? Util::SecretBytes() : Util::SecretBytes(reversed(QByteArray::fromBase64(text)));
    }
    bool isBroken = false;

private:
    static QByteArray reversed(QByteArray text) {
        std::reverse(text.begin(), text.end());
        return text;
    }
};

NetworkCookie knownCookie() {
    NetworkCookie cookie;
    cookie.SetName("before");
    cookie.SetExpiryDate(7);
    return cookie;
}

const QByteArray fullCookie = "{\"Domain\":\"example.com\",\"ExpiryDate\":4102444800,\"IsHttpOnly\":true,\"IsSecure\":true,"
                              "\"Name\":\"n\",\"Path\":\"/p\",\"Value\":\"\\ufeffv\\u00e4l;\\\"ue\"}";

} // namespace

class ValuesJsonTest : public QObject {
    Q_OBJECT

private slots:
    void aCookieSurvivesItsJsonForm() {
        NetworkCookie cookie;
        QVERIFY(WebServicesPrivate::JsonToNetworkCookie(fullCookie.constData(), cookie));
        const NetworkCookieImp& data = NetworkCookieImp::of(cookie);
        QCOMPARE(data.value, QByteArray("\xef\xbb\xbfv\xc3\xa4l;\"ue"));
        QVERIFY(data.secure && data.httpOnly && data.expiryDate == 4102444800LL && data.domain == "example.com"
                && data.path == "/p");
        std::string text;
        QVERIFY(WebServicesPrivate::NetworkCookieToJson(cookie, text));
        QCOMPARE(object(QByteArray::fromStdString(text)), object(fullCookie));
    }

    void damagedCookiesChangeNothing() {
        const TestKit::Rows row([&](const QByteArray& json, bool read, const QByteArray& name, qint64 expiry) {
            NetworkCookie cookie = knownCookie();
            QCOMPARE(WebServicesPrivate::JsonToNetworkCookie(json.constData(), cookie), read);
            QCOMPARE(NetworkCookieImp::of(cookie).name, name);
            QCOMPARE(static_cast<qint64>(cookie.GetExpiryDate()), expiry);
        });
        const auto refused = [&](const char* name, const QByteArray& json) { row(name, json, false, "before", 7); };
        const auto expiry = [&](const char* name, const QByteArray& number, qint64 read) {
            row(name, "{\"ExpiryDate\":" + number + "}", true, {}, read);
        };
        expiry("beyond a double", "9007199254740993", 9007199254740993LL);
        expiry("for ever", "9223372036854775807", std::numeric_limits<qint64>::max());
        refused("empty text", "");
        refused("empty object", "{}");
        refused("cut", "{\"Name\":\"a\"");
        refused("2000 deep", QByteArray("{\"Name\":").repeated(2000) + "1" + QByteArray("}").repeated(2000));
        refused("5 MiB", "{\"Name\":\"" + QByteArray(5 * 1024 * 1024, 'x') + "\"}");
        row("missing keys", "{\"x\":1}", true, {}, 0);
        row("wrong types", QByteArray(R"({"Name":5,"Domain":[],"IsSecure":"True","ExpiryDate":"3600"})"), true, {}, 0);
        row("same key twice", QByteArray(R"({"Name":"a","Name":"b"})"), true, "b", 0);
        expiry("fraction", "3600.5", 3600);
        expiry("negative", "-1", -1);
        expiry("beyond 32 bits", "3000000000", 3000000000LL);
        expiry("beyond 64 bits", "1e30", 0);
        expiry("far below", "-1e30", 0);
    }

    void aJarIsReadWholeOrNotAtAll() {
        // added: -1: refused
        const TestKit::Rows row([&](const QByteArray& json, int added) {
            NetworkCookieJar jar;
            QVERIFY(jar.AddCookie(knownCookie()));
            QCOMPARE(WebServicesPrivate::JsonToNetworkCookieJar(json.isEmpty() ? nullptr : json.constData(), jar), added >= 0);
            QCOMPARE(jar.GetCookieCount(), 1 + qMax(added, 0));
            QCOMPARE(NetworkCookieImp::of(jar.GetCookie(0)).name, QByteArray("before"));
        });
        const QByteArray one = "{\"Name\":\"a\"}";
        row("none", "{\"Cookies\":[]}", 0);
        row("one", "{\"Cookies\":[" + one + "]}", 1);
        row("as many as allowed", "{\"Cookies\":[" + (one + ",").repeated(4999) + one + "]}", 5000);
        row("one too many", "{\"Cookies\":[" + (one + ",").repeated(5000) + one + "]}", -1);
        row("empty object", "{}", -1);
        row("no array", "{\"Cookies\":{\"Name\":\"a\"}}", -1);
        row("a good and an empty one", "{\"Cookies\":[" + one + ",{}]}", -1);
        row("a good one and a number", "{\"Cookies\":[" + one + ",5]}", -1);
        row("a null pointer", {}, -1);
    }

    void jarKeepsItsOrder() {
        NetworkCookieJar jar;
        for (const char* const name : {"c", "a", "b", "a"}) {
            NetworkCookie cookie = knownCookie();
            cookie.SetName(name);
            jar.AddCookie(cookie);
        }
        std::string text;
        NetworkCookieJar read;
        QVERIFY(WebServicesPrivate::NetworkCookieJarToJson(jar, text));
        QVERIFY(WebServicesPrivate::JsonToNetworkCookieJar(text.c_str(), read));
        QCOMPARE(NetworkCookieJarImp::of(read).toJson(), NetworkCookieJarImp::of(jar).toJson());
        QCOMPARE(NetworkCookieImp::of(read.GetCookie(0)).name, QByteArray("c"));
    }

    void damagedSpecsAreInvalid() {
        // text: empty: refused
        const TestKit::Rows row([&](const QByteArray& json, const QString& text, bool legacy) {
            OAuth2TokenSpecImp spec;
            QCOMPARE(spec.fromJson(object(json)), !text.isEmpty());
            QCOMPARE(spec.toText(), text.isEmpty() ? QStringLiteral("RT.<none>") : text);
            QCOMPARE(spec.legacy, legacy);
            OAuth2TokenSpecImp again;
            QVERIFY(again.fromJson(spec.toJson()));
            QVERIFY(again.equals(spec));
        });
        row("whole", QByteArray(R"({"type":2,"scope":"b a","legacy":true})"), "JWT.a b", true);
        row("empty", "{}", "", false);
        row("missing keys", QByteArray(R"({"scope":"x"})"), "Invalid.x", false);
        row("wrong types", QByteArray(R"({"type":"2","scope":7,"legacy":1})"), "Invalid.<none>", false);
        row("type out of range", QByteArray(R"({"type":-3})"), "Unknown.<none>", false);
    }

    void tokensAreEncryptedInTheirJsonForm() {
        ReversingCryptor cryptor;
        OAuth2TokenImp token;
        token.token = L"clear-token \u20ac";
        token.spec = OAuth2TokenSpec(JWT, L"data");
        const QJsonObject json = token.toJson(cryptor);
        QVERIFY(!QJsonDocument(json).toJson().contains("clear-token"));
        QCOMPARE(json.keys(), QStringList({"EncryptedOAuth2AccessToken", "OAuth2TokenSpec"}));
        OAuth2TokenImp read;
        QVERIFY(read.fromJson(json, cryptor));
        QVERIFY(read.token == token.token && read.spec == token.spec);
        cryptor.isBroken = true;
        QVERIFY(token.toJson(cryptor).isEmpty());
    }

    void brokenTokensChangeNothing() {
        const TestKit::Rows row([&](const QByteArray& json, bool broken) {
            ReversingCryptor cryptor;
            cryptor.isBroken = broken;
            OAuth2TokenImp token;
            token.token = L"before";
            QVERIFY(!token.fromJson(object(json), cryptor));
            QCOMPARE(token.token, std::wstring(L"before"));
        });
        row("empty", "{}", false);
        row("no spec", QByteArray(R"({"EncryptedOAuth2AccessToken":"YWJj"})"), false);
        row("cannot be decrypted", QByteArray(R"({"OAuth2TokenSpec":{"type":1},"EncryptedOAuth2AccessToken":"YWJj"})"), true);
    }
};

QTEST_APPLESS_MAIN(ValuesJsonTest)
#include "ValuesJsonTest.moc"
