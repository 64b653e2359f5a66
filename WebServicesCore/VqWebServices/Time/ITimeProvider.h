#pragma once

#include <QtGlobal>
#include <optional>

namespace Velquor::OAuth {

/// A clock that is more accurate than the system's. Thread: any.
class ITimeProvider {
public:
    virtual ~ITimeProvider() = default;
    /// Seconds since 1970-01-01 UTC; nothing before the service has started and after it has stopped.
    [[nodiscard]] virtual std::optional<qint64> correctedTime() const = 0;
};

} // namespace Velquor::OAuth
