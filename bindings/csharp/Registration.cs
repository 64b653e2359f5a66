using System;
using System.Collections.Concurrent;
using System.Threading;

namespace Velquor.WebServices {

/// <summary>A function that the library calls until its end: of this object, of the library, or of the process. The library knows it
/// by number: what it calls are the delegates below, which are never collected.</summary>
internal sealed class Registration : IDisposable {
    private static readonly ConcurrentDictionary<long, Registration> s_all = new ConcurrentDictionary<long, Registration>();
    private static readonly Native.EventFunction s_event = OnEvent;
    private static readonly Native.LogFunction s_line = OnLine;
    private static readonly Native.ReleaseFunction s_release = OnRelease;
    private static long s_last;

    private readonly Func<EventKind, string, ulong, bool> m_event;
    private readonly Action<int, string> m_line;
    private ulong m_identity;

    private Registration(Func<EventKind, string, ulong, bool> told, Action<int, string> line) {
        m_event = told;
        m_line = line;
    }

    internal static int Open => s_all.Count;

    /// <summary>The function gives whether it vetoes.</summary>
    internal static Registration ForEvents(Func<EventKind, string, ulong, bool> function) {
        var made = new Registration(function, null);
        return made.Add((IntPtr user, out ulong id) => Calls.Functions.Observe(s_event, user, s_release, out id));
    }

    internal static Registration ForLines(Action<int, string> function) {
        var made = new Registration(null, function);
        return made.Add((IntPtr user, out ulong id) => Calls.Functions.ObserveLog(s_line, user, s_release, out id));
    }

    private delegate int Adding(IntPtr user, out ulong id);

    private Registration Add(Adding add) {
        var number = Interlocked.Increment(ref s_last);
        s_all[number] = this;
        var code = add(new IntPtr(number), out m_identity);
        // A registration that fails is not released.
        if (code != (int)Result.Ok)
            s_all.TryRemove(number, out _);
        Calls.Check(code);
        return this;
    }

    /// <summary>Waits for a call that runs on another thread. A second time, and after the end of the library, it does nothing.</summary>
    public void Dispose() => Calls.Functions.Unobserve(m_identity);

    internal static void EndAll() {
        foreach (var registration in s_all.Values)
            registration.Dispose();
    }

    // No exception may leave a call of the library: the process would end.
    private static int OnEvent(ref EventStruct told, IntPtr user) {
        try {
            if (Library.HasOwnThread)
                LibraryThread.Enter();
            return s_all.TryGetValue(user.ToInt64(), out var it)
                && it.m_event((EventKind)told.kind, Utf8.Read(told.key.data, told.key.length), told.thread_id) ? 1 : 0;
        } catch (Exception exception) {
            Library.Tell(exception);
            return 0;
        }
    }

    private static void OnLine(int level, IntPtr text, UIntPtr length, IntPtr user) {
        try {
            LibraryThread.Enter();
            if (s_all.TryGetValue(user.ToInt64(), out var it))
                it.m_line(level, Utf8.Read(text, length));
        } catch (Exception exception) {
            Library.Tell(exception);
        }
    }

    private static void OnRelease(IntPtr user) => s_all.TryRemove(user.ToInt64(), out _);
}

}
