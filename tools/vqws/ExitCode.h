#pragma once

namespace Vqws {

/// The exit status of the tool. The numbers are part of its interface, since scripts test them.
enum class ExitCode : int {
    Ok = 0,
    Failed = 1,      ///< The command failed; `doctor`: at least one fault.
    Usage = 2,       ///< The command line is wrong, or a file or address in it cannot be used.
    NotSignedIn = 3, ///< Nobody is signed in.
    Cancelled = 4,   ///< Ended by Ctrl-C or by `--timeout`.
};

} // namespace Vqws
