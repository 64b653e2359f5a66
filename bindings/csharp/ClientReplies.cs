using System;

namespace Velquor.WebServices {

/// <summary>Cached replies of the web services about the user. A call waits only for a value that is not known.</summary>
public sealed partial class Client {
    /// <summary>The user's e-mail address.</summary>
    public string UserEmail() => Text(Functions.GetUserEmail);
    /// <summary>The user's first name.</summary>
    public string UserFirstName() => Text(Functions.GetUserFirstName);
    /// <summary>The user's last name.</summary>
    public string UserLastName() => Text(Functions.GetUserLastName);
    /// <summary>The whole reply about the user, as XML.</summary>
    public string UserInfo() => Text(Functions.GetUserInfo);
    /// <summary>Whether the user may use the service.</summary>
    public Entitlement Entitlement(string service) {
        var text = new Utf8(service);
        Calls.Check(Functions.GetEntitlement(m_key.Bytes, m_key.Length, text.Bytes, text.Length, out var answer));
        return (Entitlement)answer;
    }
    /// <summary>The reply about the services as XML: the part about this one, or without one the whole.</summary>
    public string EntitlementXml(string service = null) => Text(Functions.GetEntitlementXml, service);
    /// <summary>The used and the total cloud storage in bytes.</summary>
    public void StorageQuota(out long used, out long total) =>
        Calls.Check(Functions.GetStorageQuota(m_key.Bytes, m_key.Length, out used, out total));

    /// <summary>Whether the client uses a cache.</summary>
    public bool IsCacheEnabled(Cache cache) =>
        Calls.Truth(Functions.IsCacheEnabled(m_key.Bytes, m_key.Length, (int)cache, out var yes), yes);
    /// <summary>Whether it shall.</summary>
    public void EnableCache(Cache cache, bool enable = true) =>
        Calls.Check(Functions.EnableCache(m_key.Bytes, m_key.Length, (int)cache, enable ? 1 : 0));
    /// <summary>Whether the cache has a value.</summary>
    public bool IsCacheAvailable(Cache cache) =>
        Calls.Truth(Functions.IsCacheAvailable(m_key.Bytes, m_key.Length, (int)cache, out var yes), yes);
    /// <summary>Discards the value.</summary>
    public void InvalidateCache(Cache cache) => Calls.Check(Functions.InvalidateCache(m_key.Bytes, m_key.Length, (int)cache));

    /// <summary>Whether OAuth2 is enabled for the client.</summary>
    public bool IsOAuth2Enabled => Is(Functions.IsOAuth2Enabled);
    /// <summary>Enables OAuth2 with tokens of this kind in addition to those before.</summary>
    public void EnableOAuth2(TokenSpec spec = null) => With(spec, native => Functions.EnableOAuth2(m_key.Bytes, m_key.Length, native));
    /// <summary>Disables OAuth2 and discards the tokens in this process.</summary>
    public void DisableOAuth2() => Do(Functions.DisableOAuth2);
    /// <summary>The token; a missing or expired one is requested first when the call may wait.</summary>
    public string OAuth2Token(TokenSpec spec = null, bool wait = true) {
        using (var memory = new CallMemory()) {
            var native = Made(spec, memory);
            return Calls.Text((byte[] buffer, UIntPtr capacity, out UIntPtr length) =>
                Functions.GetOAuth2Token(m_key.Bytes, m_key.Length, native, wait ? 1 : 0, buffer, capacity, out length));
        }
    }
    /// <summary>Requests a new token.</summary>
    public void RefreshOAuth2Token(TokenSpec spec = null, bool wait = true) =>
        With(spec, native => Functions.RefreshOAuth2Token(m_key.Bytes, m_key.Length, native, wait ? 1 : 0));
    /// <summary>Whether the client has such a token.</summary>
    public bool IsOAuth2TokenAvailable(TokenSpec spec = null) {
        var yes = 0;
        With(spec, native => Functions.IsOAuth2TokenAvailable(m_key.Bytes, m_key.Length, native, out yes));
        return yes != 0;
    }
    /// <summary>Whether it has expired.</summary>
    public bool IsOAuth2TokenExpired(TokenSpec spec = null) {
        var yes = 0;
        With(spec, native => Functions.IsOAuth2TokenExpired(m_key.Bytes, m_key.Length, native, out yes));
        return yes != 0;
    }
    /// <summary>When it does; null when that is unknown.</summary>
    public DateTimeOffset? OAuth2TokenExpiry(TokenSpec spec = null) {
        long seconds = 0;
        With(spec, native => Functions.GetOAuth2TokenExpiry(m_key.Bytes, m_key.Length, native, out seconds));
        return Calls.Time((int)Result.Ok, seconds);
    }

    private static IntPtr Made(TokenSpec spec, CallMemory memory) =>
        spec == null ? IntPtr.Zero : memory.AddStruct(spec.Native(memory));

    private static void With(TokenSpec spec, Func<IntPtr, int> call) {
        using (var memory = new CallMemory())
            Calls.Check(call(Made(spec, memory)));
    }
}

}
