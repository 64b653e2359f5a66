using System.Collections.Generic;
using System.Runtime.InteropServices;

namespace Velquor.WebServices {

/// <summary>The thread of the events: the one that makes the <see cref="Library"/> and dispatches, or one of the library.</summary>
public enum Mode { Host = 0, Own = 1 }

/// <summary>The servers.</summary>
public enum Server { None = -1, Production = 0, Staging = 1, Development = 2 }

/// <summary>The kinds of OAuth2 tokens.</summary>
public enum TokenType { Rt = 1, Jwt = 2 }

/// <summary>The OAuth2 tokens of the client of the process: none, the default one, or that of the spec.</summary>
public enum OAuth2 { Off = 0, Default = 1, Spec = 2 }

/// <summary>The methods of HTTP.</summary>
public enum Method {
    Get = 0, Post = 1, Put = 2, Delete = 3, Head = 4, Options = 5, Trace = 6, Propfind = 7, Move = 8, Copy = 9, Lock = 10, Unlock = 11,
    Checkin = 12, Checkout = 13, CancelUpload = 14, Report = 15, Update = 16, Proppatch = 17, GetLib = 18, VersionControl = 19,
}

/// <summary>The form of a signature: OAuth parameters for a query, the value of the header "Authorization", the whole URL, or a form body.</summary>
public enum Sign { Query = 0, Header = 1, Url = 2, Body = 3 }

/// <summary>The replies that are cached.</summary>
public enum Cache { UserInfo = 1, StorageQuota = 2, Entitlement = 16 }

/// <summary>Whether the user may use a service.</summary>
public enum Entitlement { Unknown = 0, Yes = 1, No = 2, Trial = 3, NoSession = 4 }

/// <summary>The texts of a <see cref="Config"/>.</summary>
public enum ConfigText {
    ConsumerKey = 0, ConsumerSecret = 1, SerialNumber = 2, ProductLineCode = 3, UpiRelease = 4, UpiMaster = 5, UpiBuild = 6, FeatureName = 7,
    FeatureVersion = 8, OAuth2ConsumerKey = 9, OAuth2ConsumerSecret = 10, OAuth2Scope = 11,
}

/// <summary>The kinds of events. Ignore a number without a name.</summary>
public enum EventKind {
    AccountCreated = 0, LoggedIn = 1, LoginRestored = 2, LoggedOut = 3, TokenRefreshed = 4, AboutToLogout = 5, LoggingOut = 6,
    ServerChanged = 7, OAuth2TokenRefreshed = 8, TokenAcquired = 9, TokenAvailable = 10, OAuth2Enabled = 11, OAuth2Disabled = 12,
    OAuth2TokenAcquired = 13, OAuth2TokenAvailable = 14, OAuth2TokenDiscarded = 15, TokenQueryFailed = 16, OAuth2TokenQueryFailed = 17,
    LoginDialogTimeout = 19,
}

/// <summary>The kind of an OAuth2 token. In place of it null means the client's default token.</summary>
public sealed class TokenSpec {
    /// <summary>The type.</summary>
    public TokenType Type { get; set; } = TokenType.Rt;
    /// <summary>Words separated by blanks; may be null.</summary>
    public string Scope { get; set; }

    internal TokenSpecStruct Native(CallMemory memory) =>
        new TokenSpecStruct { size = (uint)Marshal.SizeOf<TokenSpecStruct>(), type = (int)Type, scope = memory.Add(Scope) };
}

/// <summary>The configuration of a client for one server. Key and secret are required.</summary>
public sealed class Config {
    /// <summary>With what is required.</summary>
    public Config(string consumerKey, string consumerSecret) {
        ConsumerKey = consumerKey;
        ConsumerSecret = consumerSecret;
    }

#pragma warning disable 1591
    public Server Server { get; set; } = Server.Production;
    public string ConsumerKey { get; set; }
    public string ConsumerSecret { internal get; set; }
    public string SerialNumber { get; set; }
    public string ProductLineCode { get; set; }
    public string UpiRelease { get; set; }
    public string UpiMaster { get; set; }
    public string UpiBuild { get; set; }
    public string FeatureName { get; set; }
    public string FeatureVersion { get; set; }
    public string OAuth2ConsumerKey { get; set; }
    public string OAuth2ConsumerSecret { internal get; set; }
    public string OAuth2Scope { get; set; }
#pragma warning restore 1591

    internal ConfigStruct Native(CallMemory memory) => new ConfigStruct {
        size = (uint)Marshal.SizeOf<ConfigStruct>(), server = (int)Server,
        consumer_key = memory.Add(ConsumerKey), consumer_secret = memory.Add(ConsumerSecret), serial_number = memory.Add(SerialNumber),
        product_line_code = memory.Add(ProductLineCode), upi_release = memory.Add(UpiRelease), upi_master = memory.Add(UpiMaster),
        upi_build = memory.Add(UpiBuild), feature_name = memory.Add(FeatureName), feature_version = memory.Add(FeatureVersion),
        oauth2_consumer_key = memory.Add(OAuth2ConsumerKey), oauth2_consumer_secret = memory.Add(OAuth2ConsumerSecret),
        oauth2_scope = memory.Add(OAuth2Scope),
    };
}

/// <summary>A request to sign.</summary>
public sealed class Request {
    /// <summary>For this URL; send it to the letter as it was signed.</summary>
    public Request(string url) { Url = url; }

    /// <summary>Absolute, http or https, encoded.</summary>
    public string Url { get; }
    /// <summary>GET unless it is set.</summary>
    public Method Method { get; set; } = Method.Get;
    /// <summary>A header unless it is set.</summary>
    public Sign Sign { get; set; } = Sign.Header;
    /// <summary>Names with values, not encoded; a name may come more than once.</summary>
    public IList<KeyValuePair<string, string>> Params { get; } = new List<KeyValuePair<string, string>>();
    /// <summary>With its secret in place of the access token; usually null.</summary>
    public string Token { internal get; set; }
    /// <summary>Its secret.</summary>
    public string TokenSecret { internal get; set; }

    internal RequestStruct Native(CallMemory memory) {
        var size = Marshal.SizeOf<ParamStruct>();
        var array = Params.Count == 0 ? System.IntPtr.Zero : memory.Add(size * Params.Count);
        for (var i = 0; i < Params.Count; ++i) {
            var param = new ParamStruct { name = memory.Add(Params[i].Key), value = memory.Add(Params[i].Value) };
            Marshal.StructureToPtr(param, array + i * size, false);
        }
        return new RequestStruct {
            size = (uint)Marshal.SizeOf<RequestStruct>(), method = (int)Method, mode = (int)Sign, url = memory.Add(Url), @params = array,
            param_count = new System.UIntPtr((uint)Params.Count), token = memory.Add(Token), token_secret = memory.Add(TokenSecret),
        };
    }
}

}
