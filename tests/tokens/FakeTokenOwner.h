#pragma once

#include "TestKit/SessionFixture.h"
#include "Tokens/ITokenOwner.h"

namespace Velquor::TestKit {

/// A signed-in product for token workers that live on the test's own thread, under a clock that the test sets. There is no file
/// and no other process. Thread: the test's. Owner: the test.
class FakeTokenOwner : public WebServices::ITokenOwner {
public:
    explicit FakeTokenOwner(SessionFixture& fixture)
        : m_services(fixture.services())
        , m_configuration(std::make_shared<const WebServices::WebServicesConfiguration>(
              SessionFixture::configuration(QStringLiteral("demo-product-0001"), QStringLiteral("secret")))) {
        m_services.now = [this] { return clock; };
        m_services.lockFolder = fixture.folder.path();
        m_services.tokenTimeoutMs = 300;
        const auto seal = [this](const char* text) { return m_services.cryptor->encrypt(text); };
        held = {seal("token"), seal("token-secret"), seal("handle"), clock.addSecs(3600)};
    }

    [[nodiscard]] const WebServices::TokenServices& services() const override { return m_services; }
    [[nodiscard]] QString productKey() const override { return QStringLiteral("demo-product-0001"); }
    [[nodiscard]] WebServices::Server server() const override { return WebServices::Production; }
    [[nodiscard]] WebServices::ConfigurationPointer configuration() const override { return m_configuration; }
    [[nodiscard]] WebServices::ProductTokens tokens() const override { return held; }
    [[nodiscard]] QString signingKeys(WebServices::SigningKeys& keys) const override {
        keys.token = m_services.cryptor->decrypt(held.accessToken);
        keys.tokenSecret = m_services.cryptor->decrypt(held.accessTokenSecret);
        return {};
    }
    [[nodiscard]] WebServices::OtherLogin otherLogin() const override { return {}; }
    [[nodiscard]] bool isLoggedIn() const override { return true; }
    [[nodiscard]] bool isLoginExpired() const override { return false; }
    [[nodiscard]] bool isLogoutPending() const override { return false; }
    [[nodiscard]] QDateTime sessionExpiryDate() const override { return clock.addDays(14); }
    [[nodiscard]] QString signInMark() const override { return QStringLiteral("sign-in"); }
    [[nodiscard]] bool catchUpWithFile(const QString&) override { return true; }
    [[nodiscard]] bool store(const WebServices::ProductTokens& tokens, const QDateTime&, const QString&) override {
        held = tokens;
        return true;
    }
    [[nodiscard]] bool isOAuth2Enabled() const override { return false; }
    [[nodiscard]] bool storeOAuth2(WebServices::OAuth2Session&, const WebServices::OAuth2TokenData&, const QString&) override {
        return false;
    }
    [[nodiscard]] QRecursiveMutex& productLock() override { return m_lock; }
    void raiseEvent(WebServicesPrivateCore::WebServicesEvent) override {}
    void raiseOAuth2Event(WebServicesPrivateCore::WebServicesEvent, const WebServices::OAuth2TokenSpec&) override {}
    void forceLogout() override { ++forcedLogouts; }

    QDateTime clock{QDate(2030, 5, 1), QTime(12, 0), Qt::UTC};
    WebServices::ProductTokens held;
    int forcedLogouts = 0;

private:
    WebServices::TokenServices m_services;
    const WebServices::ConfigurationPointer m_configuration;
    QRecursiveMutex m_lock;
};

/// Flags that nobody sees. Thread: any. Owner: the test.
class NoRequestFlags : public WebServices::IRequestFlags {
public:
    [[nodiscard]] bool isSetElsewhere(const QString&) override { return false; }
    void set(const QString&) override {}
    bool setUnlessElsewhere(const QString&) override { return true; }
    void clear(const QString&) override {}
};

} // namespace Velquor::TestKit
