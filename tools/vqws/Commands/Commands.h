#pragma once

#include "ExitCode.h"

namespace Vqws {

class Cancellation;
class CommandLine;
class Output;
class Progress;

/// The objects that a command uses. Thread: the main thread. Owner: main().
struct Context {
    const CommandLine& line;
    const Output& output;
    Cancellation& cancellation;
    Progress& progress;
};

// One function for each command. It prints its errors itself and returns the exit status.

[[nodiscard]] ExitCode runStatus(Context& context);
[[nodiscard]] ExitCode runLogin(Context& context);
[[nodiscard]] ExitCode runLogout(Context& context);
[[nodiscard]] ExitCode runWatch(Context& context);
[[nodiscard]] ExitCode runSign(Context& context);
[[nodiscard]] ExitCode runToken(Context& context);
[[nodiscard]] ExitCode runGet(Context& context);
[[nodiscard]] ExitCode runDoctor(Context& context);
[[nodiscard]] ExitCode runDump(Context& context);
[[nodiscard]] ExitCode runCheckServer(Context& context);
[[nodiscard]] ExitCode runReport(Context& context);

} // namespace Vqws
