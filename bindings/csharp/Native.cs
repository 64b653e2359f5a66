using System;
using System.Runtime.InteropServices;

namespace Velquor.WebServices {

/// <summary>The functions of vqws.h. A delegate for each list of parameters; `Functions` has them all, or loading fails.</summary>
internal sealed class Native {
    private const CallingConvention C = CallingConvention.Cdecl;
    internal const uint Version = 0x00010000;

    [UnmanagedFunctionPointer(C)] internal delegate uint Number();
    [UnmanagedFunctionPointer(C)] internal delegate int None();
    [UnmanagedFunctionPointer(C)] internal delegate int Out([In, Out] byte[] buffer, UIntPtr capacity, out UIntPtr length);
    [UnmanagedFunctionPointer(C)] internal delegate int Yes(out int yes);
    [UnmanagedFunctionPointer(C)] internal delegate int Time(out long seconds);
    [UnmanagedFunctionPointer(C)] internal delegate int Count(out ulong count);
    [UnmanagedFunctionPointer(C)] internal delegate int In1(byte[] text, UIntPtr length);
    [UnmanagedFunctionPointer(C)] internal delegate int In1Out(byte[] text, UIntPtr textLength, [In, Out] byte[] buffer, UIntPtr capacity, out UIntPtr length);
    [UnmanagedFunctionPointer(C)] internal delegate int In1Yes(byte[] text, UIntPtr length, out int yes);
    [UnmanagedFunctionPointer(C)] internal delegate int In1Time(byte[] text, UIntPtr length, out long seconds);
    [UnmanagedFunctionPointer(C)] internal delegate int In1Times(byte[] text, UIntPtr length, out long used, out long total);
    [UnmanagedFunctionPointer(C)] internal delegate int In2(byte[] text, UIntPtr length, byte[] other, UIntPtr otherLength);
    [UnmanagedFunctionPointer(C)] internal delegate int In2Out(byte[] text, UIntPtr textLength, byte[] other, UIntPtr otherLength, [In, Out] byte[] buffer, UIntPtr capacity, out UIntPtr length);
    [UnmanagedFunctionPointer(C)] internal delegate int In2Yes(byte[] text, UIntPtr length, byte[] other, UIntPtr otherLength, out int yes);
    [UnmanagedFunctionPointer(C)] internal delegate int In2ChoiceOut(byte[] text, UIntPtr textLength, byte[] other, UIntPtr otherLength, int choice, [In, Out] byte[] buffer, UIntPtr capacity, out UIntPtr length);
    [UnmanagedFunctionPointer(C)] internal delegate int In1Choice(byte[] text, UIntPtr length, int choice);
    [UnmanagedFunctionPointer(C)] internal delegate int In1Choice2(byte[] text, UIntPtr length, int choice, int other);
    [UnmanagedFunctionPointer(C)] internal delegate int In1ChoiceOut(byte[] text, UIntPtr textLength, int choice, [In, Out] byte[] buffer, UIntPtr capacity, out UIntPtr length);
    [UnmanagedFunctionPointer(C)] internal delegate int In1ChoiceYes(byte[] text, UIntPtr length, int choice, out int yes);
    [UnmanagedFunctionPointer(C)] internal delegate int In1ChoiceIn2(byte[] text, UIntPtr length, int choice, byte[] user, UIntPtr userLength, byte[] password, UIntPtr passwordLength);
    [UnmanagedFunctionPointer(C)] internal delegate int Spec(byte[] text, UIntPtr length, IntPtr spec);
    [UnmanagedFunctionPointer(C)] internal delegate int SpecChoice(byte[] text, UIntPtr length, IntPtr spec, int choice);
    [UnmanagedFunctionPointer(C)] internal delegate int SpecChoiceOut(byte[] text, UIntPtr textLength, IntPtr spec, int choice, [In, Out] byte[] buffer, UIntPtr capacity, out UIntPtr length);
    [UnmanagedFunctionPointer(C)] internal delegate int SpecYes(byte[] text, UIntPtr length, IntPtr spec, out int yes);
    [UnmanagedFunctionPointer(C)] internal delegate int SpecTime(byte[] text, UIntPtr length, IntPtr spec, out long seconds);
    [UnmanagedFunctionPointer(C)] internal delegate int ChoiceOut(int choice, [In, Out] byte[] buffer, UIntPtr capacity, out UIntPtr length);
    [UnmanagedFunctionPointer(C)] internal delegate int InitOptions(ref InitOptionsStruct options);
    [UnmanagedFunctionPointer(C)] internal delegate int Error(ref ErrorStruct error, [In, Out] byte[] buffer, UIntPtr capacity, out UIntPtr length);
    [UnmanagedFunctionPointer(C)] internal delegate int SetConfigShape(byte[] text, UIntPtr length, ref ConfigStruct config);
    [UnmanagedFunctionPointer(C)] internal delegate int SignShape(byte[] text, UIntPtr textLength, ref RequestStruct request, [In, Out] byte[] buffer, UIntPtr capacity, out UIntPtr length);
    [UnmanagedFunctionPointer(C)] internal delegate int ObserveShape(EventFunction function, IntPtr user, ReleaseFunction release, out ulong id);
    [UnmanagedFunctionPointer(C)] internal delegate int ObserveLogShape(LogFunction function, IntPtr user, ReleaseFunction release, out ulong id);
    [UnmanagedFunctionPointer(C)] internal delegate int Identity(ulong id);

    [UnmanagedFunctionPointer(C)] internal delegate int EventFunction(ref EventStruct told, IntPtr user);
    [UnmanagedFunctionPointer(C)] internal delegate void LogFunction(int level, IntPtr text, UIntPtr length, IntPtr user);
    [UnmanagedFunctionPointer(C)] internal delegate void ReleaseFunction(IntPtr user);
    [UnmanagedFunctionPointer(C)] internal delegate void WakeFunction(IntPtr user);

    private static readonly Lazy<Native> s_functions = new Lazy<Native>(Load);

    /// <summary>Loads the library with the first use. Fails with DllNotFoundException or EntryPointNotFoundException.</summary>
    internal static Native Functions => s_functions.Value;
    internal static bool IsLoaded => s_functions.IsValueCreated;

    private static Native Load() {
        var version = Loader.Bind<Number>("vqws_version")();
        if (version >> 16 != Version >> 16 || version < Version)
            throw new DllNotFoundException($"The library has version {version:x} of the C interface, and {Version:x} is needed.");
        return new Native();
    }

    internal readonly None Uninit = Loader.Bind<None>("vqws_uninit");
    internal readonly None Dispatch = Loader.Bind<None>("vqws_dispatch");
    internal readonly None SetEventHook = Loader.Bind<None>("vqws_set_event_hook");
    internal readonly None RemoveEventHook = Loader.Bind<None>("vqws_remove_event_hook");
    internal readonly None SetDefaultPluginPaths = Loader.Bind<None>("vqws_set_default_plugin_paths");
    internal readonly None ClearProxy = Loader.Bind<None>("vqws_clear_proxy");
    internal readonly Number GetVersion = Loader.Bind<Number>("vqws_version");
    internal readonly Out LibraryVersion = Loader.Bind<Out>("vqws_library_version");
    internal readonly Out TakeText = Loader.Bind<Out>("vqws_take_text");
    internal readonly Out GetSupportPaths = Loader.Bind<Out>("vqws_get_support_paths");
    internal readonly Out GetLoginStateFile = Loader.Bind<Out>("vqws_get_login_state_file");
    internal readonly Out GetLogFile = Loader.Bind<Out>("vqws_get_log_file");
    internal readonly Out GetUserId = Loader.Bind<Out>("vqws_get_user_id");
    internal readonly Out GetLdapDomainKey = Loader.Bind<Out>("vqws_get_ldap_domain_key");
    internal readonly Yes IsInitialized = Loader.Bind<Yes>("vqws_is_initialized");
    internal readonly Yes GetServer = Loader.Bind<Yes>("vqws_get_server");
    internal readonly Yes IsSsoForAllUsers = Loader.Bind<Yes>("vqws_is_sso_for_all_users");
    internal readonly Yes IsLogEnabled = Loader.Bind<Yes>("vqws_is_log_enabled");
    internal readonly Yes IsLoginExpired = Loader.Bind<Yes>("vqws_is_login_expired");
    internal readonly Yes HasProxy = Loader.Bind<Yes>("vqws_has_proxy");
    internal readonly Time GetLoginExpiry = Loader.Bind<Time>("vqws_get_login_expiry");
    internal readonly Count GetLogDrops = Loader.Bind<Count>("vqws_get_log_drops");
    internal readonly In1 SetSupportPaths = Loader.Bind<In1>("vqws_set_support_paths");
    internal readonly In1 AddPluginPath = Loader.Bind<In1>("vqws_add_plugin_path");
    internal readonly In1 RestoreLogin = Loader.Bind<In1>("vqws_restore_login");
    internal readonly In1 CompleteLogout = Loader.Bind<In1>("vqws_complete_logout");
    internal readonly In1 Logout = Loader.Bind<In1>("vqws_logout");
    internal readonly In1 DisableOAuth2 = Loader.Bind<In1>("vqws_disable_oauth2");
    internal readonly In1Out GetCachePath = Loader.Bind<In1Out>("vqws_get_cache_path");
    internal readonly In1Out GetUserName = Loader.Bind<In1Out>("vqws_get_user_name");
    internal readonly In1Out GetLoginCookie = Loader.Bind<In1Out>("vqws_get_login_cookie");
    internal readonly In1Out GetLoginCookiesJson = Loader.Bind<In1Out>("vqws_get_login_cookies_json");
    internal readonly In1Out InitiateLogout = Loader.Bind<In1Out>("vqws_initiate_logout");
    internal readonly In1Out GetUserEmail = Loader.Bind<In1Out>("vqws_get_user_email");
    internal readonly In1Out GetUserFirstName = Loader.Bind<In1Out>("vqws_get_user_first_name");
    internal readonly In1Out GetUserLastName = Loader.Bind<In1Out>("vqws_get_user_last_name");
    internal readonly In1Out GetUserInfo = Loader.Bind<In1Out>("vqws_get_user_info");
    internal readonly In1Yes IsLoggedIn = Loader.Bind<In1Yes>("vqws_is_logged_in");
    internal readonly In1Yes IsLoginValid = Loader.Bind<In1Yes>("vqws_is_login_valid");
    internal readonly In1Yes IsTokenAvailable = Loader.Bind<In1Yes>("vqws_is_token_available");
    internal readonly In1Yes IsTokenExpired = Loader.Bind<In1Yes>("vqws_is_token_expired");
    internal readonly In1Yes IsOAuth2Enabled = Loader.Bind<In1Yes>("vqws_is_oauth2_enabled");
    internal readonly In1Time GetTokenExpiry = Loader.Bind<In1Time>("vqws_get_token_expiry");
    internal readonly In1Times GetStorageQuota = Loader.Bind<In1Times>("vqws_get_storage_quota");
    internal readonly In2 CompleteLogin = Loader.Bind<In2>("vqws_complete_login");
    internal readonly In2 SetProxyDialogTexts = Loader.Bind<In2>("vqws_set_proxy_dialog_texts");
    internal readonly In2Out InitiateLogin = Loader.Bind<In2Out>("vqws_initiate_login");
    internal readonly In2Out GetEntitlementXml = Loader.Bind<In2Out>("vqws_get_entitlement_xml");
    internal readonly In2Yes GetEntitlement = Loader.Bind<In2Yes>("vqws_get_entitlement");
    internal readonly In2ChoiceOut SignUrlForBrowser = Loader.Bind<In2ChoiceOut>("vqws_sign_url_for_browser");
    internal readonly In1Choice SetServer = Loader.Bind<In1Choice>("vqws_set_server");
    internal readonly In1Choice RefreshToken = Loader.Bind<In1Choice>("vqws_refresh_token");
    internal readonly In1Choice InvalidateCache = Loader.Bind<In1Choice>("vqws_invalidate_cache");
    internal readonly In1Choice2 EnableCache = Loader.Bind<In1Choice2>("vqws_enable_cache");
    internal readonly In1ChoiceOut GetConfigText = Loader.Bind<In1ChoiceOut>("vqws_get_config_text");
    internal readonly In1ChoiceOut GetAccessToken = Loader.Bind<In1ChoiceOut>("vqws_get_access_token");
    internal readonly In1ChoiceOut GetProxyUser = Loader.Bind<In1ChoiceOut>("vqws_get_proxy_user");
    internal readonly In1ChoiceOut GetProxyPassword = Loader.Bind<In1ChoiceOut>("vqws_get_proxy_password");
    internal readonly In1ChoiceYes IsCacheEnabled = Loader.Bind<In1ChoiceYes>("vqws_is_cache_enabled");
    internal readonly In1ChoiceYes IsCacheAvailable = Loader.Bind<In1ChoiceYes>("vqws_is_cache_available");
    internal readonly In1ChoiceYes HasProxyLogin = Loader.Bind<In1ChoiceYes>("vqws_has_proxy_login");
    internal readonly In1ChoiceIn2 SetProxyLogin = Loader.Bind<In1ChoiceIn2>("vqws_set_proxy_login");
    internal readonly Spec EnableOAuth2 = Loader.Bind<Spec>("vqws_enable_oauth2");
    internal readonly SpecChoice RefreshOAuth2Token = Loader.Bind<SpecChoice>("vqws_refresh_oauth2_token");
    internal readonly SpecChoiceOut GetOAuth2Token = Loader.Bind<SpecChoiceOut>("vqws_get_oauth2_token");
    internal readonly SpecYes IsOAuth2TokenAvailable = Loader.Bind<SpecYes>("vqws_is_oauth2_token_available");
    internal readonly SpecYes IsOAuth2TokenExpired = Loader.Bind<SpecYes>("vqws_is_oauth2_token_expired");
    internal readonly SpecTime GetOAuth2TokenExpiry = Loader.Bind<SpecTime>("vqws_get_oauth2_token_expiry");
    internal readonly ChoiceOut GetUrl = Loader.Bind<ChoiceOut>("vqws_get_url");
    internal readonly ChoiceOut GetProxyDialogText = Loader.Bind<ChoiceOut>("vqws_get_proxy_dialog_text");
    internal readonly InitOptions Init = Loader.Bind<InitOptions>("vqws_init");
    internal readonly Error LastError = Loader.Bind<Error>("vqws_last_error");
    internal readonly SetConfigShape SetConfig = Loader.Bind<SetConfigShape>("vqws_set_config");
    internal readonly SignShape SignRequest = Loader.Bind<SignShape>("vqws_sign_request");
    internal readonly ObserveShape Observe = Loader.Bind<ObserveShape>("vqws_observe");
    internal readonly ObserveLogShape ObserveLog = Loader.Bind<ObserveLogShape>("vqws_observe_log");
    internal readonly Identity Unobserve = Loader.Bind<Identity>("vqws_unobserve");
}

}
