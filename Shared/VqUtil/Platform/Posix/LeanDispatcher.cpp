#include "VqUtil/Platform/LeanDispatcher.h"

namespace Velquor::Util {

void useLeanDispatcher(QThread&, ThreadServes) {}

} // namespace Velquor::Util
