using System;

namespace Velquor.WebServices {

/// <summary>The client with this key, usually the consumer key of its product; without a key the one of the process itself. Methods may
/// wait for the network, as those of the C interface; properties do not. Any thread may call them.</summary>
public sealed partial class Client {
    private readonly Utf8 m_key;

    /// <summary>With this key, or for the process.</summary>
    public Client(string key = null) {
        Key = key;
        m_key = new Utf8(key);
    }

    /// <summary>The key, or null.</summary>
    public string Key { get; }

    private static Native Functions => Calls.Functions;
    private void Do(Native.In1 call) => Calls.Check(call(m_key.Bytes, m_key.Length));
    private bool Is(Native.In1Yes call) => Calls.Truth(call(m_key.Bytes, m_key.Length, out var yes), yes);
    private string Text(Native.In1Out call) => Calls.Text(
        (byte[] buffer, UIntPtr capacity, out UIntPtr length) => call(m_key.Bytes, m_key.Length, buffer, capacity, out length));
    private string Text(Native.In1ChoiceOut call, int choice) => Calls.Text(
        (byte[] buffer, UIntPtr capacity, out UIntPtr length) => call(m_key.Bytes, m_key.Length, choice, buffer, capacity, out length));
    private string Text(Native.In2Out call, string given) {
        var text = new Utf8(given);
        return Calls.Text((byte[] buffer, UIntPtr capacity, out UIntPtr length) =>
            call(m_key.Bytes, m_key.Length, text.Bytes, text.Length, buffer, capacity, out length));
    }

    /// <summary>Registers or replaces the configuration for the configuration's server.</summary>
    public void Configure(Config config) {
        using (var memory = new CallMemory()) {
            var native = config.Native(memory);
            Calls.Check(Functions.SetConfig(m_key.Bytes, m_key.Length, ref native));
        }
    }
    /// <summary>A text of the configuration for the current server.</summary>
    public string ConfigText(ConfigText which) => Text(Functions.GetConfigText, (int)which);
    /// <summary>Changes the current server of all products, and signs the user out of the previous one.</summary>
    public void SetServer(Server server) => Calls.Check(Functions.SetServer(m_key.Bytes, m_key.Length, (int)server));
    /// <summary>A folder of the client's own.</summary>
    public string CachePath => Text(Functions.GetCachePath);

    /// <summary>The name of the signed-in user; empty when nobody is signed in.</summary>
    public string UserName => Text(Functions.GetUserName);
    /// <summary>Whether the user is signed in.</summary>
    public bool IsLoggedIn => Is(Functions.IsLoggedIn);
    /// <summary>Whether the sign-in has not expired.</summary>
    public bool IsLoginValid => Is(Functions.IsLoginValid);
    /// <summary>The cookies of the sign-in as the value of an HTTP header "Cookie".</summary>
    public string LoginCookie() => Text(Functions.GetLoginCookie);
    /// <summary>The same cookies as <see cref="CompleteLogin"/> takes them.</summary>
    public string LoginCookiesJson() => Text(Functions.GetLoginCookiesJson);

    /// <summary>Restores the sign-in of all products. Call it once after <see cref="Configure"/>.</summary>
    public void RestoreLogin() => Do(Functions.RestoreLogin);
    /// <summary>The URL of the sign-in page for the browser; the user is a hint for the service.</summary>
    public string InitiateLogin(string user = null) => Text(Functions.InitiateLogin, user);
    /// <summary>After the browser step; the cookies are those of the browser as JSON.</summary>
    public void CompleteLogin(string cookies = null) {
        var text = new Utf8(cookies);
        Calls.Check(Functions.CompleteLogin(m_key.Bytes, m_key.Length, text.Bytes, text.Length));
    }
    /// <summary>The signed URL of the logout page for the browser.</summary>
    public string InitiateLogout() => Text(Functions.InitiateLogout);
    /// <summary>Removes the user from this machine, for all products.</summary>
    public void CompleteLogout() => Do(Functions.CompleteLogout);
    /// <summary>The whole sign-out without a browser. Throws <see cref="VetoedException"/> when a handler refuses.</summary>
    public void Logout() => Do(Functions.Logout);

    /// <summary>Whether the client has an access token.</summary>
    public bool IsTokenAvailable => Is(Functions.IsTokenAvailable);
    /// <summary>Whether it has expired.</summary>
    public bool IsTokenExpired => Is(Functions.IsTokenExpired);
    /// <summary>When it does; null when that is unknown.</summary>
    public DateTimeOffset? TokenExpiry => Calls.Time(Functions.GetTokenExpiry(m_key.Bytes, m_key.Length, out var seconds), seconds);
    /// <summary>The OAuth 1.0 access token; an expired one is refreshed first.</summary>
    public string AccessToken(bool checkExpiry = true) => Text(Functions.GetAccessToken, checkExpiry ? 1 : 0);
    /// <summary>Requests a new access token, and waits for it.</summary>
    public void RefreshToken(bool wait = true) => Calls.Check(Functions.RefreshToken(m_key.Bytes, m_key.Length, wait ? 1 : 0));

    /// <summary>Signs a GET with a header.</summary>
    public string Sign(string url) => Sign(new Request(url));
    /// <summary>Signs a request. An expired token is refreshed first.</summary>
    public string Sign(Request request) {
        using (var memory = new CallMemory()) {
            var native = request.Native(memory);
            return Calls.Text((byte[] buffer, UIntPtr capacity, out UIntPtr length) =>
                Functions.SignRequest(m_key.Bytes, m_key.Length, ref native, buffer, capacity, out length));
        }
    }
    /// <summary>The URL with a signature in its query, for the user's browser.</summary>
    public string SignUrlForBrowser(string url, bool checkExpiry = true) {
        var text = new Utf8(url);
        return Calls.Text((byte[] buffer, UIntPtr capacity, out UIntPtr length) => Functions.SignUrlForBrowser(
            m_key.Bytes, m_key.Length, text.Bytes, text.Length, checkExpiry ? 1 : 0, buffer, capacity, out length));
    }
}

}
