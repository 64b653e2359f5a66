#pragma once

#include "Tokens/ITokenOwner.h"

#include <utility>

namespace Velquor::TestKit {

/// A product whose sign-in nothing disturbs, without a file and without other processes; tests override what they are about.
///
/// Thread: any. Owner: the test.
class SilentTokenOwner : public WebServices::ITokenOwner {
public:
    explicit SilentTokenOwner(WebServices::TokenServices services)
        : m_services(std::move(services)) {}

    [[nodiscard]] const WebServices::TokenServices& services() const override { return m_services; }
    [[nodiscard]] WebServices::Server server() const override { return WebServices::Production; }
    [[nodiscard]] WebServices::ConfigurationPointer configuration() const override { return {}; }
    [[nodiscard]] WebServices::OtherLogin otherLogin() const override { return {}; }
    [[nodiscard]] bool isLoggedIn() const override { return true; }
    [[nodiscard]] QString user() const override { return QStringLiteral("user-1"); }
    [[nodiscard]] bool isLoginExpired() const override { return false; }
    [[nodiscard]] bool isLogoutPending() const override { return false; }
    [[nodiscard]] QDateTime sessionExpiryDate() const override { return {}; }
    [[nodiscard]] QString signInMark() const override { return isLoggedIn() ? user() : QString(); }
    [[nodiscard]] bool catchUpWithFile(const QString&) override { return true; }
    [[nodiscard]] WebServices::StoreResult store(const WebServices::ProductTokens&, const QDateTime&, const QString&) override {
        return WebServices::StoreResult::Stored;
    }
    [[nodiscard]] bool isOAuth2Enabled() const override { return false; }
    [[nodiscard]] WebServices::StoreResult storeOAuth2(WebServices::OAuth2Session&, const WebServices::OAuth2TokenData&,
                                                       const QString&) override {
        return WebServices::StoreResult::Stored;
    }
    [[nodiscard]] QRecursiveMutex& productLock() override { return m_lock; }
    void raiseEvent(WebServicesPrivateCore::WebServicesEvent) override {}
    void raiseOAuth2Event(WebServicesPrivateCore::WebServicesEvent, const WebServices::OAuth2TokenSpec&) override {}
    void forceLogout(const QString&) override {}

protected:
    WebServices::TokenServices m_services;

private:
    QRecursiveMutex m_lock;
};

} // namespace Velquor::TestKit
