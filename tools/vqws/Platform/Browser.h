#pragma once

#include <QString>

namespace Vqws {

/// Opens an address in the user's browser. False when no browser can be started. Thread: the main thread.
[[nodiscard]] bool openInBrowser(const QString& url);

} // namespace Vqws
