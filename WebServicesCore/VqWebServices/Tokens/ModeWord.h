#pragma once

#include <QString>

namespace Velquor::WebServices::Internal {

/// The words for synchronous and asynchronous operations in log texts. Thread: any.
[[nodiscard]] inline QString modeWord(bool synchronous) {
    return synchronous ? QStringLiteral("synchronous") : QStringLiteral("asynchronous");
}
[[nodiscard]] inline QString capitalModeWord(bool synchronous) {
    return synchronous ? QStringLiteral("Synchronous") : QStringLiteral("Asynchronous");
}
[[nodiscard]] inline QString modeAdverb(bool synchronous) {
    return synchronous ? QStringLiteral("synchronously") : QStringLiteral("asynchronously");
}

} // namespace Velquor::WebServices::Internal
