#pragma once

#include "VqLog/ILogger.h"

#include <QMap>
#include <QString>
#include <optional>

namespace Velquor::WebServices::Internal {

/// Reads the string members of "Configurations.WebServices.Urls" of a URL configuration file (JSON, at most 1 MiB).
/// Nothing when the file is missing or is no JSON. Thread: any. Errors: log lines.
[[nodiscard]] std::optional<QMap<QString, QString>> readUrlFile(const QString& path, Log::ILogger& logger);

} // namespace Velquor::WebServices::Internal
