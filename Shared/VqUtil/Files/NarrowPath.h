#pragma once

#include <QByteArray>
#include <QString>

namespace Velquor::Util {

/// The name of an existing folder for code that opens files by narrow names, as the log library does, with "/" as separator.
/// Windows: in the code page of the process, or the short name of the folder when its name has no form there.
/// Thread: any. Errors: a name that will not be found, when the system has no short name either.
[[nodiscard]] QByteArray narrowFolderName(const QString& folder);

} // namespace Velquor::Util
