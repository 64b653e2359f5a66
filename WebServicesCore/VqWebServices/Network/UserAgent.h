#pragma once

#include <QString>

namespace Velquor::WebServices::Internal {

/// The User-Agent text of this process, sent with every request that has none of its own; empty before start-up.
/// Thread: any.
[[nodiscard]] QString userAgent();

/// Sets the text at start-up. Control characters are dropped, since the text becomes a header line. Thread: any.
void setUserAgent(const QString& text);

} // namespace Velquor::WebServices::Internal
