#pragma once

#include "Tokens/ITokenOwner.h"
#include "VqUtil/Threads/RecursiveLock.h"

#include <utility>

namespace Velquor::TestKit {

/// A product whose sign-in nothing disturbs, without a file and without other processes; tests override what they are about.
///
/// Thread: any. Owner: the test.
class SilentTokenOwner : public WebServices::Internal::ITokenOwner {
public:
    explicit SilentTokenOwner(WebServices::Internal::TokenDependencies services)
        : m_services(std::move(services)) {}

    [[nodiscard]] const WebServices::Internal::TokenDependencies& services() const override { return m_services; }
    [[nodiscard]] WebServices::Server server() const override { return WebServices::Production; }
    [[nodiscard]] WebServices::Internal::ConfigurationPointer configuration() const override { return {}; }
    [[nodiscard]] WebServices::Internal::OtherLogin otherLogin() const override { return {}; }
    [[nodiscard]] bool isLoggedIn() const override { return true; }
    [[nodiscard]] QString user() const override { return QStringLiteral("user-1"); }
    [[nodiscard]] bool isLoginExpired() const override { return false; }
    [[nodiscard]] bool isLogoutPending() const override { return false; }
    [[nodiscard]] QDateTime sessionExpiryDate() const override { return {}; }
    [[nodiscard]] QString signInId() const override { return isLoggedIn() ? user() : QString(); }
    [[nodiscard]] WebServices::Internal::FileLook catchUpWithFile(const QString&) override {
        return WebServices::Internal::FileLook::Read;
    }
    [[nodiscard]] WebServices::Internal::StoreResult store(const WebServices::Internal::ProductTokens&, const QDateTime&,
                                                           const QString&) override {
        return WebServices::Internal::StoreResult::Stored;
    }
    [[nodiscard]] bool isOAuth2Enabled() const override { return false; }
    [[nodiscard]] WebServices::Internal::StoreResult
    storeOAuth2(WebServices::Internal::OAuth2TokenSlot&, const WebServices::Internal::OAuth2TokenData&, const QString&) override {
        return WebServices::Internal::StoreResult::Stored;
    }
    [[nodiscard]] Util::IRecursiveLock& productLock() override { return m_lock; }
    void raiseEvent(WebServicesPrivateCore::WebServicesEvent) override {}
    void raiseOAuth2Event(WebServicesPrivateCore::WebServicesEvent, const WebServices::OAuth2TokenSpec&) override {}
    void forceLogout(const QString&) override {}

protected:
    WebServices::Internal::TokenDependencies m_services;

private:
    Util::RecursiveLock m_lock;
};

} // namespace Velquor::TestKit
