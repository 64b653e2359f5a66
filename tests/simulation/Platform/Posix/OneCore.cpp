#include "simulation/Platform/OneCore.h"

#ifdef __linux__
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
}

} // namespace Velquor::Simulation
