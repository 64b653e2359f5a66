#pragma once

#include <string>

namespace Velquor::Tests {

/// Ends the process in a way that only this system has. Returns when the system has no such end. Thread: any.
void endAsOnlyThisSystemDoes(const std::string& end, int status);

/// Goes on in a forked child, where the system has such; the first process ends with the child's status. Thread: the only one.
void continueInChild();

} // namespace Velquor::Tests
