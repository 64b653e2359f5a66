#pragma once

#include "Session/Core/LockedState.h"
#include "Session/Products/ProductLoginSession.h"
#include "Tokens/ITokenOwner.h"

#include <atomic>

namespace Velquor::WebServices::Internal {

/// The login session as the token workers of a product see it.
///
/// Thread: any; takes the login session lock for a short time where it stores. Owner: the product's session, which ends the
/// workers' thread before it destroys this. Errors: results; log lines where something is stored.
class TokenOwner : public ITokenOwner {
public:
    TokenOwner(SessionState& state, ProductLoginSession& product);

    [[nodiscard]] const TokenDependencies& services() const override { return m_product.services(); }
    [[nodiscard]] QString productKey() const override;
    [[nodiscard]] Server server() const override;
    [[nodiscard]] ConfigurationPointer configuration() const override;
    [[nodiscard]] ProductTokens tokens() const override;
    [[nodiscard]] Util::Result<SigningKeys> signingKeys() const override;
    [[nodiscard]] OtherLogin otherLogin() const override;
    [[nodiscard]] bool isLoggedIn() const override;
    [[nodiscard]] QString user() const override;
    [[nodiscard]] bool isLoginExpired() const override { return m_state.isLoginExpired(); }
    [[nodiscard]] bool isLogoutPending() const override { return m_state.isLogoutPending(); }
    [[nodiscard]] QDateTime sessionExpiryDate() const override { return m_state.basic().sessionExpiryDate; }
    [[nodiscard]] QString signInId() const override { return m_state.signInId(); }
    [[nodiscard]] FileLook catchUpWithFile(const QString& signInId) override;
    [[nodiscard]] StoreResult store(const ProductTokens& tokens, const QDateTime& sessionExpiry,
                                    const QString& signInId) override;
    [[nodiscard]] bool isOAuth2Enabled() const override;
    [[nodiscard]] StoreResult storeOAuth2(OAuth2TokenSlot& slot, const OAuth2TokenData& token, const QString& signInId) override;
    [[nodiscard]] Util::IRecursiveLock& productLock() override;
    void raiseEvent(WebServicesPrivateCore::WebServicesEvent event) override;
    void raiseOAuth2Event(WebServicesPrivateCore::WebServicesEvent event, const OAuth2TokenSpec& spec) override;
    void forceLogout(const QString& signInId) override;

    void stop() override { m_stopping = true; }

private:
    /// Takes the login session lock, if it is free in time. Waits only briefly once the product is going away.
    [[nodiscard]] std::unique_ptr<LockedState> lockState();

    SessionState& m_state;
    ProductLoginSession& m_product;
    std::atomic<bool> m_stopping{false};
};

} // namespace Velquor::WebServices::Internal
