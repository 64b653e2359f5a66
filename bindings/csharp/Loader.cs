using System;
using System.Collections.Generic;
using System.IO;
using System.Runtime.InteropServices;

namespace Velquor.WebServices {

/// <summary>Finds and loads the library. Its name differs between the systems, and so do the places where a runtime looks for it; so it
/// is loaded by path, and its functions are taken from there.</summary>
internal static class Loader {
    private const int Now = 2;
    private const uint WithItsFolder = 8;
    private static readonly bool s_isWindows = RuntimeInformation.IsOSPlatform(OSPlatform.Windows);
    private static readonly Lazy<IntPtr> s_library = new Lazy<IntPtr>(Load);

    internal static T Bind<T>(string name) {
        var address = s_isWindows ? GetProcAddress(s_library.Value, name) : dlsym(s_library.Value, name);
        if (address == IntPtr.Zero)
            throw new EntryPointNotFoundException($"The library has no function {name}.");
        return Marshal.GetDelegateForFunctionPointer<T>(address);
    }

    private static IEnumerable<string> Candidates() {
        var name = s_isWindows ? "VqWebServices.dll" : "libvqws.so.1";
        var named = Environment.GetEnvironmentVariable("VQWS_LIBRARY");
        if (!string.IsNullOrEmpty(named)) {
            // Who names a library wants no other one.
            yield return named;
            yield break;
        }
        var folder = Path.GetDirectoryName(typeof(Loader).Assembly.Location) ?? "";
        var runtime = s_isWindows ? "win-x64" : "linux-x64";
        foreach (var path in new[] { Path.Combine(folder, name), Path.Combine(folder, "runtimes", runtime, "native", name) }) {
            if (File.Exists(path))
                yield return path;
        }
        yield return name;
    }

    private static IntPtr Load() {
        var tried = new List<string>();
        foreach (var path in Candidates()) {
            var handle = s_isWindows ? LoadLibraryEx(path, IntPtr.Zero, Path.IsPathRooted(path) ? WithItsFolder : 0) : dlopen(path, Now);
            if (handle != IntPtr.Zero)
                return handle;
            tried.Add(s_isWindows ? path : Marshal.PtrToStringAnsi(dlerror()));
        }
        throw new DllNotFoundException($"The library was not found; VQWS_LIBRARY may name it: {string.Join("; ", tried)}");
    }

    // The name without a number is a link of the development package.
    [DllImport("libdl.so.2")] private static extern IntPtr dlopen(string path, int flags);
    [DllImport("libdl.so.2")] private static extern IntPtr dlsym(IntPtr library, string name);
    [DllImport("libdl.so.2")] private static extern IntPtr dlerror();
    [DllImport("kernel32", CharSet = CharSet.Unicode, SetLastError = true)] private static extern IntPtr LoadLibraryEx(string path, IntPtr file, uint flags);
    [DllImport("kernel32", CharSet = CharSet.Ansi, ExactSpelling = true)] private static extern IntPtr GetProcAddress(IntPtr library, string name);
}

}
