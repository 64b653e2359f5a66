#pragma once

#include "Network/Proxy/IProxyCredentialStore.h"
#include "Session/LoginSession.h"

#include <memory>

namespace Velquor::WebServices::Internal {

/// Lets the network find and keep proxy credentials in a login session, as long as there is one. Thread: any. Owner: shared.
class SessionProxyStore final : public IProxyCredentialStore {
public:
    explicit SessionProxyStore(const std::shared_ptr<LoginSession>& session)
        : m_session(session) {}

    [[nodiscard]] ProxyLogin find(const ProxyAddress& proxy, const RefusedLogins& refused) override {
        const std::shared_ptr<LoginSession> session = m_session.lock();
        return session ? session->findProxyLogin(proxy, refused) : ProxyLogin();
    }

    void store(const ProxyAddress& proxy, const ProxyLogin& login) override {
        if (const std::shared_ptr<LoginSession> session = m_session.lock())
            session->keepProxyLogin(proxy, login);
    }

private:
    const std::weak_ptr<LoginSession> m_session;
};

} // namespace Velquor::WebServices::Internal
