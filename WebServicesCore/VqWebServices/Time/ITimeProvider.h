#pragma once

#include <QtGlobal>
#include <optional>

namespace Velquor::OAuth {

/// A clock that knows better than the system's. Thread: any.
class ITimeProvider {
public:
    virtual ~ITimeProvider() = default;
    /// Seconds since 1970-01-01 UTC; nothing while what knows them does not exist, not yet or no longer.
    [[nodiscard]] virtual std::optional<qint64> correctedTime() const = 0;
};

} // namespace Velquor::OAuth
