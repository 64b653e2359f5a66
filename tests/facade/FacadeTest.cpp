// The exported facades as a product uses and misuses them, through the shared library.

#include "TestKit/AccountServiceProcess.h"
#include "TestKit/RecordingObserver.h"
#include "TestKit/Test.h"
#include "facade/RandomRequests.h"

#include <QNetworkProxy>
#include <VqWebServices/IWebServicesManager.h>
#include <VqWebServices/WebServicesManager.h>
#include <VqWebServices/WebServicesManagerEx.h>
#include <VqWebServices/WebServicesPrivate.h>
#include <array>

using namespace Velquor;
using namespace Velquor::WebServices;

namespace {

constexpr int urlSize = 8192;
thread_local bool hasNoMemory = false; // For arrays, of which the texts for the caller are.
constexpr wchar_t canary = 0x7e;

using Text = std::unique_ptr<wchar_t[]>;

WebServicesConfiguration configuration(const wchar_t* key = L"demo-product-0001", const wchar_t* secret = L"demo-secret-0001") {
    WebServicesConfiguration made;
    made.SetConsumerKey(key);
    made.SetConsumerSecret(secret);
    return made;
}

// The test of the tables looks at every operation; these are the ones that a product calls most.
void expectFailures(WebServicesManager& manager) {
    wchar_t buffer[16] = {canary};
    int status = -1;
    LoginErrorEx error = LoginErrorEx::None;
    QVERIFY(!manager.SetConfiguration(configuration()));
    QVERIFY(!manager.InitiateLogin(nullptr, buffer, 16, error, status));
    QCOMPARE(error, LoginErrorEx::NotReady);
    QCOMPARE(status, 0);
    QVERIFY(!Text(manager.SignRequest(L"https://example.com/", nullptr, 0, HttpMethod::Get, ParsingMode::AuthorizationHeader,
                                      nullptr, nullptr)));
    QVERIFY(!WebServicesPrivate::IsOAuth2TokenRefreshTimerActive());
    QVERIFY(!WebServicesPrivate::IsTokenRefreshTimerActive());
    QVERIFY(!WebServicesPrivate::SetOAuth2TokenRefreshRetrySchedule("key", nullptr, {}));
}

WebServicesConfiguration oauth2Configuration() {
    WebServicesConfiguration made = configuration();
    made.SetOAuth2ConsumerKey(L"demo-product-0001");
    made.SetOAuth2ConsumerSecret(L"demo-secret-0001");
    return made;
}

// Signs with the client's own key, and a token of the caller's.
QByteArray signedByFacade(WebServicesManager& manager, TestKit::RandomRequest& request) {
    static const QByteArrayList methods{"GET", "POST", "PUT", "DELETE", "HEAD", "OPTIONS", "TRACE", "PROPFIND"};
    request.consumerSecret = "demo-secret-0001";
    request.token = 't' + request.token;
    const auto wide = [](const QByteArray& text) { return TestKit::decoded(text).toStdWString(); };
    std::vector<std::wstring> texts;
    for (const auto& field : qAsConst(request.parameters)) {
        texts.push_back(wide(field.first));
        texts.push_back(wide(field.second));
    }
    std::vector<RequestParam> params;
    for (size_t index = 0; index < texts.size(); index += 2)
        params.push_back({texts[index].c_str(), texts[index + 1].c_str()});
    ParsingMode mode = request.form == TestKit::RandomRequest::FormBody ? ParsingMode::FormBody
                       : request.form == TestKit::RandomRequest::Header ? ParsingMode::AuthorizationHeader
                       : params.empty()                                 ? ParsingMode::SignedUrl
                                                                        : ParsingMode::QueryString;
    const Text made(manager.SignRequest(wide(request.url).c_str(), params.data(), int(params.size()),
                                        static_cast<HttpMethod>(methods.indexOf(request.method)), mode,
                                        wide(request.token).c_str(), wide(request.tokenSecret).c_str()));
    QByteArray text = made ? QString::fromWCharArray(made.get()).toLatin1() : QByteArray();
    if (mode == ParsingMode::AuthorizationHeader)
        text.remove(0, int(qstrlen("OAuth ")));
    if (mode != ParsingMode::SignedUrl)
        return text;
    // The rest of the signed URL must be the given one.
    const QByteArray given = request.url.split('#').first();
    const int end = text.contains('#') ? text.indexOf('#') : text.size();
    const int start = text.lastIndexOf("oauth_consumer_key=", end);
    return text.left(start - 1) == given && text.mid(end) == request.url.mid(given.size()) ? text.mid(start, end - start)
                                                                                           : QByteArray();
}

} // namespace

void* operator new[](std::size_t size) {
    if (hasNoMemory)
        throw std::bad_alloc();
    return ::operator new(size);
}

void operator delete[](void* memory) noexcept {
    ::operator delete(memory);
}

void operator delete[](void* memory, std::size_t) noexcept {
    ::operator delete(memory);
}

class FacadeTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() {
        // The log of an earlier run, but not that of the program that runs a copy of this one.
        if (!WebServicesPrivate::IsHostSSOServer())
            QFile::remove(WebServicesPrivate::GetLogFile());
        QVERIFY(!WebServicesManager::GetInstance());
        QVERIFY(!WebServicesManagerEx::GetInstanceEx());
        QVERIFY(!GetIWebServicesManager());
        QVERIFY(!WebServicesManager::IsInitialized());
        QVERIFY(m_service.start());
        WebServicesManager::SetSupportFileSearchPaths(m_service.folder().toStdWString().c_str());
        QVERIFY(!WebServicesPrivate::GetUrl(QStringLiteral("AccountServerUrl")).isEmpty());
    }

    void cleanup() {
        for (int count = 0; WebServicesManager::IsInitialized() && count < 10; ++count)
            WebServicesManager::Uninitialize();
    }

    void initializationsAreCounted() {
        QVERIFY(WebServicesManager::Initialize());
        WebServicesManager* const first = WebServicesManager::GetInstance();
        QVERIFY(WebServicesManager::Initialize());
        QCOMPARE(WebServicesManager::GetInstance(), first);
        QVERIFY(WebServicesManager::Uninitialize());
        QVERIFY(WebServicesManager::IsInitialized());
        QVERIFY(WebServicesManager::Uninitialize());
        QVERIFY(!WebServicesManager::GetInstance());
        QVERIFY(WebServicesManager::Uninitialize());
        QVERIFY(!WebServicesManager::IsInitialized());
        QVERIFY(WebServicesManager::Initialize());
        QVERIFY(WebServicesManager::GetInstance());
        // The address was known before.
        QVERIFY(!TestKit::readFile(WebServicesPrivate::GetLogFile()).contains("GetUrl failed"));
    }

    // The second call finds the first one at work, and has the whole library afterwards.
    void aSecondInitializeWaitsForTheFirst() {
        for (int round = 0; round < 20; ++round) {
            bool hasFacade = false;
            std::thread second([&hasFacade] {
                const QDeadlineTimer limit(10000);
                while (!WebServicesManager::IsInitialized() && !limit.hasExpired())
                    std::this_thread::yield();
                hasFacade = WebServicesManager::Initialize() && WebServicesManager::GetInstance();
            });
            const bool isStarted = WebServicesManager::Initialize();
            second.join();
            QVERIFY(isStarted && hasFacade);
            QVERIFY(WebServicesPrivate::GetProcessStateDump().filter("Shared memory size (bytes)").size() == 1);
            cleanup();
        }
    }

    // Its clients are those of other processes. This runs in a copy of this program, since the name of the program decides.
    void theSingleSignOnServerIsNoClientItself() {
        if (!WebServicesPrivate::IsHostSSOServer()) {
            const QFileInfo own(QCoreApplication::applicationFilePath());
            const QString copy = own.path() + QStringLiteral("/VqSSOServer") + own.fileName().mid(own.completeBaseName().size());
            QFile::remove(copy);
            QVERIFY(QFile::copy(own.filePath(), copy));
            const int code = QProcess::execute(copy, {QLatin1String(QTest::currentTestFunction())});
            QFile::remove(copy);
            QCOMPARE(code, 0);
            return;
        }
        QVERIFY(WebServicesManager::Initialize());
        QVERIFY(!WebServicesManager::GetInstance()->SetConfiguration(configuration()));
        QVERIFY(WebServicesManagerEx::GetInstanceEx()->SetConfiguration("4711", configuration()));
    }

    void keepsProxyCredentialsAndDialogTexts() {
        const QNetworkProxy before = QNetworkProxy::applicationProxy();
        WebServicesManager::Initialize();
        QVERIFY(WebServicesManager::GetInstance()->SetProxyAuthentication(L"proxy.test", 8080, L"somebody", L"s3cret"));
        WebServicesManager::Uninitialize();
        WebServicesManager::Initialize();
        WebServicesManager& manager = *WebServicesManager::GetInstance();
        QVERIFY(manager.HasProxyInfo());
        QCOMPARE(QNetworkProxy::applicationProxy().hostName(), QStringLiteral("proxy.test"));
        wchar_t user[5] = {canary};
        wchar_t secret[8] = {canary};
        QVERIFY(manager.GetProxyAuthentication(L"proxy.test", -1, user, 5, secret, 8));
        QCOMPARE(QString::fromWCharArray(user), QStringLiteral("some"));
        QCOMPARE(QString::fromWCharArray(secret), QStringLiteral("s3cret"));
        user[0] = canary;
        QVERIFY(!manager.GetProxyAuthentication(L"proxy.test", 1, user, 5, secret, 8));
        QVERIFY(TestKit::readFile(WebServicesPrivate::GetLogFile()).contains("failed. No user is stored for this proxy."));
        QVERIFY(!manager.GetProxyAuthentication(L"proxy.test", -1, user, 0, secret, 8));
        QVERIFY(!manager.GetProxyAuthentication(L"proxy.test", -1, user, 5, nullptr, 8));
        QVERIFY(!manager.GetProxyAuthentication(nullptr, -1, user, 5, secret, 8));
        QCOMPARE(user[0], canary);
        QVERIFY(!manager.SetProxyAuthentication(nullptr, 8080, nullptr, nullptr));
        QVERIFY(!manager.HasProxyAuthentication(nullptr, 8080));
        QVERIFY(manager.ClearProxyInfo());
        QVERIFY(!manager.HasProxyInfo());
        QNetworkProxy::setApplicationProxy(before);
        wchar_t caption[26] = {canary};
        manager.SetProxyAuthenticationDialogText(L"Our caption", nullptr);
        QVERIFY(manager.GetProxyAuthenticationDialogText(caption, 26, user, 5));
        QCOMPARE(QString::fromWCharArray(caption), QStringLiteral("Our caption"));
        QVERIFY(!manager.GetProxyAuthenticationDialogText(nullptr, 26, user, 5));
        WebServicesManager::Uninitialize();
        WebServicesManager::Initialize();
        QVERIFY(manager.GetProxyAuthenticationDialogText(caption, 26, user, 5));
        QCOMPARE(QString::fromWCharArray(caption), QStringLiteral("Authenticate Proxy Server"));
    }

    void takesHostileArguments() {
        WebServicesManager::Initialize();
        WebServicesManager& manager = *WebServicesManager::GetInstance();
        QVERIFY(!manager.SetConfiguration(WebServicesConfiguration()));
        QVERIFY(manager.SetConfiguration(configuration()));
        QVERIFY(manager.RestoreLogin());
        int status = -1;
        LoginErrorEx error = LoginErrorEx::None;
        QVERIFY(!manager.InitiateLogin(nullptr, nullptr, 10, error, status));
        QCOMPARE(error, LoginErrorEx::BadArgument);
        const std::wstring huge(2000000, L'x');
        const auto isSigned = [&manager](const wchar_t* url, const RequestParam* params, int count,
                                         HttpMethod method = HttpMethod::Get, ParsingMode mode = ParsingMode::QueryString) {
            return Text(manager.SignRequest(url, params, count, method, mode, nullptr, nullptr)) != nullptr;
        };
        const wchar_t* const good = L"https://example.com/";
        for (const wchar_t* const url :
             {static_cast<const wchar_t*>(nullptr), L"", L"no url", L"ftp://example.com/", L"https://", huge.c_str()})
            QVERIFY(!isSigned(url, nullptr, 0));
        const RequestParam nameless{nullptr, L"x"};
        QVERIFY(!isSigned(good, nullptr, 5) && !isSigned(good, &nameless, 1) && !isSigned(good, &nameless, -1));
        QVERIFY(!isSigned(good, nullptr, 0, static_cast<HttpMethod>(20)));
        QVERIFY(!isSigned(good, nullptr, 0, HttpMethod::Get, static_cast<ParsingMode>(4)));
        WebServicesManager::SetSupportFileSearchPaths(nullptr);
        QCOMPARE(WebServicesManager::GetSupportFileSearchPaths(nullptr, 0), 0);
        WebServicesManager::SetSupportFileSearchPaths(m_service.folder().toStdWString().c_str());
        QVERIFY(!manager.SetServer(static_cast<Server>(7)));
        WebServicesManagerEx& keyed = *WebServicesManagerEx::GetInstanceEx();
        QVERIFY(!keyed.SetConfiguration(QString(), configuration()));
    }

    // Both facades, one session: signed in through one, seen through the other, the interface and another thread.
    void signsInThroughBothFacades() {
        WebServicesManager::Initialize();
        WebServicesManager& manager = *WebServicesManager::GetInstance();
        signIn(manager);
        QVERIFY(WebServicesPrivate::Equals(manager.GetConfiguration(), oauth2Configuration()));
        QVERIFY(GetIWebServicesManager()->GetLoginExpiryDate() > 1700000000U);
        WebServicesManagerEx& keyed = *WebServicesManagerEx::GetInstanceEx();
        const auto key = QStringLiteral("my-key");
        QVERIFY(keyed.SetConfiguration(key, configuration()));
        std::thread worker([&keyed, &key] {
            QVERIFY(keyed.IsLoggedIn(key));
            const Text header(keyed.SignRequest(key, L"https://example.com/?a=b", nullptr, 0, HttpMethod::Get,
                                                ParsingMode::AuthorizationHeader, nullptr, nullptr));
            QVERIFY(header && std::wstring(header.get()).rfind(L"OAuth oauth_consumer_key=\"demo-product-0001\"", 0) == 0);
        });
        worker.join();
        const RequestParam params[] = {{L"x", L"1 & 2"}};
        const Text signedUrl(manager.SignRequest(L"https://example.com/p?a=b#end", params, 1, HttpMethod::Get,
                                                 ParsingMode::SignedUrl, nullptr, nullptr));
        const QString text = QString::fromWCharArray(signedUrl.get());
        QVERIFY2(text.startsWith("https://example.com/p?a=b&x=1%20%26%202&oauth_") && text.endsWith("#end"), qPrintable(text));
        // Every library would encode these in its own way, so only a whole URL to be sent is made of them.
        for (const wchar_t* const url : {L"https://example.com/a b", L"https://example.com/\x00e4", L"https://example.com/%4"})
            QVERIFY(
                !Text(manager.SignRequest(url, nullptr, 0, HttpMethod::Get, ParsingMode::AuthorizationHeader, nullptr, nullptr)));
        const Text encoded(manager.SignUrlForBrowser(L"https://example.com/\x00e4", true));
        QVERIFY(encoded && std::wstring(encoded.get()).rfind(L"https://example.com/%C3%A4?oauth_", 0) == 0);
        // What is too long is refused, not sent as an empty text.
        const std::wstring huge(1048576, L'x');
        const RequestParam tooLong{L"x", huge.c_str()};
        QVERIFY(!Text(manager.SignRequest(L"https://example.com/p", &tooLong, 1, HttpMethod::Post, ParsingMode::FormBody, nullptr,
                                          nullptr)));
        QCOMPARE(manager.GetServiceEntitlement(huge.c_str()), ServiceEntitlement::NoLoginSession);
        WebServicesManager::SetSupportFileSearchPaths(huge.c_str());
        QVERIFY(WebServicesManager::GetSupportFileSearchPaths(nullptr, 0) > 0);
        oauth2Configuration().SetFeatureName(huge.c_str());
        const QByteArray log = TestKit::readFile(WebServicesPrivate::GetLogFile());
        for (const char* const operation :
             {"SignRequest", "GetServiceEntitlement", "SetSupportFileSearchPaths", "SetFeatureName"})
            QVERIFY2(log.contains(operation + QByteArray(" failed. A text is longer than 1048575 units")), operation);
        wchar_t* info = nullptr;
        QVERIFY(manager.GetUserInfo(info));
        delete[] info;
        hasNoMemory = true;
        // Where the library has an allocator of its own, this test cannot take its memory.
        const Text url(manager.SignUrlForBrowser(L"https://example.com/", false));
        const bool isShort = !url;
        const bool hasInfo = isShort && manager.GetUserInfo(info);
        hasNoMemory = false;
        QVERIFY(!hasInfo);
        QVERIFY(manager.Logout());
        QVERIFY(!keyed.IsLoggedIn(key));
        QCOMPARE(manager.GetAccessToken(nullptr, 0), 0);
    }

    // The URL goes to the server as the host gave it, whatever its escapes look like.
    void anotherLibraryAcceptsEverySignedRequest() {
        WebServicesManager::Initialize();
        WebServicesManager& manager = *WebServicesManager::GetInstance();
        signIn(manager);
        const QByteArray said = TestKit::RandomRequests([&manager](TestKit::RandomRequest& request) {
                                    return signedByFacade(manager, request);
                                }).judged();
        if (said.isEmpty())
            QSKIP("Needs Python and oauthlib");
        QCOMPARE(said, QByteArray("10000 requests, 0 differences"));
    }

    // Signing is the only call here: no other operation may have read the file before it.
    void signsNothingForAUserWhomAnotherProcessSignedOut() {
        WebServicesManager::Initialize();
        WebServicesManager& manager = *WebServicesManager::GetInstance();
        signIn(manager);
        const auto isSigned = [&manager] {
            return Text(manager.SignRequest(L"https://example.com/", nullptr, 0, HttpMethod::Get,
                                            ParsingMode::AuthorizationHeader, nullptr, nullptr))
                   != nullptr;
        };
        QVERIFY(isSigned());
        std::array<wchar_t, urlSize> path{};
        QVERIFY(manager.GetLoginStateFile(path.data(), urlSize) > 0);
        const QString date = QDateTime::currentDateTimeUtc().addSecs(1).toString(Qt::ISODate);
        QFile file(QString::fromWCharArray(path.data()));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(QStringLiteral("<WebServices><Settings LogoutDate=\"%1\"/></WebServices>").arg(date).toUtf8());
        file.close();
        QVERIFY(!isSigned());
    }

    void initializesWithOAuth2() {
        using Initialize = std::function<bool()>;
        const TestKit::Rows row(this, [](bool enabled, const Initialize& initialize) {
            QVERIFY(initialize());
            QCOMPARE(WebServicesManager::GetInstance()->IsOAuth2Enabled(), enabled);
            // A later user of the library changes nothing.
            QVERIFY(WebServicesManager::Initialize(!enabled));
            QCOMPARE(WebServicesManager::GetInstance()->IsOAuth2Enabled(), enabled);
        });
        row("without", false, [] { return WebServicesManager::Initialize(); });
        row("false", false, [] { return WebServicesManager::Initialize(false); });
        row("true", true, [] { return WebServicesManager::Initialize(true); });
        row("false, true", false, [] { return WebServicesManager::Initialize(false, true); });
        row("true, false", true, [] { return WebServicesManager::Initialize(true, false); });
        row("a spec", true, [] { return WebServicesManager::Initialize(OAuth2TokenSpec(JWT, L"a")); });
    }

    void oauth2TokensThroughBothFacades() {
        WebServicesManager::Initialize(true);
        WebServicesManager& manager = *WebServicesManager::GetInstance();
        signIn(manager);
        QTRY_VERIFY(WebServicesPrivate::IsOAuth2TokenRefreshTimerActive());
        QTRY_VERIFY(WebServicesPrivate::IsTokenRefreshTimerActive());
        // Another client of the same product, by its key, with another kind of token.
        WebServicesManagerEx& keyed = *WebServicesManagerEx::GetInstanceEx();
        const auto key = QStringLiteral("my-key");
        const OAuth2TokenSpec spec(JWT, L"b a");
        OAuth2Token token;
        QVERIFY(keyed.SetConfiguration(key, oauth2Configuration()));
        QVERIFY(!keyed.GetOAuth2AccessToken(token, key, &spec, true));
        QVERIFY(keyed.EnableOAuth2(key, spec));
        QVERIFY(keyed.GetOAuth2AccessToken(token, key, nullptr, true));
        QCOMPARE(token.GetSpec().GetType(), JWT);
        QCOMPARE(std::wstring(token.GetToken()).find(L'.') != std::wstring::npos, true);
        QVERIFY(!manager.IsOAuth2TokenAvailable(OAuth2TokenSpec(JWT, L"c")));
        // The text form is for the older kind of token only.
        QVERIFY(manager.DisableOAuth2());
        QVERIFY(manager.EnableOAuth2(spec));
        QVERIFY(manager.GetOAuth2AccessToken(spec, token, true));
        QCOMPARE(manager.GetOAuth2AccessToken(nullptr, 0, true), 0);
        QVERIFY(keyed.EnableOAuth2(key, false));
        QVERIFY(!keyed.IsOAuth2Enabled(key));
        QVERIFY(manager.IsOAuth2TokenAvailable());
        QVERIFY(manager.Logout());
        QVERIFY(!manager.GetOAuth2AccessToken(spec, token, true));
    }

    void setsRetrySchedules() {
        const StdUtil::RetrySchedule standard = WebServicesPrivate::GetActiveOAuth2TokenRefreshRetrySchedule();
        QCOMPARE(standard.maximumPeriod, 172800000);
        const StdUtil::RetrySchedule own{0, {{1000, 1000}}};
        WebServicesManager::Initialize(true);
        WebServicesManager::GetInstance()->SetConfiguration(oauth2Configuration());
        const OAuth2TokenSpec spec(JWT, L"");
        QVERIFY(WebServicesPrivate::SetOAuth2TokenRefreshRetrySchedule("demo-product-0001", nullptr, own));
        QVERIFY(WebServicesPrivate::GetActiveOAuth2TokenRefreshRetrySchedule() == own);
        QVERIFY(WebServicesPrivate::GetActiveOAuth2TokenRefreshRetrySchedule("demo-product-0001", &spec) == standard);
        QVERIFY(!WebServicesPrivate::SetOAuth2TokenRefreshRetrySchedule({-1, {}}));
        QVERIFY(WebServicesPrivate::SetOAuth2TokenRefreshRetrySchedule(standard));
        QVERIFY(WebServicesPrivate::GetActiveOAuth2TokenRefreshRetrySchedule() == standard);
    }

    void observersAreCalledOnTheMainThread() {
        WebServicesManager::Initialize();
        WebServicesManager& manager = *WebServicesManager::GetInstance();
        TestKit::RecordingObserver<> observer;
        std::thread::id called;
        observer.reaction = [&called] { called = std::this_thread::get_id(); };
        manager.AddObserver(&observer);
        manager.SetConfiguration(configuration());
        std::thread worker([&manager] { QVERIFY(manager.RestoreLogin()); });
        worker.join();
        QCOMPARE(called, std::thread::id());
        bool isServed = true;
        std::thread([&isServed] { isServed = WebServicesManager::DispatchEvent(); }).join();
        QVERIFY(!isServed);
        QVERIFY(WebServicesManager::DispatchEvent());
        QCOMPARE(called, std::this_thread::get_id());
        manager.RemoveObserver(&observer);
    }

    void anObserverMayUninitialize() {
        WebServicesManager::Initialize();
        WebServicesManager& manager = *WebServicesManager::GetInstance();
        TestKit::RecordingObserver<> observer;
        observer.reaction = [&manager] {
            WebServicesManager::Uninitialize();
            expectFailures(manager);
        };
        manager.AddObserver(&observer);
        manager.SetConfiguration(configuration());
        QVERIFY(manager.RestoreLogin());
        QVERIFY(!WebServicesManager::IsInitialized());
        QVERIFY(
            TestKit::readFile(WebServicesPrivate::GetLogFile())
                .contains(
                    "SignRequest failed while signing url https://example.com/: Module not initialized or already uninitialized."));
    }

private:
    void signIn(WebServicesManager& manager) {
        QVERIFY(manager.SetConfiguration(oauth2Configuration()));
        QVERIFY(manager.RestoreLogin());
        std::array<wchar_t, urlSize> url{};
        QVERIFY(manager.InitiateLogin(url.data(), urlSize));
        QVERIFY(m_service.approve(QString::fromWCharArray(url.data())));
        QVERIFY(manager.CompleteLogin());
    }

    TestKit::AccountServiceProcess m_service;
};

QTEST_GUILESS_MAIN(FacadeTest)
#include "FacadeTest.moc"
