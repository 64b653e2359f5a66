#include "TestKit/Test.h"
#include "Values/CallerText.h"
#include "Values/NetworkCookieImp.h"
#include "Values/NetworkCookieJarImp.h"
#include "Values/OAuth2TokenImp.h"
#include "Values/OAuth2TokenSpecImp.h"
#include "Values/WebServicesConfigurationImp.h"

#include <VqWebServices/NetworkCookieJar.h>

using namespace Velquor::WebServices;
using namespace Velquor::WebServices::Internal;

namespace {

constexpr wchar_t untouched = L'\x7e';

using Change = std::function<void(WebServicesConfiguration&)>;

std::wstring scopeOf(const OAuth2TokenSpec& spec) {
    std::wstring text(static_cast<size_t>(spec.GetScope(nullptr, 0)) + 1, L'?');
    text.resize(static_cast<size_t>(spec.GetScope(text.data(), static_cast<int>(text.size()))));
    return text;
}

WebServicesConfiguration fullConfiguration() {
    WebServicesConfiguration made;
    made.SetConsumerKey(L"key");
    made.SetConsumerSecret(L"secret");
    made.SetSerialNumber(L"serial");
    made.SetOAuth2ConsumerKey(L"oauth2 key");
    made.SetOAuth2ConsumerSecret(L"oauth2 secret");
    made.SetOAuth2AccessTokenScope(L"scope");
    return made;
}

} // namespace

class ValuesTest : public QObject {
    Q_OBJECT

private slots:
    void textsFollowTheBufferRule() {
        // size: -2: a null buffer
        // written: a null text: nothing
        const Velquor::TestKit::Rows row([&](const QString& text, int size, int result, const QString& written) {
            WebServicesConfiguration configuration;
            configuration.SetConsumerKey(text.toStdWString().c_str()); // sealed in memory
            configuration.SetSerialNumber(text.toStdWString().c_str());
            for (const auto getter : {&WebServicesConfiguration::GetConsumerKey, &WebServicesConfiguration::GetSerialNumber}) {
                std::vector<wchar_t> buffer(12, untouched);
                QCOMPARE((configuration.*getter)(size == -2 ? nullptr : buffer.data(), size), result);
                const auto used = written.isNull() ? size_t(0) : static_cast<size_t>(written.size()) + 1;
                // Without a conversion from wide text, which would drop a byte order mark.
                QVERIFY(std::wstring(buffer.data(), used ? used - 1 : 0) == written.toStdWString());
                QVERIFY(!used || buffer[used - 1] == 0);
                QVERIFY(std::all_of(buffer.begin() + static_cast<int>(used), buffer.end(),
                                    [](wchar_t unit) { return unit == untouched; }));
            }
        });
        const QString five = QStringLiteral("h\u00e9llo");
        row("null buffer", five, -2, 5, {});
        row("null buffer, empty text", {}, -2, 0, {});
        row("negative", five, -1, 0, {});
        row("size 0", five, 0, 0, {});
        row("size 0, empty text", {}, 0, 0, {});
        row("empty text", {}, 4, 0, QStringLiteral(""));
        row("size 1", five, 1, 0, QStringLiteral(""));
        row("size 2", five, 2, 1, "h");
        row("as long as the text", five, 5, 4, "h\u00e9ll");
        row("fits", five, 6, 5, five);
        row("room left", five, 9, 5, five);
        row("byte order mark", QStringLiteral("\ufeffa"), 9, 2, QStringLiteral("\ufeffa"));
        row("reversed byte order mark", QStringLiteral("\ufffea"), 9, 2, QStringLiteral("\ufffea"));
    }

    void bytesFollowTheBufferRule() {
        // held: what the first eight bytes hold afterwards
        const Velquor::TestKit::Rows row([&](const QByteArray& value, int size, int result, const QByteArray& held) {
            NetworkCookie cookie;
            cookie.SetName(value.constData());
            cookie.SetValue(value.constData());
            for (const auto getter : {&NetworkCookie::GetName, &NetworkCookie::GetValue}) {
                QByteArray buffer(8, '#');
                QCOMPARE((cookie.*getter)(size == -2 ? nullptr : buffer.data(), size), result);
                QCOMPARE(buffer, held);
            }
        });
        row("null buffer", "abc", -2, 3, "########");
        row("negative", "abc", -1, 0, "########");
        row("size 0", "abc", 0, 0, "########");
        row("empty value", {}, 2, 0, QByteArray("\0#######", 8));
        row("one short", "abc", 2, 2, "ab######");
        row("exact, no terminator", "abc", 3, 3, "abc#####");
        row("room for the terminator", "abc", 4, 3, QByteArray("abc\0####", 8));
        row("no text", "\xff\xc3\x01", 8, 3, QByteArray("\xff\xc3\x01\0####", 8));
    }

    void aTokenIsNeverCut() {
        const Velquor::TestKit::Rows row([&](int size, int result, const QString& held) {
            OAuth2Token token;
            OAuth2TokenImp::of(token).token = L"token";
            std::vector<wchar_t> buffer(8, untouched);
            QCOMPARE(token.GetToken(size == -2 ? nullptr : buffer.data(), size), result);
            QCOMPARE(QString::fromWCharArray(buffer.data(), 8), held);
        });
        row("null buffer", -2, 5, "~~~~~~~~");
        row("size 0", 0, 0, "~~~~~~~~");
        row("size 1", 1, 0, QString(QChar(0)) + QStringLiteral("~~~~~~~"));
        row("as long as the token", 5, 0, QString(QChar(0)) + QStringLiteral("~~~~~~~"));
        row("fits", 6, 5, QStringLiteral("token") + QChar(0) + QStringLiteral("~~"));
    }

    // The sanitizer sees a read beyond these buffers.
    void callerTextsAreBounded() {
        const std::vector<wchar_t> wide(maximumCallerTextLength, L'x');
        const std::vector<char> narrow(maximumCallerTextLength, 'x');
        // What is too long changes nothing.
        WebServicesConfiguration configuration = fullConfiguration();
        configuration.SetConsumerKey(wide.data());
        configuration.SetSerialNumber(wide.data());
        QVERIFY(WebServicesConfigurationImp::of(configuration).equals(WebServicesConfigurationImp::of(fullConfiguration())));
        NetworkCookie cookie;
        cookie.SetValue("kept");
        cookie.SetValue(narrow.data());
        cookie.SetPath(L"kept");
        cookie.SetPath(wide.data());
        QVERIFY(NetworkCookieImp::of(cookie).value == "kept" && NetworkCookieImp::of(cookie).path == "kept");
        OAuth2TokenSpec spec(RT, L"kept");
        QVERIFY(!spec.SetScope(wide.data()));
        QCOMPARE(scopeOf(spec), std::wstring(L"kept"));
        QCOMPARE(OAuth2TokenSpec(JWT, wide.data()).GetType(), InvalidTokenType);
        QCOMPARE(textFromCaller(nullptr), QString());
        const std::wstring longest(maximumCallerTextLength - 1, L'x');
        QCOMPARE(textFromCaller(longest.c_str()).size(), maximumCallerTextLength - 1);
        const std::unique_ptr<wchar_t[]> copy(allocateText("a\u20ac\U0001F511"));
        QCOMPARE(QString::fromWCharArray(copy.get()), QStringLiteral("a\u20ac\U0001F511"));
    }

    void scopesAreNormalised() {
        const Velquor::TestKit::Rows row([&](const QString& scope, const QString& normal) {
            const OAuth2TokenSpec spec(JWT, scope.toStdWString().c_str());
            QCOMPARE(QString::fromStdWString(scopeOf(spec)), normal);
            OAuth2TokenSpec again;
            QVERIFY(again.SetScope(normal.toStdWString().c_str()));
            QCOMPARE(QString::fromStdWString(scopeOf(again)), normal);
        });
        row("empty", {}, {});
        row("blanks only", " \t \n ", {});
        row("one word", "\tdata ", "data");
        row("doubled blank", "profile openid  data", "data openid profile");
        row("leading blank", " data openid profile", "data openid profile");
        row("case does not sort", "b A c", "A b c");
        row("words that differ in case", "a A", "A a");
        row("tab inside is no blank", "b\ta a", "a b\ta");
        row("tab between blanks", "b \t a", "a b");
        row("same word twice stays", "a a", "a a");
    }

    void specsAreEqualWhateverTheOrderOfTheirScope() {
        // equal: to RT "b a"
        const Velquor::TestKit::Rows row([&](int type, const QString& scope, bool legacy, bool equal, const QString& text) {
            const OAuth2TokenSpec reference(RT, L"b a");
            OAuth2TokenSpec spec(static_cast<OAuth2TokenType>(type), scope.toStdWString().c_str());
            OAuth2TokenSpecImp::of(spec).legacy = legacy;
            QCOMPARE(spec == reference, equal);
            QCOMPARE(reference != spec, !equal);
            QCOMPARE(OAuth2TokenSpecImp::of(spec).toText(), text);
        });
        row("order and case", 1, "A B", false, true, "RT.A B");
        row("type", 2, "a b", false, false, "JWT.a b");
        row("legacy", 1, "a b", true, false, "RT.a b");
        row("another word", 1, "a b c", false, false, "RT.a b c");
        row("no scope", 1, "", false, false, "RT.<none>");
        row("invalid type", 0, "a b", false, false, "Invalid.a b");
        row("unknown type", 7, "%2", false, false, "Unknown.%2");
    }

    void everyFieldCountsInAComparison() {
        const Velquor::TestKit::Rows row([](bool equal, const Change& change) {
            const WebServicesConfiguration reference = fullConfiguration();
            WebServicesConfiguration changed(reference);
            const auto& imp = WebServicesConfigurationImp::of(reference);
            QVERIFY(imp.equals(WebServicesConfigurationImp::of(changed)));
            change(changed);
            QCOMPARE(imp.equals(WebServicesConfigurationImp::of(changed)), equal);
            QCOMPARE(WebServicesConfigurationImp::of(changed).equals(imp), equal);
            // A copy carries every field along.
            WebServicesConfiguration copy;
            copy = changed;
            copy = *&copy;
            QVERIFY(WebServicesConfigurationImp::of(copy).equals(WebServicesConfigurationImp::of(changed)));
            QCOMPARE(WebServicesConfigurationImp::of(copy).extraValues, WebServicesConfigurationImp::of(changed).extraValues);
        });
        using C = WebServicesConfiguration;
        row("server", false, [](C& c) { c.SetServer(Staging); });
        row("consumer key", false, [](C& c) { c.SetConsumerKey(L"Key"); });
        row("consumer secret", false, [](C& c) { c.SetConsumerSecret(L"secret "); });
        row("serial number", false, [](C& c) { c.SetSerialNumber(L"Serial"); });
        row("product line code", false, [](C& c) { c.SetProductLineCode(L"x"); });
        row("UPI release", false, [](C& c) { c.SetUPIRelease(L"x"); });
        row("UPI master", false, [](C& c) { c.SetUPIMaster(L"x"); });
        row("UPI build", false, [](C& c) { c.SetUPIBuild(L"x"); });
        row("feature name", false, [](C& c) { c.SetFeatureName(L"x"); });
        row("feature version", false, [](C& c) { c.SetFeatureVersion(L"x"); });
        row("OAuth2 consumer key", false, [](C& c) { c.SetOAuth2ConsumerKey(L""); });
        row("OAuth2 consumer secret", false, [](C& c) { c.SetOAuth2ConsumerSecret(nullptr); });
        row("OAuth2 scope", false, [](C& c) { c.SetOAuth2AccessTokenScope(L"Scope"); });
        row("user id without effect", true, [](C& c) { c.SetCIPUserId(L"x"); });
        row("extra values", true, [](C& c) { WebServicesConfigurationImp::of(c).extraValues.insert("a", "b"); });
        row("derived key asked for", true, [](C& c) { (void)WebServicesConfigurationImp::of(c).derivedKey(); });
    }

    void derivedKeyFollowsTheKey() {
        WebServicesConfiguration configuration = fullConfiguration();
        const QString first = WebServicesConfigurationImp::of(configuration).derivedKey();
        configuration.SetConsumerKey(L"another");
        const QString second = WebServicesConfigurationImp::of(configuration).derivedKey();
        QVERIFY(first != second);
        QVERIFY(!second.contains("another"));
        QCOMPARE(second.size(), 32);
    }

    void copiesShareNothing() {
        OAuth2Token token;
        OAuth2TokenImp::of(token).token = L"first";
        const OAuth2Token tokenCopy(token);
        OAuth2TokenSpec spec = token.GetSpec();
        spec.SetScope(L"changed");
        OAuth2TokenImp::of(token).token = L"second";
        QCOMPARE(std::wstring(tokenCopy.GetToken()), std::wstring(L"first"));
        QVERIFY(token.GetSpec() == tokenCopy.GetSpec() && token != tokenCopy);

        NetworkCookie cookie;
        cookie.SetName("first");
        NetworkCookieJar jar;
        QVERIFY(jar.AddCookie(cookie));
        const NetworkCookieJar jarCopy(jar);
        cookie.SetName("second");
        NetworkCookie out = jar.GetCookie(0);
        out.SetName("third");
        jar.DeleteAll();
        QCOMPARE(NetworkCookieImp::of(jarCopy.GetCookie(0)).name, QByteArray("first"));
        for (const int index : {-1, 1, 1 << 30})
            QCOMPARE(jarCopy.GetCookie(index).GetName(nullptr, 0), 0);
        QCOMPARE(jar.GetCookieCount(), 0);
    }
};

QTEST_APPLESS_MAIN(ValuesTest)
#include "ValuesTest.moc"
