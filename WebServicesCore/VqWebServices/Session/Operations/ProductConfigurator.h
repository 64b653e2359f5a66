#pragma once

#include "Session/Core/LockedState.h"

namespace Velquor::WebServices::Internal {

/// Gives the products of this process the configurations of their clients, which starts their token work.
///
/// Thread: any, under the login session lock. Owner: its user's stack. Errors: a null result and a log line.
class ProductConfigurator {
public:
    explicit ProductConfigurator(LockedState& state);

    /// The product of a client on the current server, made when it is missing, with the client's settings applied. Null when the
    /// client is not configured for the server.
    ProductSessionPointer configure(const QString& clientKey);

    /// The same for all clients, and checks whether their products need tokens. Does nothing while no user is signed in.
    void configureAll();

private:
    LockedState& m_state;
};

} // namespace Velquor::WebServices::Internal
