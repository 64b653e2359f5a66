using System;
using System.Collections.Generic;
using System.ComponentModel;
using System.Threading;

namespace Velquor.WebServices {

/// <summary>An event.</summary>
public sealed class ServiceEventArgs : EventArgs {
    internal ServiceEventArgs(EventKind kind, string key, ulong threadId) {
        Kind = kind;
        Key = key;
        ThreadId = threadId;
    }

    /// <summary>What happened.</summary>
    public EventKind Kind { get; }
    /// <summary>The consumer key of the product that the event is about; empty when it is about none.</summary>
    public string Key { get; }
    /// <summary>The system's number of the event thread.</summary>
    public ulong ThreadId { get; }
}

/// <summary>A line of the log.</summary>
public sealed class LogLineEventArgs : EventArgs {
    internal LogLineEventArgs(int level, string line) {
        Level = level;
        Line = line;
    }

    /// <summary>0 trace, 10000 debug, 20000 information, 30000 warning, 40000 error.</summary>
    public int Level { get; }
    /// <summary>The text.</summary>
    public string Line { get; }
}

public sealed partial class Library {
    private static readonly HandlerList s_lines = new HandlerList();
    private readonly HandlerList m_handlers = new HandlerList();

    /// <summary>Raised for each event: with the SynchronizationContext that was there when the handler was added, by its Post, without
    /// one on the event thread. Removing a handler on another thread than the event thread waits for its running call.</summary>
    public event EventHandler<ServiceEventArgs> EventReceived {
        add {
            var context = SynchronizationContext.Current;
            m_handlers.Add(value, Registration.ForEvents((kind, key, thread) => {
                var told = new ServiceEventArgs(kind, key, thread);
                if (context == null)
                    value(this, told);
                else
                    context.Post(_ => value(this, told), null);
                return false;
            }));
        }
        remove => m_handlers.Remove(value);
    }

    /// <summary>Raised on the event thread before a sign-out; `Cancel` keeps the user signed in. A handler that throws does not.</summary>
    public event EventHandler<CancelEventArgs> AboutToLogout {
        add => m_handlers.Add(value, Registration.ForEvents((kind, key, thread) => {
            var asked = new CancelEventArgs();
            if (kind == EventKind.AboutToLogout)
                value(this, asked);
            return asked.Cancel;
        }));
        remove => m_handlers.Remove(value);
    }

    /// <summary>Raised for each line of the log, on a thread of the log, also before the library starts. A handler may not call the
    /// library.</summary>
    public static event EventHandler<LogLineEventArgs> LogLine {
        add => s_lines.Add(value, Registration.ForLines((level, line) => value(null, new LogLineEventArgs(level, line))));
        remove => s_lines.Remove(value);
    }

    /// <summary>Raised on that thread when a handler on the event thread or a thread of the log has thrown.</summary>
    public static event Action<Exception> HandlerFailed;

    internal static void Tell(Exception exception) {
        try {
            HandlerFailed?.Invoke(exception);
        } catch (Exception) {
            // There is nobody left to tell.
        }
    }

    /// <summary>Handlers with their registrations. A handler may be there more than once, as with any event.</summary>
    private sealed class HandlerList {
        private readonly List<KeyValuePair<Delegate, Registration>> m_entries = new List<KeyValuePair<Delegate, Registration>>();

        internal void Add(Delegate handler, Registration registration) {
            lock (m_entries)
                m_entries.Add(new KeyValuePair<Delegate, Registration>(handler, registration));
        }

        internal void Remove(Delegate handler) {
            Registration found = null;
            lock (m_entries) {
                var place = m_entries.FindLastIndex(entry => entry.Key.Equals(handler));
                if (place >= 0) {
                    found = m_entries[place].Value;
                    m_entries.RemoveAt(place);
                }
            }
            // Without the lock: it may wait for a call that removes a handler.
            found?.Dispose();
        }

        internal void Clear() {
            KeyValuePair<Delegate, Registration>[] entries;
            lock (m_entries) {
                entries = m_entries.ToArray();
                m_entries.Clear();
            }
            foreach (var entry in entries)
                entry.Value.Dispose();
        }
    }
}

}
