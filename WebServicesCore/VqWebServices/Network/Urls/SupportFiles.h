#pragma once

#include <QString>
#include <QStringList>

namespace Velquor::WebServices::Internal {

/// The folders in which the library searches for its installed files: the log configuration and the URL files.
/// Thread: any. Owner: the process; the search paths may be set before the library is initialized and outlive it.
namespace SupportFiles {

/// Replaces the search paths by the folders of a text separated by ";": trimmed, cleaned, without duplicates (ignoring case).
void setSearchPaths(const QString& text);

/// The search paths joined with ";".
[[nodiscard]] QString searchPathsText();

/// The library's own folder, then the search paths.
[[nodiscard]] QStringList folders();

/// The full path of the first existing file of that name in `folders()`; empty when there is none.
[[nodiscard]] QString find(const QString& fileName);

} // namespace SupportFiles

} // namespace Velquor::WebServices::Internal
