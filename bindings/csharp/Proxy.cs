using System;

namespace Velquor.WebServices {

/// <summary>The proxy of the process and its credentials. Reached as <see cref="Library.Proxy"/>. A stored proxy is that of the process,
/// also for other code that uses Qt.</summary>
public sealed class Proxy {
    /// <summary>In place of a port.</summary>
    public const int AnyPort = -1;

    internal Proxy() {}

    /// <summary>Whether a proxy is stored.</summary>
    public bool IsStored => Calls.Truth(Calls.Functions.HasProxy(out var yes), yes);
    /// <summary>Whether credentials for this host and port are stored.</summary>
    public bool HasLogin(string host, int port = AnyPort) {
        var text = new Utf8(host);
        return Calls.Truth(Calls.Functions.HasProxyLogin(text.Bytes, text.Length, port, out var yes), yes);
    }
    /// <summary>The user; <see cref="NotFoundException"/> when there is none.</summary>
    public string User(string host, int port = AnyPort) => Text(Calls.Functions.GetProxyUser, host, port);
    /// <summary>The password; <see cref="NotFoundException"/> when there is none.</summary>
    public string Password(string host, int port = AnyPort) => Text(Calls.Functions.GetProxyPassword, host, port);
    /// <summary>Stores the proxy and its credentials.</summary>
    public void SetLogin(string host, int port, string user, string password) {
        Utf8 texts = new Utf8(host), name = new Utf8(user), secret = new Utf8(password);
        Calls.Check(Calls.Functions.SetProxyLogin(texts.Bytes, texts.Length, port, name.Bytes, name.Length, secret.Bytes, secret.Length));
    }
    /// <summary>Removes the stored proxy, here and in the file.</summary>
    public void Clear() => Calls.Check(Calls.Functions.ClearProxy());

    /// <summary>The caption of the prompt for credentials; "%1" is the host of the proxy, "%2" its port.</summary>
    public string DialogCaption => Dialog(0);
    /// <summary>Its message.</summary>
    public string DialogMessage => Dialog(1);
    /// <summary>Null restores the library's own text.</summary>
    public void SetDialogTexts(string caption = null, string message = null) {
        Utf8 first = new Utf8(caption), second = new Utf8(message);
        Calls.Check(Calls.Functions.SetProxyDialogTexts(first.Bytes, first.Length, second.Bytes, second.Length));
    }

    private static string Dialog(int which) => Calls.Text(
        (byte[] buffer, UIntPtr capacity, out UIntPtr length) => Calls.Functions.GetProxyDialogText(which, buffer, capacity, out length));
    private static string Text(Native.In1ChoiceOut call, string host, int port) {
        var text = new Utf8(host);
        return Calls.Text((byte[] buffer, UIntPtr capacity, out UIntPtr length) =>
            call(text.Bytes, text.Length, port, buffer, capacity, out length));
    }
}

}
