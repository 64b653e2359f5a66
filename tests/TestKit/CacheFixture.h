#pragma once

#include "Caches/CacheClient.h"
#include "Signing/OpenSslCryptoProvider.h"
#include "Signing/VqOAuthHost.h"
#include "TestKit/Files.h"
#include "TestKit/LoopbackHttpServer.h"
#include "TestKit/RecordingLogger.h"
#include "TestKit/SilentTokenOwner.h"

#include <QTemporaryDir>
#include <QThread>
#include <atomic>

namespace Velquor::TestKit {

/// A product as its caches see it, with a sign-in that the test changes as it likes.
///
/// Thread: any for what is atomic, the rest is set before the caches work. Owner: the test.
class CachingProduct : public SilentTokenOwner {
public:
    using SilentTokenOwner::SilentTokenOwner;

    [[nodiscard]] QString productKey() const override { return QStringLiteral("product"); }
    [[nodiscard]] WebServices::Server server() const override { return currentServer; }
    [[nodiscard]] WebServices::Internal::ProductTokens tokens() const override {
        const bool isExpired = tokenExpired;
        return {"t", "s", "h", services().now().addSecs(isExpired ? -1 : 3600)};
    }
    [[nodiscard]] Util::Result<WebServices::Internal::SigningKeys> signingKeys() const override {
        WebServices::Internal::SigningKeys keys;
        keys.consumerKey = Util::SecretBytes::fromText("consumer");
        keys.consumerSecret = Util::SecretBytes::fromText("secret");
        keys.tokenSecret = Util::SecretBytes::fromText("secret");
        keys.token = Util::SecretBytes::fromText("access-token");
        return keys;
    }
    [[nodiscard]] bool isLoggedIn() const override { return loggedIn; }
    [[nodiscard]] QString user() const override { return userId; }

    std::atomic<bool> loggedIn{true};
    std::atomic<bool> tokenExpired{false};
    WebServices::Server currentServer = WebServices::Production;
    QString userId = QStringLiteral("user-1");
};

/// The caches of one product on a thread of their own, as token operations hold them.
class RunningCaches {
public:
    RunningCaches(WebServices::Internal::ITokenOwner& owner, const QString& product)
        : refreshes(std::make_shared<WebServices::Internal::RunState>())
        , door(owner, refreshes, product) {
        door.store()->moveToThread(&m_thread);
        QObject::connect(&m_thread, &QThread::finished, door.store(), &QObject::deleteLater);
        m_thread.start();
    }
    ~RunningCaches() { stop(); }
    Q_DISABLE_COPY_MOVE(RunningCaches)

    void stop() {
        if (!m_thread.isRunning())
            return;
        door.close();
        WebServices::Internal::CacheStore* const store = door.store();
        QMetaObject::invokeMethod(
            store,
            [this, store] {
                store->abort();
                m_thread.exit(0);
            },
            Qt::QueuedConnection);
        m_thread.wait();
    }

    const std::shared_ptr<WebServices::Internal::RunState> refreshes;
    WebServices::Internal::CacheClient door;

private:
    QThread m_thread;
};

/// A scripted web service, a cache file in a folder of its own, and products that use both. Thread: the test's. Owner: the test.
class CacheFixture {
public:
    CacheFixture()
        : logger(std::make_shared<RecordingLogger>())
        , m_urls(logger)
        , owner(services()) {
        setUrls(server.url({}).toString());
    }

    /// Where the web service is from now on.
    void setUrls(const QString& base) {
        m_urls.SetUrlOverrides(WebServices::Production, {{"AccountServerUrl", base},
                                                         {"StorageApiUrl", base},
                                                         {"IdentityAccountFolderEndPoint", userPath},
                                                         {"IdentityEntitlementEndPoint", entitlementPath},
                                                         {"StorageUsageEndPoint", quotaPath}});
    }

    [[nodiscard]] WebServices::Internal::TokenDependencies services() {
        WebServices::Internal::TokenDependencies made;
        made.oauthHost = std::make_shared<OAuth::VqOAuthHost>(std::make_shared<OAuth::OpenSslCryptoProvider>(), nullptr);
        made.urls = &m_urls;
        made.loggers = WebServices::Internal::Loggers::all(logger);
        made.now = [this] { return QDateTime::currentDateTimeUtc().addSecs(clockOffset); };
        made.cacheFile = file();
        return made;
    }

    [[nodiscard]] QString file() const { return m_folder.path() + QStringLiteral("/WebServicesCache.xml"); }
    [[nodiscard]] QByteArray fileContents() const { return readFile(file()); }

    [[nodiscard]] static QByteArray userReply(const QByteArray& name) {
        return "<User><UserName>" + name + "</UserName><Id>" + name + "</Id><Email>" + name
               + "@example.com</Email><Profile><FirstName>" + name + "</FirstName><LastName> L </LastName></Profile></User>";
    }
    void answerUser(const QByteArray& name, const QByteArray& headers = {}) {
        server.setScript(userPath, {TestKit::answer("200 OK", userReply(name), headers)});
    }
    void answerUserWith(const QByteArray& bytes) { server.setScript(userPath, {bytes}); }

    [[nodiscard]] int logged(const QString& text) const { return logger->texts().filter(text).size(); }

    const QString userPath = QStringLiteral("/account");
    const QString entitlementPath = QStringLiteral("/entitlement");
    const QString quotaPath = QStringLiteral("/quota");
    LoopbackHttpServer server;
    std::shared_ptr<RecordingLogger> logger;
    std::atomic<qint64> clockOffset{0}; ///< Seconds that the caches' clock is ahead.

private:
    QTemporaryDir m_folder;
    WebServices::Internal::UrlStore m_urls;

public:
    CachingProduct owner;
};

} // namespace Velquor::TestKit
