#include "CallTable.h"

namespace {

constexpr auto ok = VQWS_OK;
constexpr auto state = VQWS_STATE;
constexpr auto client = VQWS_UNKNOWN_CLIENT;
constexpr auto signedOut = VQWS_NOT_SIGNED_IN;
constexpr auto bad = VQWS_ARGUMENT;
constexpr auto lost = VQWS_NOT_FOUND;

using A = const CallArguments&;

#define KEY a.key, a.keyLength
#define OUT a.buffer, a.capacity, a.length
#define CALL(...) [](A a) { return static_cast<void>(a), __VA_ARGS__; }

int32_t setConfiguration(A a) {
    vqws_config config{};
    config.size = sizeof config;
    config.consumer_key = config.oauth2_consumer_key = {"demo-product-0001", VQWS_Z};
    config.consumer_secret = config.oauth2_consumer_secret = {"demo-secret-0001", VQWS_Z};
    config.feature_name = a.textOr("CAD");
    return vqws_set_config(KEY, &config);
}

int32_t sign(A a) {
    const vqws_text value = a.textOr("1 & 2");
    const vqws_param param{{"x", 1}, value};
    vqws_request request{};
    request.size = sizeof request;
    request.method = VQWS_POST;
    request.mode = VQWS_SIGN_BODY;
    request.url = {"https://example.com/p?a=b", VQWS_Z};
    request.params = &param;
    request.param_count = 1;
    return vqws_sign_request(KEY, &request, OUT);
}

const vqws_token_spec* spec(A a) {
    thread_local vqws_token_spec made;
    made = {sizeof made, VQWS_TOKEN_RT, a.textOr(nullptr)};
    return &made;
}

std::vector<CallRow> makeTable() {
    constexpr auto no = CallRow::Nothing;
    constexpr auto text = CallRow::Text;
    constexpr auto number = CallRow::Number;
    constexpr auto large = CallRow::Large;
    return {
        // name, call, what it tells, has a key, takes a text; before the start, idle, signed in, unknown key; number, text
        {"vqws_library_version", CALL(vqws_library_version(OUT)), text, false, false, ok, ok, ok, ok, -1, "13."},
        {"vqws_is_initialized", CALL(vqws_is_initialized(a.number)), number, false, false, ok, ok, ok, ok, 1},
        {"vqws_dispatch", CALL(vqws_dispatch()), no, false, false, state, ok, ok, ok},
        {"vqws_set_support_paths",
         CALL(a.hasText ? vqws_set_support_paths(a.text, a.textLength) : vqws_set_default_plugin_paths()), no, false, true, ok,
         ok, ok, ok},
        {"vqws_set_default_plugin_paths", CALL(vqws_set_default_plugin_paths()), no, false, false, ok, ok, ok, ok},
        {"vqws_add_plugin_path", CALL(vqws_add_plugin_path(a.textOr("plugins").data, a.textOr("plugins").length)), no, false,
         true, ok, ok, ok, ok},
        {"vqws_get_support_paths", CALL(vqws_get_support_paths(OUT)), text, false, false, ok, ok, ok, ok},
        {"vqws_set_config", setConfiguration, no, true, true, state, ok, ok, ok},
        {"vqws_get_config_text", CALL(vqws_get_config_text(KEY, VQWS_CONFIG_FEATURE_NAME, OUT)), text, true, false, state, ok, ok,
         client, -1, "CAD"},
        {"vqws_get_config_text", CALL(vqws_get_config_text(KEY, 12, OUT)), text, true, false, bad, bad, bad, bad},
        {"vqws_set_server", CALL(vqws_set_server(KEY, VQWS_SERVER_PRODUCTION)), no, true, false, state, ok, ok, client},
        {"vqws_set_server", CALL(vqws_set_server(KEY, 7)), no, true, false, state, lost, lost, client},
        {"vqws_get_server", CALL(vqws_get_server(a.number)), number, false, false, state, ok, ok, ok, 0},
        {"vqws_get_url", CALL(vqws_get_url(0, OUT)), text, false, false, state, ok, ok, ok, -1, "https://127.0.0.1:"},
        {"vqws_get_url", CALL(vqws_get_url(77, OUT)), text, false, false, state, lost, lost, lost},
        {"vqws_get_cache_path", CALL(vqws_get_cache_path(KEY, OUT)), text, true, false, ok, ok, ok, client},
        {"vqws_get_login_state_file", CALL(vqws_get_login_state_file(OUT)), text, false, false, ok, ok, ok, ok},
        {"vqws_get_log_file", CALL(vqws_get_log_file(OUT)), text, false, false, ok, ok, ok, ok},
        {"vqws_is_sso_for_all_users", CALL(vqws_is_sso_for_all_users(a.number)), number, false, false, ok, ok, ok, ok, 0},
        {"vqws_is_log_enabled", CALL(vqws_is_log_enabled(a.number)), number, false, false, ok, ok, ok, ok, 1},
        {"vqws_restore_login", CALL(vqws_restore_login(KEY)), no, true, false, state, ok, ok, client},
        {"vqws_get_user_name", CALL(vqws_get_user_name(KEY, OUT)), text, true, false, state, ok, ok, client, -1, "ada"},
        {"vqws_get_user_id", CALL(vqws_get_user_id(OUT)), text, false, false, state, ok, ok, ok},
        {"vqws_get_ldap_domain_key", CALL(vqws_get_ldap_domain_key(OUT)), text, false, false, state, ok, ok, ok},
        {"vqws_is_logged_in", CALL(vqws_is_logged_in(KEY, a.number)), number, true, false, state, ok, ok, client, 1},
        {"vqws_is_login_valid", CALL(vqws_is_login_valid(KEY, a.number)), number, true, false, state, ok, ok, client, 1},
        {"vqws_is_login_expired", CALL(vqws_is_login_expired(a.number)), number, false, false, state, ok, ok, ok, 0},
        {"vqws_get_login_expiry", CALL(vqws_get_login_expiry(a.large)), large, false, false, state, ok, ok, ok},
        {"vqws_get_login_cookie", CALL(vqws_get_login_cookie(KEY, OUT)), text, true, false, state, ok, ok, client, -1, "n=v"},
        {"vqws_get_login_cookies_json", CALL(vqws_get_login_cookies_json(KEY, OUT)), text, true, false, state, ok, ok, client, -1,
         "{\"Cookies\":[{"},
        {"vqws_complete_login",
         CALL(vqws_complete_login(KEY, a.textOr("{\"Cookies\":[]}").data, a.textOr("{\"Cookies\":[]}").length)), no, true, true,
         state, state, state, client},
        {"vqws_complete_login", CALL(vqws_complete_login(KEY, "{", 1)), no, true, false, bad, bad, bad, bad},
        {"vqws_initiate_logout", CALL(vqws_initiate_logout(KEY, OUT)), text, true, false, state, signedOut, ok, client, -1,
         "https://127.0.0.1:"},
        {"vqws_is_token_available", CALL(vqws_is_token_available(KEY, a.number)), number, true, false, state, ok, ok, client, 1},
        {"vqws_is_token_expired", CALL(vqws_is_token_expired(KEY, a.number)), number, true, false, state, ok, ok, client, 0},
        {"vqws_get_token_expiry", CALL(vqws_get_token_expiry(KEY, a.large)), large, true, false, state, ok, ok, client},
        {"vqws_get_access_token", CALL(vqws_get_access_token(KEY, 1, OUT)), text, true, false, state, signedOut, ok, client},
        {"vqws_refresh_token", CALL(vqws_refresh_token(KEY, 1)), no, true, false, state, signedOut, ok, client},
        {"vqws_sign_request", sign, text, true, true, state, signedOut, ok, client, -1, "x=1%20%26%202&oauth_"},
        {"vqws_sign_url_for_browser",
         CALL(vqws_sign_url_for_browser(KEY, a.textOr("https://example.com/").data, a.textOr("https://example.com/").length, 1,
                                        OUT)),
         text, true, true, state, signedOut, ok, client, -1, "https://example.com/?oauth_"},
        {"vqws_enable_oauth2", CALL(vqws_enable_oauth2(KEY, spec(a))), no, true, true, state, ok, ok, client},
        {"vqws_enable_oauth2", CALL(vqws_enable_oauth2(KEY, nullptr)), no, true, false, state, ok, ok, client},
        {"vqws_is_oauth2_enabled", CALL(vqws_is_oauth2_enabled(KEY, a.number)), number, true, false, state, ok, ok, client, 1},
        {"vqws_get_oauth2_token", CALL(vqws_get_oauth2_token(KEY, spec(a), 1, OUT)), text, true, true, state, signedOut, ok,
         client},
        {"vqws_refresh_oauth2_token", CALL(vqws_refresh_oauth2_token(KEY, nullptr, 1)), no, true, false, state, signedOut, ok,
         client},
        {"vqws_is_oauth2_token_available", CALL(vqws_is_oauth2_token_available(KEY, spec(a), a.number)), number, true, true,
         state, ok, ok, client, 1},
        {"vqws_is_oauth2_token_expired", CALL(vqws_is_oauth2_token_expired(KEY, nullptr, a.number)), number, true, false, state,
         ok, ok, client, 0},
        {"vqws_get_oauth2_token_expiry", CALL(vqws_get_oauth2_token_expiry(KEY, nullptr, a.large)), large, true, false, state, ok,
         ok, client},
        {"vqws_get_user_email", CALL(vqws_get_user_email(KEY, OUT)), text, true, false, state, signedOut, ok, client, -1, "ada"},
        {"vqws_get_user_first_name", CALL(vqws_get_user_first_name(KEY, OUT)), text, true, false, state, signedOut, ok, client,
         -1, "Ada"},
        {"vqws_get_user_last_name", CALL(vqws_get_user_last_name(KEY, OUT)), text, true, false, state, signedOut, ok, client},
        {"vqws_get_user_info", CALL(vqws_get_user_info(KEY, OUT)), text, true, false, state, signedOut, ok, client, -1, "<"},
        {"vqws_get_entitlement", CALL(vqws_get_entitlement(KEY, a.textOr("Storage").data, a.textOr("Storage").length, a.number)),
         number, true, true, state, signedOut, ok, client, VQWS_ENTITLEMENT_YES},
        {"vqws_get_entitlement_xml",
         CALL(vqws_get_entitlement_xml(KEY, a.textOr("Sharing").data, a.textOr("Sharing").length, OUT)), text, true, true, state,
         signedOut, ok, client, -1, "<"},
        {"vqws_get_storage_quota",
         [](A a) {
             int64_t used = 0;
             return vqws_get_storage_quota(KEY, &used, a.large);
         },
         large, true, false, state, signedOut, ok, client, 5368709120},
        {"vqws_is_cache_available", CALL(vqws_is_cache_available(KEY, VQWS_CACHE_STORAGE_QUOTA, a.number)), number, true, false,
         state, ok, ok, client, 1},
        {"vqws_invalidate_cache", CALL(vqws_invalidate_cache(KEY, VQWS_CACHE_ENTITLEMENT)), no, true, false, state, ok, ok,
         client},
        {"vqws_enable_cache", CALL(vqws_enable_cache(KEY, VQWS_CACHE_STORAGE_QUOTA, 1)), no, true, false, state, ok, ok, client},
        {"vqws_is_cache_enabled", CALL(vqws_is_cache_enabled(KEY, VQWS_CACHE_STORAGE_QUOTA, a.number)), number, true, false,
         state, ok, ok, client, 1},
        {"vqws_is_cache_enabled", CALL(vqws_is_cache_enabled(KEY, 3, a.number)), number, true, false, bad, bad, bad, bad},
        {"vqws_get_proxy_dialog_text", CALL(vqws_get_proxy_dialog_text(VQWS_DIALOG_CAPTION, OUT)), text, false, false, state, ok,
         ok, ok, -1, "Authenticate"},
        {"vqws_set_proxy_dialog_texts",
         CALL(vqws_set_proxy_dialog_texts(a.textOr(nullptr).data, a.textOr(nullptr).length, nullptr, 0)), no, false, true, state,
         ok, ok, ok},
        {"vqws_has_proxy", CALL(vqws_has_proxy(a.number)), number, false, false, state, ok, ok, ok, 0},
        {"vqws_has_proxy_login", CALL(vqws_has_proxy_login(a.textOr("h").data, a.textOr("h").length, 1, a.number)), number, false,
         true, state, ok, ok, ok, 0},
        {"vqws_get_proxy_user", CALL(vqws_get_proxy_user(a.textOr("h").data, a.textOr("h").length, 1, OUT)), text, false, true,
         state, lost, lost, lost},
        {"vqws_get_proxy_password", CALL(vqws_get_proxy_password("h", VQWS_Z, 1, OUT)), text, false, false, state, lost, lost,
         lost},
        {"vqws_set_proxy_login", CALL(vqws_set_proxy_login(a.textOr("h").data, a.textOr("h").length, 0, "u", VQWS_Z, nullptr, 0)),
         no, false, true, state, bad, bad, bad},
        {"vqws_clear_proxy", CALL(vqws_clear_proxy()), no, false, false, state, ok, ok, ok},
        {"vqws_unobserve", CALL(vqws_unobserve(4711)), no, false, false, lost, lost, lost, lost},
        {"vqws_disable_oauth2", CALL(vqws_disable_oauth2(KEY)), no, true, false, state, ok, ok, client},
    };
}

} // namespace

const std::vector<CallRow>& callTable() {
    static const std::vector<CallRow> table = makeTable();
    return table;
}
