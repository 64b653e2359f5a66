#include "../SystemEnds.h"

namespace Velquor::Tests {

void endAsOnlyThisSystemDoes(const std::string&, int) {}

void continueInChild() {}

} // namespace Velquor::Tests
