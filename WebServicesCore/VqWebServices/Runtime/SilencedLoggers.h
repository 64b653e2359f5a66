#pragma once

namespace Velquor::WebServices::Internal {

/// Switches all loggers of the process off, those of the host too, and back to the levels that they had.
///
/// Thread: that which sets up the log. Owner: the process.
namespace SilencedLoggers {

/// Every logger that exists now.
void silence();

/// Gives every logger that was silenced the level it had. To be called before a configuration sets the levels that it names.
void restore();

} // namespace SilencedLoggers

} // namespace Velquor::WebServices::Internal
