#pragma once

#include "TestKit/SessionFixture.h"
#include "TestKit/SilentTokenOwner.h"
#include "TestKit/Soak.h"
#include "Tokens/IRequestFlags.h"
#include "Tokens/OAuth2/OAuth2TokenSlot.h"

#include <QSet>
#include <functional>

namespace Velquor::TestKit {

/// A signed-in product for token workers that live on the test's own thread, under a clock that the test sets. What other
/// processes do, it does when the test says so. Thread: the test's. Owner: the test.
class FakeTokenOwner : public SilentTokenOwner {
public:
    explicit FakeTokenOwner(SessionFixture& fixture)
        : SilentTokenOwner(fixture.services()) {
        WebServices::WebServicesConfiguration made = SessionFixture::configuration("demo-product-0001", "secret");
        made.SetOAuth2ConsumerKey(L"demo-product-0001");
        made.SetOAuth2ConsumerSecret(L"secret");
        m_configuration = std::make_shared<const WebServices::WebServicesConfiguration>(made);
        m_services.now = [this] { return clock; };
        // Real time passes on it too, since the workers wait by it.
        m_services.steadyClock = [this] { return Util::systemSteadyClock() + clock.toMSecsSinceEpoch() * 1000000; };
        m_services.lockFolder = fixture.folder.path();
        m_services.tokenTimeoutMs = 300 * TestKit::slowness;
        held = tokensNamed("token", 3600);
    }

    [[nodiscard]] QByteArray seal(const char* text) const { return m_services.cryptor->encrypt(text); }
    [[nodiscard]] WebServices::Internal::ProductTokens tokensNamed(const char* token, int seconds) const {
        return {seal(token), seal("token-secret"), seal("handle"), clock.addSecs(seconds)};
    }
    /// Another process puts the tokens into the file before the look at it with this number; 1 is the next one.
    void putIntoFile(const WebServices::Internal::ProductTokens& tokens, int look) {
        m_fileTokens = tokens;
        m_looksToNews = look;
    }

    [[nodiscard]] QString productKey() const override { return QStringLiteral("demo-product-0001"); }
    [[nodiscard]] WebServices::Internal::ConfigurationPointer configuration() const override { return m_configuration; }
    [[nodiscard]] WebServices::Internal::ProductTokens tokens() const override { return held; }
    [[nodiscard]] Util::Result<WebServices::Internal::SigningKeys> signingKeys() const override {
        WebServices::Internal::SigningKeys keys = WebServices::Internal::consumerKeys(*m_configuration);
        keys.token = m_services.cryptor->decrypt(held.accessToken);
        keys.tokenSecret = m_services.cryptor->decrypt(held.accessTokenSecret);
        return keys;
    }
    [[nodiscard]] WebServices::Internal::OtherLogin otherLogin() const override {
        return {"Other", "other-product", seal("other-handle")};
    }
    [[nodiscard]] bool isLoggedIn() const override { return loggedIn; }
    [[nodiscard]] bool isLoginExpired() const override { return loginExpired; }
    [[nodiscard]] QString signInId() const override { return loggedIn ? user() + QString::number(signIns) : QString(); }
    [[nodiscard]] bool isOAuth2Enabled() const override { return oauth2Enabled; }
    [[nodiscard]] QDateTime sessionExpiryDate() const override { return clock.addDays(14); }
    [[nodiscard]] WebServices::Internal::FileLook catchUpWithFile(const QString& signInId) override {
        if (onCatchUp)
            onCatchUp();
        if (m_looksToNews > 0 && --m_looksToNews == 0)
            held = m_fileTokens;
        return loggedIn && signInId == this->signInId() ? look : WebServices::Internal::FileLook::SignInGone;
    }
    [[nodiscard]] WebServices::Internal::StoreResult store(const WebServices::Internal::ProductTokens& tokens, const QDateTime&,
                                                           const QString&) override {
        if (storeResult == WebServices::Internal::StoreResult::Stored)
            held = tokens;
        return storeResult;
    }
    [[nodiscard]] WebServices::Internal::StoreResult storeOAuth2(WebServices::Internal::OAuth2TokenSlot& slot,
                                                                 const WebServices::Internal::OAuth2TokenData& token,
                                                                 const QString&) override {
        if (storeResult == WebServices::Internal::StoreResult::Stored)
            slot.replaceToken(token);
        return storeResult;
    }
    void raiseEvent(WebServicesPrivateCore::WebServicesEvent event) override { raised += event; }
    void raiseOAuth2Event(WebServicesPrivateCore::WebServicesEvent event, const WebServices::OAuth2TokenSpec&) override {
        raised += event;
    }
    void forceLogout(const QString& signInId) override { forcedLogouts += signInId == this->signInId() ? 1 : 100; }

    void setTimeout(int milliseconds) { m_services.tokenTimeoutMs = milliseconds; }

    std::function<void()> onCatchUp; ///< What other processes do to the file before each look at it.
    QDateTime clock{QDate(2030, 5, 1), QTime(12, 0), Qt::UTC};
    WebServices::Internal::ProductTokens held;
    WebServices::Internal::FileLook look = WebServices::Internal::FileLook::Read; ///< While the sign-in stands.
    WebServices::Internal::StoreResult storeResult = WebServices::Internal::StoreResult::Stored;
    QVector<WebServicesPrivateCore::WebServicesEvent> raised;
    bool loggedIn = true;
    bool loginExpired = false;
    int signIns = 1; ///< Which sign-in of the user this is.
    bool oauth2Enabled = true;
    int forcedLogouts = 0; ///< Of the present sign-in; one of another counts a hundred.

private:
    WebServices::Internal::ConfigurationPointer m_configuration;
    WebServices::Internal::ProductTokens m_fileTokens;
    int m_looksToNews = 0;
};

/// Flags of which the test says what other processes have set. Thread: any. Owner: the test.
class FakeRequestFlags : public WebServices::Internal::IRequestFlags {
public:
    [[nodiscard]] bool isSetElsewhere(const QString& flag) override { return elsewhere.contains(flag); }
    void set(const QString&) override {}
    [[nodiscard]] bool setUnlessElsewhere(const QString& flag) override { return !elsewhere.contains(flag); }
    void clear(const QString&) override {}

    QSet<QString> elsewhere;
};

} // namespace Velquor::TestKit
