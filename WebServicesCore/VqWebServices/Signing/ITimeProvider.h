#pragma once

#include <QtGlobal>

namespace Velquor::OAuth {

/// A clock that knows better than the system's. Thread: any.
class ITimeProvider {
public:
    virtual ~ITimeProvider() = default;
    /// Seconds since 1970-01-01 UTC.
    [[nodiscard]] virtual qint64 correctedTime() const = 0;
};

} // namespace Velquor::OAuth
