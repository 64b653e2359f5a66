#pragma once

#include <QString>

namespace Velquor::WebServices::Internal {

/// The name of the host product: "VelquorSync" for the companion sync program, otherwise the base name of the executable.
[[nodiscard]] QString hostProductName(const QString& executablePath);

/// The HTTP user agent of a host: its name and file version ("0.0.0.0" when it has none), this library and the system.
[[nodiscard]] QString userAgentText(const QString& executablePath, const QString& fileVersion, const QString& systemVersion);

} // namespace Velquor::WebServices::Internal
