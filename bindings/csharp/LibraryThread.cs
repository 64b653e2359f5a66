using System;
using System.Runtime.InteropServices;

namespace Velquor.WebServices {

/// <summary>The threads of the library that have called managed code. Some stay as long as the process, and Mono waits at its end for every
/// thread that it has seen, without a way to say otherwise. So there the process ends here. Other runtimes do not wait.</summary>
internal static class LibraryThread {
    private static readonly bool s_isMono = Type.GetType("Mono.Runtime") != null;
    private static volatile bool s_hasEntered;

    /// <summary>Called on such a thread, in each call.</summary>
    internal static void Enter() => s_hasEntered = true;

    /// <summary>Called at the end of the process, when the library has stopped.</summary>
    internal static void EndProcess() {
        if (!s_isMono || !s_hasEntered)
            return;
        Console.Out.Flush();
        Console.Error.Flush();
        _exit(Environment.ExitCode);
    }

    [DllImport("libc.so.6")] private static extern void _exit(int status);
}

}
