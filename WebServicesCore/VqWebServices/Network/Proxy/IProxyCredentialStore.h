#pragma once

#include "Network/Proxy/ProxyLogin.h"
#include "Network/Proxy/RefusedLogins.h"

namespace Velquor::WebServices::Internal {

/// Where proxy credentials are kept, as the network sees it.
///
/// Thread: any, also one whose request somebody waits for with the store's own locks held: no operation may wait for those.
/// Owner: shared by the runtime and the network. Errors: an empty login.
class IProxyCredentialStore {
public:
    virtual ~IProxyCredentialStore() = default;

    /// A stored login for the proxy that it has not refused; empty when there is none.
    [[nodiscard]] virtual ProxyLogin find(const ProxyAddress& proxy, const RefusedLogins& refused) = 0;

    /// Keeps what the user has entered, for this process and for others.
    virtual void store(const ProxyAddress& proxy, const ProxyLogin& login) = 0;
};

} // namespace Velquor::WebServices::Internal
