using System;
using System.Collections.Generic;
using System.Runtime.InteropServices;
using System.Threading;

namespace Velquor.WebServices {

/// <summary>How the library starts.</summary>
public sealed class LibraryOptions {
    /// <summary>The thread of the events.</summary>
    public Mode Mode { get; set; } = Mode.Own;
    /// <summary>The folders that are searched for "WebServices.logconfig" and the URL files.</summary>
    public IEnumerable<string> SupportPaths { get; set; }
    /// <summary>The OAuth2 tokens of the client of the process.</summary>
    public OAuth2 OAuth2 { get; set; } = OAuth2.Off;
    /// <summary>For <see cref="OAuth2.Spec"/>.</summary>
    public TokenSpec OAuth2Spec { get; set; }
    /// <summary>For <see cref="Mode.Host"/>: called on any thread when events wait for <see cref="Library.Dispatch"/>; it may only post to
    /// the event thread. Without it the SynchronizationContext of the constructor posts, if there is one.</summary>
    public Action Wake { get; set; }
}

/// <summary>The library, from here to Dispose. Objects count: the library stops with the last one in the process. With
/// <see cref="Mode.Host"/> it is made, dispatched and disposed on one thread.</summary>
public sealed partial class Library : IDisposable {
    private static readonly object s_lock = new object();
    private static readonly HashSet<Library> s_open = new HashSet<Library>();
    private static readonly Native.WakeFunction s_wake = OnWake;
    private static Action s_wakeAction;
    private bool m_isOpen;

    static Library() => AppDomain.CurrentDomain.ProcessExit += (sender, arguments) => End();

    /// <summary>Starts the library, or counts one more user of it.</summary>
    public Library(LibraryOptions options = null) {
        options = options ?? new LibraryOptions();
        if (options.SupportPaths != null)
            SetSupportPaths(options.SupportPaths);
        var wake = options.Wake ?? PostTo(SynchronizationContext.Current);
        using (var memory = new CallMemory()) {
            var native = new InitOptionsStruct {
                size = (uint)Marshal.SizeOf<InitOptionsStruct>(), mode = (int)options.Mode, oauth2 = (int)options.OAuth2,
            };
            if (options.OAuth2Spec != null)
                native.oauth2_spec = memory.AddStruct(options.OAuth2Spec.Native(memory));
            if (options.Mode == Mode.Host && wake != null) {
                // Only the options of the first start count.
                Interlocked.CompareExchange(ref s_wakeAction, wake, null);
                native.wake = Marshal.GetFunctionPointerForDelegate(s_wake);
            }
            var code = Calls.Functions.Init(ref native);
            if (code != (int)Result.Ok)
                ForgetWake();
            Calls.Check(code);
        }
        HasOwnThread = options.Mode == Mode.Own;
        m_isOpen = true;
        Proxy = new Proxy();
        lock (s_lock)
            s_open.Add(this);
    }

    /// <summary>Whether the event thread is the library's.</summary>
    internal static bool HasOwnThread { get; private set; }

    // It serves as long as the library runs, also when the object that brought it is gone; after the end it does nothing.
    private static Action PostTo(SynchronizationContext context) {
        if (context == null)
            return null;
        return () => context.Post(_ => Calls.Functions.Dispatch(), null);
    }

    private static void OnWake(IntPtr user) {
        try {
            Volatile.Read(ref s_wakeAction)?.Invoke();
        } catch (Exception exception) {
            Tell(exception);
        }
    }

    /// <summary>Counts one user less, and removes the handlers of this object. A second time it does nothing.</summary>
    public void Dispose() {
        if (!m_isOpen)
            return;
        // Before the end where it cannot fail any more, so that the handlers are released on this thread.
        if (HasOwnThread)
            m_handlers.Clear();
        Calls.Check(Calls.Functions.Uninit());
        m_isOpen = false;
        m_handlers.Clear();
        lock (s_lock)
            s_open.Remove(this);
        ForgetWake();
    }

    // The next first start brings its own.
    private static void ForgetWake() {
        lock (s_lock) {
            if (s_open.Count == 0)
                Volatile.Write(ref s_wakeAction, null);
        }
    }

    // What the program has left open ends while its code can still be called. Finalizers never call the library.
    private static void End() {
        if (!Native.IsLoaded)
            return;
        Registration.EndAll();
        Volatile.Write(ref s_wakeAction, null);
        Library[] open;
        lock (s_lock)
            open = new List<Library>(s_open).ToArray();
        foreach (var library in open)
            Calls.Functions.Uninit();
        LibraryThread.EndProcess();
    }

    /// <summary>The version of the C interface in the library: major, minor, patch with 8 bits each.</summary>
    public static uint InterfaceVersion => Calls.Functions.GetVersion();
    /// <summary>The version of the library.</summary>
    public static string LibraryVersion => Calls.Text(Calls.Functions.LibraryVersion);
    /// <summary>Whether anybody in the process has initialized the library.</summary>
    public static bool IsInitialized => Calls.Truth(Calls.Functions.IsInitialized(out var yes), yes);
    /// <summary>How many lines of the log were dropped since the process began, because handlers were too slow.</summary>
    public static ulong LogDrops {
        get {
            Calls.Check(Calls.Functions.GetLogDrops(out var count));
            return count;
        }
    }

    /// <summary>The folders of <see cref="LibraryOptions.SupportPaths"/>. Set them before the library starts.</summary>
    public static void SetSupportPaths(IEnumerable<string> folders) {
        var paths = new Utf8(string.Join(";", folders));
        Calls.Check(Calls.Functions.SetSupportPaths(paths.Bytes, paths.Length));
    }
    /// <summary>The folders that were set.</summary>
    public static string[] SupportPaths =>
        Calls.Text(Calls.Functions.GetSupportPaths).Split(new[] { ';' }, StringSplitOptions.RemoveEmptyEntries);

    /// <summary>Delivers the events that wait. <see cref="Mode.Host"/>, on its thread.</summary>
    public void Dispatch() => Calls.Check(Calls.Functions.Dispatch());
    /// <summary>Delivers events with the messages of this thread. Windows only.</summary>
    public void SetEventHook() => Calls.Check(Calls.Functions.SetEventHook());
    /// <summary>Ends it.</summary>
    public void RemoveEventHook() => Calls.Check(Calls.Functions.RemoveEventHook());
    /// <summary>Adds the library's default folders to those that Qt searches for its plug-ins.</summary>
    public void SetDefaultPluginPaths() => Calls.Check(Calls.Functions.SetDefaultPluginPaths());
    /// <summary>Adds this folder to them.</summary>
    public void AddPluginPath(string folder) {
        var path = new Utf8(folder);
        Calls.Check(Calls.Functions.AddPluginPath(path.Bytes, path.Length));
    }

    /// <summary>The proxy of the process.</summary>
    public Proxy Proxy { get; }
    /// <summary>The current server of all products; <see cref="Client.SetServer"/> changes it.</summary>
    public Server Server {
        get {
            Calls.Check(Calls.Functions.GetServer(out var server));
            return (Server)server;
        }
    }
    /// <summary>The URL with this code on the current server.</summary>
    public string Url(int code) =>
        Calls.Text((byte[] buffer, UIntPtr capacity, out UIntPtr length) => Calls.Functions.GetUrl(code, buffer, capacity, out length));
    /// <summary>The login state file.</summary>
    public string LoginStateFile => Calls.Text(Calls.Functions.GetLoginStateFile);
    /// <summary>The log file.</summary>
    public string LogFile => Calls.Text(Calls.Functions.GetLogFile);
    /// <summary>Whether the login state is in the data folder of all users.</summary>
    public bool IsSsoForAllUsers => Calls.Truth(Calls.Functions.IsSsoForAllUsers(out var yes), yes);
    /// <summary>Whether at least one logger has a level other than off.</summary>
    public bool IsLogEnabled => Calls.Truth(Calls.Functions.IsLogEnabled(out var yes), yes);
    /// <summary>The id of the signed-in user; empty when nobody is signed in.</summary>
    public string UserId => Calls.Text(Calls.Functions.GetUserId);
    /// <summary>The domain key of the last sign-in.</summary>
    public string LdapDomainKey => Calls.Text(Calls.Functions.GetLdapDomainKey);
    /// <summary>Whether the sign-in has expired.</summary>
    public bool IsLoginExpired => Calls.Truth(Calls.Functions.IsLoginExpired(out var yes), yes);
    /// <summary>When it does; null when that is unknown.</summary>
    public DateTimeOffset? LoginExpiry => Calls.Time(Calls.Functions.GetLoginExpiry(out var seconds), seconds);
}

}
