#pragma once

#include <QtGlobal>

namespace Velquor::WebServices::Internal {

/// How a network operation ended; the numbers are part of the log and of the interfaces above.
enum class OperationResult : qint32 { NotFinished = -1, Success = 0, Failure = 1, Canceled = 2 };

} // namespace Velquor::WebServices::Internal
