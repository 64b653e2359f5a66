#pragma once

namespace Velquor::WebServices::Internal {

/// Writes who logs here: the library, its host, the system and how the network is reached. Thread: any.
void writeLogBanner();

} // namespace Velquor::WebServices::Internal
