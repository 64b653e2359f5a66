#pragma once

#include <QByteArray>
#include <QString>

namespace Velquor::Util {

/// The name of an existing folder as a narrow string with "/" as separator, for code such as the log library.
/// Windows: in the code page of the process. When that cannot express the name, the short name of the folder.
/// Thread: any. Errors: when there is no short name either, a name that cannot be opened.
[[nodiscard]] QByteArray narrowFolderName(const QString& folder);

} // namespace Velquor::Util
