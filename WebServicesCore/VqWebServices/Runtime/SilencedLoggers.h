#pragma once

namespace Velquor::WebServices::Internal {

/// Switches off all loggers of the process, including those of the host, and restores their levels.
///
/// Thread: the one that sets up the log. Owner: the process.
namespace SilencedLoggers {

/// Switches off every existing logger.
void silence();

/// Restores the levels of the silenced loggers. Call it before a configuration is applied: a configuration sets only the levels
/// that it names.
void restore();

} // namespace SilencedLoggers

} // namespace Velquor::WebServices::Internal
