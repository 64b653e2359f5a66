#include "simulation/Platform/OneCore.h"

#include <windows.h>

namespace Velquor::Simulation {

void useOneCore() {
    (void)SetProcessAffinityMask(GetCurrentProcess(), DWORD_PTR(1) << GetCurrentProcessorNumber());
}

} // namespace Velquor::Simulation
