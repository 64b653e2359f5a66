using System;
using System.Collections.Generic;
using System.Runtime.InteropServices;
using System.Text;

namespace Velquor.WebServices {

[StructLayout(LayoutKind.Sequential)]
internal struct TextStruct {
    public IntPtr data;
    public UIntPtr length;
}

[StructLayout(LayoutKind.Sequential)]
internal struct ErrorStruct {
    public uint size;
    public int code;
    public int http_status;
}

[StructLayout(LayoutKind.Sequential)]
internal struct TokenSpecStruct {
    public uint size;
    public int type;
    public TextStruct scope;
}

[StructLayout(LayoutKind.Sequential)]
internal struct InitOptionsStruct {
    public uint size;
    public int mode;
    public int oauth2;
    public int reserved;
    public IntPtr oauth2_spec;
    public IntPtr wake;
    public IntPtr wake_user;
}

[StructLayout(LayoutKind.Sequential)]
internal struct ConfigStruct {
    public uint size;
    public int server;
    public TextStruct consumer_key, consumer_secret, serial_number, product_line_code, upi_release, upi_master, upi_build, feature_name,
        feature_version, oauth2_consumer_key, oauth2_consumer_secret, oauth2_scope;
}

[StructLayout(LayoutKind.Sequential)]
internal struct ParamStruct {
    public TextStruct name;
    public TextStruct value;
}

[StructLayout(LayoutKind.Sequential)]
internal struct RequestStruct {
    public uint size;
    public int method;
    public int mode;
    public int reserved;
    public TextStruct url;
    public IntPtr @params;
    public UIntPtr param_count;
    public TextStruct token;
    public TextStruct token_secret;
}

[StructLayout(LayoutKind.Sequential)]
internal struct EventStruct {
    public uint size;
    public int kind;
    public TextStruct key;
    public ulong thread_id;
}

/// <summary>A text as an argument; the default value is an absent text.</summary>
internal struct Utf8 {
    private static readonly UTF8Encoding s_strict = new UTF8Encoding(false, true);
    internal readonly byte[] Bytes;
    internal readonly UIntPtr Length;

    internal Utf8(string text) {
        try {
            // An empty array may have no address, and NULL would be an absent text.
            Bytes = text == null ? null : text.Length == 0 ? new byte[1] : s_strict.GetBytes(text);
            Length = new UIntPtr(string.IsNullOrEmpty(text) ? 0 : (uint)Bytes.Length);
        } catch (EncoderFallbackException) {
            throw WebServicesException.For((int)Result.Text, 0, "A text is not Unicode.");
        }
    }

    internal static string Read(IntPtr data, UIntPtr length) {
        if (data == IntPtr.Zero)
            return "";
        var bytes = new byte[(int)length.ToUInt32()];
        Marshal.Copy(data, bytes, 0, bytes.Length);
        return Encoding.UTF8.GetString(bytes);
    }
}

/// <summary>Memory for the texts and structs of one call, wiped before it is freed.</summary>
internal sealed class CallMemory : IDisposable {
    private readonly List<KeyValuePair<IntPtr, int>> m_blocks = new List<KeyValuePair<IntPtr, int>>();

    internal TextStruct Add(string text) {
        if (text == null)
            return default(TextStruct);
        var given = new Utf8(text);
        var block = Add(given.Bytes.Length + 1);
        Marshal.Copy(given.Bytes, 0, block, given.Bytes.Length);
        Array.Clear(given.Bytes, 0, given.Bytes.Length);
        return new TextStruct { data = block, length = given.Length };
    }

    internal IntPtr AddStruct<T>(T value) where T : struct {
        var block = Add(Marshal.SizeOf<T>());
        Marshal.StructureToPtr(value, block, false);
        return block;
    }

    internal IntPtr Add(int size) {
        var block = Marshal.AllocHGlobal(size);
        m_blocks.Add(new KeyValuePair<IntPtr, int>(block, size));
        return block;
    }

    public void Dispose() {
        foreach (var block in m_blocks) {
            Marshal.Copy(new byte[block.Value], 0, block.Key, block.Value);
            Marshal.FreeHGlobal(block.Key);
        }
        m_blocks.Clear();
    }
}

}
