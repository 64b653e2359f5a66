#include "../SystemEnds.h"

#include <windows.h>

namespace Velquor::Tests {

void endAsOnlyThisSystemDoes(const std::string& end, int status) {
    if (end == "ExitProcess")
        ExitProcess(static_cast<UINT>(status));
    if (end == "TerminateProcess")
        TerminateProcess(GetCurrentProcess(), static_cast<UINT>(status));
}

void continueInChild() {}

} // namespace Velquor::Tests
