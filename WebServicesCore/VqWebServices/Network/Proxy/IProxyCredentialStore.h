#pragma once

#include "Network/Proxy/ProxyLogin.h"
#include "Network/Proxy/RefusedLogins.h"

namespace Velquor::WebServices::Internal {

/// The store of proxy credentials, as the network sees it.
///
/// Thread: any. A caller may hold the store's own locks while it waits for the request of this thread, so no operation may wait
/// for those locks. Owner: shared by the runtime and the network. Errors: an empty login.
class IProxyCredentialStore {
public:
    virtual ~IProxyCredentialStore() = default;

    /// A stored login for the proxy that it has not refused; empty when there is none.
    [[nodiscard]] virtual ProxyLogin find(const ProxyAddress& proxy, const RefusedLogins& refused) = 0;

    /// Stores what the user has entered, for this and other processes.
    virtual void store(const ProxyAddress& proxy, const ProxyLogin& login) = 0;
};

} // namespace Velquor::WebServices::Internal
