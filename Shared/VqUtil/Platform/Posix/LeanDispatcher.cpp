#include "VqUtil/Platform/LeanDispatcher.h"

namespace Velquor::Util {

void useLeanDispatcher(QThread&) {}

} // namespace Velquor::Util
