#include "simulation/Platform/OneCore.h"

#ifdef __linux__
#include <malloc.h>
#include <sched.h>
#endif

namespace Velquor::Simulation {

void useOneCore() {
#ifdef __linux__
    cpu_set_t cores;
    CPU_ZERO(&cores);
    CPU_SET(unsigned(sched_getcpu()), &cores);
    (void)sched_setaffinity(0, sizeof(cores), &cores);
#endif
#ifdef __GLIBC__
    // What one thread allocates another one frees, and only one of them runs.
    (void)mallopt(M_ARENA_MAX, 1);
#endif
}

} // namespace Velquor::Simulation
