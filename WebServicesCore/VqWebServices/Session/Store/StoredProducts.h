#pragma once

#include "Session/Core/SessionState.h"

#include <QDomElement>
#include <optional>

namespace Velquor::WebServices::Internal {

/// Brings the products of a sign-in in the login state file into memory, and removes those in memory that are of no use.
///
/// Thread: any, under the login session lock. Owner: its user's stack. Errors: log lines; a product that cannot be loaded is left
/// out.
class StoredProducts {
public:
    explicit StoredProducts(SessionState& state);

    /// Loads every product below a "LoginSession" element.
    void load(const QDomElement& login);

    /// Removes the products of other servers and those that neither have tokens nor are about to get them.
    void deleteInvalid();

private:
    void loadProduct(const QDomElement& product, QStringList& loadedNames);
    [[nodiscard]] static bool isBecomingValid(const ProductLoginSession& session);
    /// The other server that the consumer key is configured for; none when it is used on the current server too.
    [[nodiscard]] std::optional<Server> otherServerOf(const QString& productKey) const;

    SessionState& m_state;
    Log::ILogger& m_logger;
};

} // namespace Velquor::WebServices::Internal
