#pragma once

#include "TestKit/SessionFixture.h"
#include "TestKit/SilentTokenOwner.h"
#include "Tokens/IRequestFlags.h"

namespace Velquor::TestKit {

/// A signed-in product for token workers that live on the test's own thread, under a clock that the test sets. There is no file
/// and no other process. Thread: the test's. Owner: the test.
class FakeTokenOwner : public SilentTokenOwner {
public:
    explicit FakeTokenOwner(SessionFixture& fixture)
        : SilentTokenOwner(fixture.services())
        , m_configuration(std::make_shared<const WebServices::WebServicesConfiguration>(
              SessionFixture::configuration(QStringLiteral("demo-product-0001"), QStringLiteral("secret")))) {
        m_services.now = [this] { return clock; };
        m_services.lockFolder = fixture.folder.path();
        m_services.tokenTimeoutMs = 300;
        const auto seal = [this](const char* text) { return m_services.cryptor->encrypt(text); };
        held = {seal("token"), seal("token-secret"), seal("handle"), clock.addSecs(3600)};
    }

    [[nodiscard]] QString productKey() const override { return QStringLiteral("demo-product-0001"); }
    [[nodiscard]] WebServices::ConfigurationPointer configuration() const override { return m_configuration; }
    [[nodiscard]] WebServices::ProductTokens tokens() const override { return held; }
    [[nodiscard]] QString signingKeys(WebServices::SigningKeys& keys) const override {
        keys.token = m_services.cryptor->decrypt(held.accessToken);
        keys.tokenSecret = m_services.cryptor->decrypt(held.accessTokenSecret);
        return {};
    }
    [[nodiscard]] QDateTime sessionExpiryDate() const override { return clock.addDays(14); }
    [[nodiscard]] WebServices::StoreResult store(const WebServices::ProductTokens& tokens, const QDateTime&,
                                                 const QString&) override {
        if (storeResult == WebServices::StoreResult::Stored)
            held = tokens;
        return storeResult;
    }
    void forceLogout(const QString& signInMark) override { forcedLogouts += signInMark == this->signInMark() ? 1 : 100; }

    QDateTime clock{QDate(2030, 5, 1), QTime(12, 0), Qt::UTC};
    WebServices::ProductTokens held;
    WebServices::StoreResult storeResult = WebServices::StoreResult::Stored;
    int forcedLogouts = 0; ///< Of the present sign-in.

private:
    const WebServices::ConfigurationPointer m_configuration;
};

/// Flags that nobody sees. Thread: any. Owner: the test.
class NoRequestFlags : public WebServices::IRequestFlags {
public:
    [[nodiscard]] bool isSetElsewhere(const QString&) override { return false; }
    void set(const QString&) override {}
    [[nodiscard]] bool setUnlessElsewhere(const QString&) override { return true; }
    void clear(const QString&) override {}
};

} // namespace Velquor::TestKit
