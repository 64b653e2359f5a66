using System;
using System.Runtime.InteropServices;
using System.Text;

namespace Velquor.WebServices {

/// <summary>Calls of the library: results become exceptions, filled buffers texts.</summary>
internal static class Calls {
    private const int FirstTry = 4096;

    internal static Native Functions => Native.Functions;

    internal static void Check(int code) {
        if (code == (int)Result.Ok)
            return;
        var error = new ErrorStruct { size = (uint)Marshal.SizeOf<ErrorStruct>() };
        var buffer = new byte[FirstTry];
        if (Functions.LastError(ref error, buffer, new UIntPtr(FirstTry), out var length) == (int)Result.Buffer) {
            buffer = new byte[length.ToUInt32() + 1];
            Functions.LastError(ref error, buffer, new UIntPtr((uint)buffer.Length), out length);
        }
        var text = Encoding.UTF8.GetString(buffer, 0, (int)length.ToUInt32());
        throw WebServicesException.For(code, error.http_status, error.code == code ? text : "");
    }

    internal static bool Truth(int code, int yes) {
        Check(code);
        return yes != 0;
    }

    internal static DateTimeOffset? Time(int code, long seconds) {
        Check(code);
        return seconds == 0 ? (DateTimeOffset?)null : DateTimeOffset.FromUnixTimeSeconds(seconds);
    }

    /// <summary>Calls a function that fills (buf, cap, len). It is never called twice.</summary>
    internal static string Text(Native.Out call) {
        var buffer = new byte[FirstTry];
        var code = call(buffer, new UIntPtr(FirstTry), out var length);
        if (code == (int)Result.Buffer) {
            buffer = new byte[length.ToUInt32() + 1];
            code = Functions.TakeText(buffer, new UIntPtr((uint)buffer.Length), out length);
        }
        Check(code);
        return Encoding.UTF8.GetString(buffer, 0, (int)length.ToUInt32());
    }
}

}
