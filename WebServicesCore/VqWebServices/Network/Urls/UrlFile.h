#pragma once

#include "VqLog/ILogger.h"

#include <QMap>
#include <QString>

namespace Velquor::WebServices::Internal {

/// Reads the string members of "Configurations.WebServices.Urls" of a URL configuration file (JSON, at most 1 MiB).
/// False, with `urls` unchanged, when the file is missing or is no JSON. Thread: any. Errors: log lines.
[[nodiscard]] bool readUrlFile(const QString& path, QMap<QString, QString>& urls, Log::ILogger& logger);

} // namespace Velquor::WebServices::Internal
