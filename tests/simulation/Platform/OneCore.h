#pragma once

namespace Velquor::Simulation {

/// Keeps all threads of this process on one core, which makes passing the baton some times faster, and on one heap. Where the
/// system refuses, the simulation is only slower. Thread: the main thread, before it starts others.
void useOneCore();

} // namespace Velquor::Simulation
