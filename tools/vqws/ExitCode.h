#pragma once

namespace Vqws {

/// How the tool ends. The numbers are part of its interface: scripts look at them.
enum class ExitCode : int {
    Ok = 0,
    Failed = 1,      ///< It did not work; `doctor`: at least one fault.
    Usage = 2,       ///< The command line, or what it names, cannot be used.
    NotSignedIn = 3, ///< Nobody is signed in.
    Cancelled = 4,   ///< Ended by Ctrl-C or by `--timeout`.
};

} // namespace Vqws
