#pragma once

#include "Session/Core/LockedState.h"

#include <optional>

namespace Velquor::WebServices::Internal {

/// Brings the products of a sign-in in the login state file into memory, and removes those in memory that are of no use.
///
/// Thread: any, under the login session lock. Owner: its user's stack. Errors: log lines; a product that cannot be loaded is left
/// out.
class StoredProducts {
public:
    explicit StoredProducts(LockedState& state);

    /// Gives the products of the file's sign-in their tokens, merged with those that they hold.
    void load(const QVector<StoredProduct>& merged, const LoginState& file);

    /// Empties the products that the file's sign-in does not know.
    void clearAllBut(const LoginState& file);

    /// Whether the file lacks a product that this process would write.
    [[nodiscard]] bool isAnyMissing(const LoginState& file) const;

    /// Removes the products of other servers and those that neither have tokens nor are about to get them.
    void deleteInvalid();

private:
    void loadProduct(const StoredProduct& product, QStringList& loadedNames);
    [[nodiscard]] bool isBecomingValid(const ProductLoginSession& session) const;
    /// The other server that the consumer key is configured for; none when it is used on the current server too.
    [[nodiscard]] std::optional<Server> otherServerOf(const QString& productKey) const;

    LockedState& m_state;
    Log::ILogger& m_logger;
};

} // namespace Velquor::WebServices::Internal
