#ifndef VQWS_H
#define VQWS_H

/**
 * @file
 * The C interface of the library, for every compiler and language. It needs C99 or C++11 and no other header of the library.
 *
 * A function returns VQWS_OK or another result; a result that a program does not know means that the call failed. What a
 * function tells, it writes to its last arguments; on failure it writes 0 or the empty text there. `vqws_last_error` tells more.
 *
 * Text given to the library is UTF-8, a pointer with its length in bytes; VQWS_Z as the length means that a zero ends it. NULL
 * with the length 0 is an absent text, NULL with any other length is VQWS_ARGUMENT. Bytes that are not UTF-8, and a zero within
 * the length, are VQWS_TEXT. More than VQWS_TEXT_MAX bytes are VQWS_TOO_LONG. The library copies what it keeps.
 *
 * Text given by the library goes to (`buf`, `cap`, `len`). `len` always receives the whole length without the terminating zero.
 * When `cap` is larger, the text and a zero are written. Otherwise the result is VQWS_BUFFER, the buffer holds the empty text,
 * and the library keeps the text for this thread until its next call: `vqws_take_text` fetches it without doing the work
 * again. `buf` may be NULL when `cap` is 0.
 *
 * `key` is the key of a client, usually the consumer key of its product. NULL means the client of the process itself.
 *
 * Every function may be called on any thread unless it says otherwise. None throws. In a forked child of a process that uses
 * the library, and in a log callback, every function returns VQWS_STATE. Times are seconds since 1970-01-01 UTC; 0 is unknown.
 *
 * Functions, constants and structs that were once here stay as they are. A struct may grow at its end; its `size` says how much
 * of it the program knows, and members that the program does not know count as 0.
 */

#include <stddef.h>
#include <stdint.h>

/** The version of this header: major, minor, patch with 8 bits each. */
#define VQWS_VERSION 0x00010000

/** @{ */
/** The calling convention of functions and callbacks, what a build of the library adds to the declarations, and that no function
 *  throws. */
#if defined(_MSC_VER) || defined(__MINGW32__)
#define VQWS_CALL __cdecl
#else
#define VQWS_CALL
#endif
#ifndef VQWS_API
#define VQWS_API
#endif
#ifdef __cplusplus
#define VQWS_NOEXCEPT noexcept
#else
#define VQWS_NOEXCEPT
#endif
/** @} */

#ifdef __cplusplus
extern "C" {
#endif

/** As the length of a text: a zero ends the text. */
#define VQWS_Z SIZE_MAX
/** The most bytes of a text that the library takes. */
#define VQWS_TEXT_MAX 1048575

/** @{ */
/** Results. The numbers never change. */
#define VQWS_OK 0
#define VQWS_FAILED 1            /**< None of the reasons below; the log says which. */
#define VQWS_ARGUMENT 2          /**< A pointer that must not be NULL, or a number that the function does not know. */
#define VQWS_TEXT 3              /**< A text is not UTF-8, or has a zero inside. */
#define VQWS_TOO_LONG 4          /**< A text is longer than VQWS_TEXT_MAX. */
#define VQWS_BUFFER 5            /**< The buffer is too small; `vqws_take_text` has the text. */
#define VQWS_STATE 6             /**< The library is not initialized, or not at that point. */
#define VQWS_WRONG_THREAD 7      /**< The function belongs on the event thread. */
#define VQWS_UNKNOWN_CLIENT 8    /**< No configuration was set with this key. */
#define VQWS_NOT_SIGNED_IN 9     /**< The user, or the product, is not signed in. */
#define VQWS_VETOED 10           /**< An observer has refused the sign-out. */
#define VQWS_NO_NETWORK 11       /**< The service could not be reached. */
#define VQWS_TLS 12              /**< No secure connection. */
#define VQWS_CLOCK 13            /**< The service refused the request because the clock of this machine is wrong. */
#define VQWS_REFUSED 14          /**< The service refused the request. */
#define VQWS_INVALID_REPLY 15    /**< The service gave no usable reply. */
#define VQWS_SIGNING 16          /**< The request could not be signed. */
#define VQWS_NOT_FOUND 17        /**< What was asked for does not exist. */
#define VQWS_UNSUPPORTED 18      /**< A struct has a member that this library does not know, or the system lacks it. */
#define VQWS_NO_LOG_CONFIG 19    /**< Without "WebServices.logconfig" the library does not use the network. */
#define VQWS_NO_CONFIGURATION 20 /**< The client has no configuration for the current server, or is not restored. */
#define VQWS_EXPIRED 21          /**< The token has expired, and no new one could be had. */
#define VQWS_BUSY 22             /**< Another sign-in or sign-out is under way on this thread. */
#define VQWS_MEMORY 23           /**< No memory. */
#define VQWS_INTERNAL 24         /**< A fault of the library. */
/** @} */

/** A text in a struct, as in the arguments of functions. This struct never grows. */
typedef struct vqws_text {
    const char* data; /**< UTF-8. */
    size_t length;    /**< In bytes, or VQWS_Z. */
} vqws_text;

/** More about the last call of this thread. */
typedef struct vqws_error {
    uint32_t size;       /**< sizeof(vqws_error), set by the caller; how much was written, set by the library. */
    int32_t code;        /**< The result of the call. */
    int32_t http_status; /**< Of the reply of the service; 0 without one. */
} vqws_error;

/** @{ */
/** The version of the interface in the library that runs, as VQWS_VERSION, and that of the library as a text. */
VQWS_API uint32_t VQWS_CALL vqws_version(void) VQWS_NOEXCEPT;
VQWS_API int32_t VQWS_CALL vqws_library_version(char* buf, size_t cap, size_t* len) VQWS_NOEXCEPT;
/** @} */

/** Why the last call of this thread failed, with the text of the error line in the log; VQWS_OK and the empty text after a
 *  success. Every other function but `vqws_version` and `vqws_take_text` begins with no error. `error` may be NULL. This function
 * never changes what it tells. */
VQWS_API int32_t VQWS_CALL vqws_last_error(vqws_error* error, char* buf, size_t cap, size_t* len) VQWS_NOEXCEPT;

/** The text that did not fit into the buffer of the last call on this thread; VQWS_NOT_FOUND when there is none. A text that
 *  was fetched is wiped. */
VQWS_API int32_t VQWS_CALL vqws_take_text(char* buf, size_t cap, size_t* len) VQWS_NOEXCEPT;

/* Life of the library */

/** The kind of an OAuth2 token. NULL in place of a spec means the client's default token. */
typedef struct vqws_token_spec {
    uint32_t size;   /**< sizeof(vqws_token_spec). */
    int32_t type;    /**< VQWS_TOKEN_RT or VQWS_TOKEN_JWT. */
    vqws_text scope; /**< Words separated by blanks; may be absent. */
} vqws_token_spec;
#define VQWS_TOKEN_RT 1  /**< The kind of a product's default token. */
#define VQWS_TOKEN_JWT 2 /**< A JSON web token. */

/** Asks the host to call `vqws_dispatch` soon. Called on any thread, once until the next `vqws_dispatch`. It may only post to
 *  the event thread, and may not call the library. */
typedef void(VQWS_CALL* vqws_wake_fn)(void* user);

#define VQWS_MODE_HOST 0  /**< Events come on the thread of the first `vqws_init`, when it calls `vqws_dispatch` or runs Qt. */
#define VQWS_MODE_OWN 1   /**< Events come on a thread of the library. Refused with VQWS_STATE when Qt runs in the host. */
#define VQWS_OAUTH2_OFF 0 /**< No tokens. */
#define VQWS_OAUTH2_DEFAULT 1 /**< The token of type RT with the scope of the configuration. */
#define VQWS_OAUTH2_SPEC 2    /**< The token of `oauth2_spec`. */

/** How the library starts. */
typedef struct vqws_init_options {
    uint32_t size;                      /**< sizeof(vqws_init_options). */
    int32_t mode;                       /**< VQWS_MODE_... */
    int32_t oauth2;                     /**< VQWS_OAUTH2_...: the OAuth2 tokens of the client of the process itself. */
    int32_t reserved;                   /**< 0. */
    const vqws_token_spec* oauth2_spec; /**< For VQWS_OAUTH2_SPEC. */
    vqws_wake_fn wake;                  /**< May be NULL. For VQWS_MODE_HOST. */
    void* wake_user;                    /**< What `wake` receives. */
} vqws_init_options;

/** Starts the library, or counts one more user of it; waits for a start on another thread. `options` may be NULL, and count in
 *  the first call; a later one with another mode is VQWS_STATE. Not from a DLL's entry point. A failed call counts nothing. */
VQWS_API int32_t VQWS_CALL vqws_init(const vqws_init_options* options) VQWS_NOEXCEPT;

/** Counts one user less. The last call stops the library, and ends every registration with its release call; in the mode HOST it
 *  belongs on the event thread. VQWS_STATE when there was no user. */
VQWS_API int32_t VQWS_CALL vqws_uninit(void) VQWS_NOEXCEPT;

/** Whether the library is initialized, through this interface or the one in C++. */
VQWS_API int32_t VQWS_CALL vqws_is_initialized(int32_t* yes) VQWS_NOEXCEPT;

/** Delivers the events that wait for the event thread. Mode HOST, on the event thread. */
VQWS_API int32_t VQWS_CALL vqws_dispatch(void) VQWS_NOEXCEPT;

/** @{ */
/** Delivers the events with every message that the calling thread takes from its queue, until it is removed there. Windows only;
 *  VQWS_UNSUPPORTED elsewhere. */
VQWS_API int32_t VQWS_CALL vqws_set_event_hook(void) VQWS_NOEXCEPT;
VQWS_API int32_t VQWS_CALL vqws_remove_event_hook(void) VQWS_NOEXCEPT;
/** @} */

/** @{ */
/** The folders, separated by ";", that are searched for "WebServices.logconfig" and the URL files after the library's own. Set
 *  them before `vqws_init`. */
VQWS_API int32_t VQWS_CALL vqws_set_support_paths(const char* paths, size_t paths_len) VQWS_NOEXCEPT;
VQWS_API int32_t VQWS_CALL vqws_get_support_paths(char* buf, size_t cap, size_t* len) VQWS_NOEXCEPT;
/** @} */

/** @{ */
/** Adds the library's default folders, or this one, to those that Qt searches for its plug-ins. */
VQWS_API int32_t VQWS_CALL vqws_set_default_plugin_paths(void) VQWS_NOEXCEPT;
VQWS_API int32_t VQWS_CALL vqws_add_plugin_path(const char* path, size_t path_len) VQWS_NOEXCEPT;
/** @} */

/* Configuration and server */

/** @{ */
/** The servers. */
#define VQWS_SERVER_NONE (-1)
#define VQWS_SERVER_PRODUCTION 0
#define VQWS_SERVER_STAGING 1
#define VQWS_SERVER_DEVELOPMENT 2
/** @} */

/** The configuration of a client for one server. Key and secret are required. */
typedef struct vqws_config {
    uint32_t size;                    /**< sizeof(vqws_config). */
    int32_t server;                   /**< VQWS_SERVER_... */
    vqws_text consumer_key;           /**< The OAuth 1.0 consumer key. Required. */
    vqws_text consumer_secret;        /**< Required. */
    vqws_text serial_number;          /**< Identity of the installed product, sent with a sign-in; as the next six. */
    vqws_text product_line_code;      /**< As above. */
    vqws_text upi_release;            /**< As above. */
    vqws_text upi_master;             /**< As above. */
    vqws_text upi_build;              /**< As above. */
    vqws_text feature_name;           /**< As above. */
    vqws_text feature_version;        /**< As above. */
    vqws_text oauth2_consumer_key;    /**< The OAuth2 client; absent when the product does not use OAuth2. */
    vqws_text oauth2_consumer_secret; /**< Its secret. */
    vqws_text oauth2_scope;           /**< The scope of the default token, words separated by blanks. */
} vqws_config;

/** @{ */
/** The texts of a configuration, in the order of vqws_config. */
#define VQWS_CONFIG_CONSUMER_KEY 0
#define VQWS_CONFIG_CONSUMER_SECRET 1
#define VQWS_CONFIG_SERIAL_NUMBER 2
#define VQWS_CONFIG_PRODUCT_LINE_CODE 3
#define VQWS_CONFIG_UPI_RELEASE 4
#define VQWS_CONFIG_UPI_MASTER 5
#define VQWS_CONFIG_UPI_BUILD 6
#define VQWS_CONFIG_FEATURE_NAME 7
#define VQWS_CONFIG_FEATURE_VERSION 8
#define VQWS_CONFIG_OAUTH2_CONSUMER_KEY 9
#define VQWS_CONFIG_OAUTH2_CONSUMER_SECRET 10
#define VQWS_CONFIG_OAUTH2_SCOPE 11
/** @} */

/** Registers or replaces the client's configuration for the configuration's server. */
VQWS_API int32_t VQWS_CALL vqws_set_config(const char* key, size_t key_len, const vqws_config* config) VQWS_NOEXCEPT;
/** One text (VQWS_CONFIG_...) of the client's configuration for the current server. */
VQWS_API int32_t VQWS_CALL vqws_get_config_text(const char* key, size_t key_len, int32_t which, char* buf, size_t cap,
                                                size_t* len) VQWS_NOEXCEPT;
/** Changes the current server of all products, and signs the user out of the previous one. May wait for the network. */
VQWS_API int32_t VQWS_CALL vqws_set_server(const char* key, size_t key_len, int32_t server) VQWS_NOEXCEPT;
/** The current server. */
VQWS_API int32_t VQWS_CALL vqws_get_server(int32_t* server) VQWS_NOEXCEPT;
/** The URL with this code (docs/configuration.md) on the current server; VQWS_NOT_FOUND when there is none. */
VQWS_API int32_t VQWS_CALL vqws_get_url(int32_t code, char* buf, size_t cap, size_t* len) VQWS_NOEXCEPT;

/** @{ */
/** Paths: a folder of the client's own, the login state file, and the log file. */
VQWS_API int32_t VQWS_CALL vqws_get_cache_path(const char* key, size_t key_len, char* buf, size_t cap, size_t* len) VQWS_NOEXCEPT;
VQWS_API int32_t VQWS_CALL vqws_get_login_state_file(char* buf, size_t cap, size_t* len) VQWS_NOEXCEPT;
VQWS_API int32_t VQWS_CALL vqws_get_log_file(char* buf, size_t cap, size_t* len) VQWS_NOEXCEPT;
/** @} */

/** Whether the login state is in the data folder of all users of the machine. */
VQWS_API int32_t VQWS_CALL vqws_is_sso_for_all_users(int32_t* yes) VQWS_NOEXCEPT;
/** Whether at least one logger has a level other than off. */
VQWS_API int32_t VQWS_CALL vqws_is_log_enabled(int32_t* yes) VQWS_NOEXCEPT;

/* The signed-in user. Nobody signed in is no failure here: the texts are empty then. */

/** @{ */
/** Name and id of the signed-in user, and the domain key of the last sign-in. */
VQWS_API int32_t VQWS_CALL vqws_get_user_name(const char* key, size_t key_len, char* buf, size_t cap, size_t* len) VQWS_NOEXCEPT;
VQWS_API int32_t VQWS_CALL vqws_get_user_id(char* buf, size_t cap, size_t* len) VQWS_NOEXCEPT;
VQWS_API int32_t VQWS_CALL vqws_get_ldap_domain_key(char* buf, size_t cap, size_t* len) VQWS_NOEXCEPT;
/** @} */
/** @{ */
/** Whether the user is signed in, and has not expired. With a key the client's product must be signed in too. */
VQWS_API int32_t VQWS_CALL vqws_is_logged_in(const char* key, size_t key_len, int32_t* yes) VQWS_NOEXCEPT;
VQWS_API int32_t VQWS_CALL vqws_is_login_valid(const char* key, size_t key_len, int32_t* yes) VQWS_NOEXCEPT;
/** @} */
/** @{ */
/** Whether and when the sign-in expires. */
VQWS_API int32_t VQWS_CALL vqws_is_login_expired(int32_t* yes) VQWS_NOEXCEPT;
VQWS_API int32_t VQWS_CALL vqws_get_login_expiry(int64_t* seconds) VQWS_NOEXCEPT;
/** @} */
/** The cookies of the sign-in as the value of an HTTP header "Cookie". */
VQWS_API int32_t VQWS_CALL vqws_get_login_cookie(const char* key, size_t key_len, char* buf, size_t cap,
                                                 size_t* len) VQWS_NOEXCEPT;
/** The same cookies as JSON: {"Cookies": [...]}, as `vqws_complete_login` takes them. */
VQWS_API int32_t VQWS_CALL vqws_get_login_cookies_json(const char* key, size_t key_len, char* buf, size_t cap,
                                                       size_t* len) VQWS_NOEXCEPT;

/* Sign-in and sign-out */

/** Restores the sign-in of all products from the login state file. Call it once after `vqws_set_config`. */
VQWS_API int32_t VQWS_CALL vqws_restore_login(const char* key, size_t key_len) VQWS_NOEXCEPT;
/** The URL of the sign-in page for the browser. `user` is a hint for the service, and may be absent. Waits for the network, at
 *  most 60 seconds. */
VQWS_API int32_t VQWS_CALL vqws_initiate_login(const char* key, size_t key_len, const char* user, size_t user_len, char* buf,
                                               size_t cap, size_t* len) VQWS_NOEXCEPT;
/** Completes the sign-in after the browser step. `cookies` are those of the browser as JSON, and may be absent. Waits for the
 *  network, at most 60 seconds. */
VQWS_API int32_t VQWS_CALL vqws_complete_login(const char* key, size_t key_len, const char* cookies,
                                               size_t cookies_len) VQWS_NOEXCEPT;
/** The signed URL of the logout page for the browser. The cookies to clear there are those of `vqws_get_login_cookies_json`. */
VQWS_API int32_t VQWS_CALL vqws_initiate_logout(const char* key, size_t key_len, char* buf, size_t cap,
                                                size_t* len) VQWS_NOEXCEPT;
/** Removes the user from this machine, for all products. */
VQWS_API int32_t VQWS_CALL vqws_complete_logout(const char* key, size_t key_len) VQWS_NOEXCEPT;
/** The whole sign-out without a browser. Waits for the network, at most 60 seconds, and on another thread than the event thread
 *  for the answer of the observers: a host that does not dispatch for 61 seconds vetoes. */
VQWS_API int32_t VQWS_CALL vqws_logout(const char* key, size_t key_len) VQWS_NOEXCEPT;

/* Tokens and signing */

/** @{ */
/** Whether the client has an access token, whether it has expired, and when it does. */
VQWS_API int32_t VQWS_CALL vqws_is_token_available(const char* key, size_t key_len, int32_t* yes) VQWS_NOEXCEPT;
VQWS_API int32_t VQWS_CALL vqws_is_token_expired(const char* key, size_t key_len, int32_t* yes) VQWS_NOEXCEPT;
VQWS_API int32_t VQWS_CALL vqws_get_token_expiry(const char* key, size_t key_len, int64_t* seconds) VQWS_NOEXCEPT;
/** @} */
/** The OAuth 1.0 access token. With `check_expiry` an expired one is refreshed first. */
VQWS_API int32_t VQWS_CALL vqws_get_access_token(const char* key, size_t key_len, int32_t check_expiry, char* buf, size_t cap,
                                                 size_t* len) VQWS_NOEXCEPT;
/** Requests a new access token. When `synchronous` is not 0 the call waits for it, at most 61 seconds. */
VQWS_API int32_t VQWS_CALL vqws_refresh_token(const char* key, size_t key_len, int32_t synchronous) VQWS_NOEXCEPT;

/** A parameter of a request, not encoded: of a form body, or of a query in addition to that in the URL. Never grows. */
typedef struct vqws_param {
    vqws_text name;  /**< Not empty. */
    vqws_text value; /**< May be absent. */
} vqws_param;

/** @{ */
/** The methods of HTTP, and the form of a signature. */
#define VQWS_GET 0
#define VQWS_POST 1
#define VQWS_PUT 2
#define VQWS_DELETE 3
#define VQWS_HEAD 4
#define VQWS_OPTIONS 5
#define VQWS_TRACE 6
#define VQWS_PROPFIND 7
#define VQWS_MOVE 8
#define VQWS_COPY 9
#define VQWS_LOCK 10
#define VQWS_UNLOCK 11
#define VQWS_CHECKIN 12
#define VQWS_CHECKOUT 13
#define VQWS_CANCEL_UPLOAD 14
#define VQWS_REPORT 15
#define VQWS_UPDATE 16
#define VQWS_PROPPATCH 17
#define VQWS_GET_LIB 18
#define VQWS_VERSION_CONTROL 19
#define VQWS_SIGN_QUERY 0  /**< name=value joined with "&": the OAuth parameters, for a query. */
#define VQWS_SIGN_HEADER 1 /**< The value of the header "Authorization". */
#define VQWS_SIGN_URL 2    /**< The whole URL. */
#define VQWS_SIGN_BODY 3   /**< As VQWS_SIGN_QUERY, with the given parameters before the OAuth ones, for a form body. */
/** @} */

/** A request to sign. */
typedef struct vqws_request {
    uint32_t size;            /**< sizeof(vqws_request). */
    int32_t method;           /**< VQWS_GET and its like. */
    int32_t mode;             /**< VQWS_SIGN_... */
    int32_t reserved;         /**< 0. */
    vqws_text url;            /**< Absolute, http or https, encoded; send it to the letter as it was signed. */
    const vqws_param* params; /**< NULL when there are none. */
    size_t param_count;       /**< At most 1000. */
    vqws_text token;          /**< With `token_secret` in place of the access token; usually absent. */
    vqws_text token_secret;   /**< Its secret. */
} vqws_request;

/** Signs a request with OAuth 1.0 (RFC 5849, HMAC-SHA1). An expired token is refreshed first, at most 61 seconds. */
VQWS_API int32_t VQWS_CALL vqws_sign_request(const char* key, size_t key_len, const vqws_request* request, char* buf, size_t cap,
                                             size_t* len) VQWS_NOEXCEPT;
/** The URL with a signature in its query, for the user's browser. With `check_expiry` an expired token is refreshed first. */
VQWS_API int32_t VQWS_CALL vqws_sign_url_for_browser(const char* key, size_t key_len, const char* url, size_t url_len,
                                                     int32_t check_expiry, char* buf, size_t cap, size_t* len) VQWS_NOEXCEPT;

/* OAuth2 tokens */

/** Whether OAuth2 is enabled for the client. */
VQWS_API int32_t VQWS_CALL vqws_is_oauth2_enabled(const char* key, size_t key_len, int32_t* yes) VQWS_NOEXCEPT;
/** Enables OAuth2 with tokens of this kind in addition to those before; a NULL spec is VQWS_OAUTH2_DEFAULT. */
VQWS_API int32_t VQWS_CALL vqws_enable_oauth2(const char* key, size_t key_len, const vqws_token_spec* spec) VQWS_NOEXCEPT;
/** Disables OAuth2 and discards the tokens in this process. */
VQWS_API int32_t VQWS_CALL vqws_disable_oauth2(const char* key, size_t key_len) VQWS_NOEXCEPT;
/** With `wait` a missing or expired token is requested first, at most 61 seconds for each request. */
VQWS_API int32_t VQWS_CALL vqws_get_oauth2_token(const char* key, size_t key_len, const vqws_token_spec* spec, int32_t wait,
                                                 char* buf, size_t cap, size_t* len) VQWS_NOEXCEPT;
/** Requests a new token, as `vqws_refresh_token`. */
VQWS_API int32_t VQWS_CALL vqws_refresh_oauth2_token(const char* key, size_t key_len, const vqws_token_spec* spec,
                                                     int32_t synchronous) VQWS_NOEXCEPT;
/** @{ */
/** Whether the client has such a token, whether it has expired, and when it does. */
VQWS_API int32_t VQWS_CALL vqws_is_oauth2_token_available(const char* key, size_t key_len, const vqws_token_spec* spec,
                                                          int32_t* yes) VQWS_NOEXCEPT;
VQWS_API int32_t VQWS_CALL vqws_is_oauth2_token_expired(const char* key, size_t key_len, const vqws_token_spec* spec,
                                                        int32_t* yes) VQWS_NOEXCEPT;
VQWS_API int32_t VQWS_CALL vqws_get_oauth2_token_expiry(const char* key, size_t key_len, const vqws_token_spec* spec,
                                                        int64_t* seconds) VQWS_NOEXCEPT;
/** @} */

/* Cached replies of the web services about the user. A call waits only for a value that is not known, at most 63 seconds. */

/** @{ */
/** The replies that are cached. */
#define VQWS_CACHE_USER_INFO 1
#define VQWS_CACHE_STORAGE_QUOTA 2
#define VQWS_CACHE_ENTITLEMENT 16
/** @} */
/** @{ */
/** Whether the user may use a service. */
#define VQWS_ENTITLEMENT_UNKNOWN 0
#define VQWS_ENTITLEMENT_YES 1
#define VQWS_ENTITLEMENT_NO 2
#define VQWS_ENTITLEMENT_TRIAL 3
#define VQWS_ENTITLEMENT_NO_SESSION 4
/** @} */

/** @{ */
/** The user's e-mail address and names. */
VQWS_API int32_t VQWS_CALL vqws_get_user_email(const char* key, size_t key_len, char* buf, size_t cap, size_t* len) VQWS_NOEXCEPT;
VQWS_API int32_t VQWS_CALL vqws_get_user_first_name(const char* key, size_t key_len, char* buf, size_t cap,
                                                    size_t* len) VQWS_NOEXCEPT;
VQWS_API int32_t VQWS_CALL vqws_get_user_last_name(const char* key, size_t key_len, char* buf, size_t cap,
                                                   size_t* len) VQWS_NOEXCEPT;
/** @} */
/** The whole reply about the user, as XML. */
VQWS_API int32_t VQWS_CALL vqws_get_user_info(const char* key, size_t key_len, char* buf, size_t cap, size_t* len) VQWS_NOEXCEPT;
/** Whether the user may use the service of this name (VQWS_ENTITLEMENT_...). */
VQWS_API int32_t VQWS_CALL vqws_get_entitlement(const char* key, size_t key_len, const char* service, size_t service_len,
                                                int32_t* answer) VQWS_NOEXCEPT;
/** The reply about the services as XML: the part about this service, or without one the whole. */
VQWS_API int32_t VQWS_CALL vqws_get_entitlement_xml(const char* key, size_t key_len, const char* service, size_t service_len,
                                                    char* buf, size_t cap, size_t* len) VQWS_NOEXCEPT;
/** The used and the total cloud storage of the user, in bytes. */
VQWS_API int32_t VQWS_CALL vqws_get_storage_quota(const char* key, size_t key_len, int64_t* used, int64_t* total) VQWS_NOEXCEPT;
/** @{ */
/** Whether the client uses a cache, and whether it has a value; discarding the value (VQWS_CACHE_...). */
VQWS_API int32_t VQWS_CALL vqws_is_cache_enabled(const char* key, size_t key_len, int32_t cache, int32_t* yes) VQWS_NOEXCEPT;
VQWS_API int32_t VQWS_CALL vqws_enable_cache(const char* key, size_t key_len, int32_t cache, int32_t enable) VQWS_NOEXCEPT;
VQWS_API int32_t VQWS_CALL vqws_is_cache_available(const char* key, size_t key_len, int32_t cache, int32_t* yes) VQWS_NOEXCEPT;
VQWS_API int32_t VQWS_CALL vqws_invalidate_cache(const char* key, size_t key_len, int32_t cache) VQWS_NOEXCEPT;
/** @} */

/* The proxy of this process and its credentials. A port is 1 to 65535; where a proxy is looked up, -1 is any port. */

/** @{ */
/** The texts of the prompt for proxy credentials. */
#define VQWS_DIALOG_CAPTION 0
#define VQWS_DIALOG_MESSAGE 1
/** @} */
/** One text (VQWS_DIALOG_...) of the prompt; "%1" is the host of the proxy, "%2" its port. */
VQWS_API int32_t VQWS_CALL vqws_get_proxy_dialog_text(int32_t which, char* buf, size_t cap, size_t* len) VQWS_NOEXCEPT;
/** Absent or empty restores the library's own text. */
VQWS_API int32_t VQWS_CALL vqws_set_proxy_dialog_texts(const char* caption, size_t caption_len, const char* message,
                                                       size_t message_len) VQWS_NOEXCEPT;
/** @{ */
/** Whether a proxy is stored at all and for this host and port, its user and password, and storing one. A proxy that is stored is
 * that of the process from now on, also for other code that uses Qt. */
VQWS_API int32_t VQWS_CALL vqws_has_proxy(int32_t* yes) VQWS_NOEXCEPT;
VQWS_API int32_t VQWS_CALL vqws_has_proxy_login(const char* host, size_t host_len, int32_t port, int32_t* yes) VQWS_NOEXCEPT;
VQWS_API int32_t VQWS_CALL vqws_get_proxy_user(const char* host, size_t host_len, int32_t port, char* buf, size_t cap,
                                               size_t* len) VQWS_NOEXCEPT;
VQWS_API int32_t VQWS_CALL vqws_get_proxy_password(const char* host, size_t host_len, int32_t port, char* buf, size_t cap,
                                                   size_t* len) VQWS_NOEXCEPT;
VQWS_API int32_t VQWS_CALL vqws_set_proxy_login(const char* host, size_t host_len, int32_t port, const char* user,
                                                size_t user_len, const char* password, size_t password_len) VQWS_NOEXCEPT;
/** @} */
/** Removes the stored proxy, here and in the file. */
VQWS_API int32_t VQWS_CALL vqws_clear_proxy(void) VQWS_NOEXCEPT;

/* Events and the log */

/** @{ */
/** The kinds of events. Ignore a kind that you do not know. 18 stays free. */
#define VQWS_EVENT_ACCOUNT_CREATED 0
#define VQWS_EVENT_LOGGED_IN 1
#define VQWS_EVENT_LOGIN_RESTORED 2
#define VQWS_EVENT_LOGGED_OUT 3
#define VQWS_EVENT_TOKEN_REFRESHED 4
#define VQWS_EVENT_ABOUT_TO_LOGOUT 5
#define VQWS_EVENT_LOGGING_OUT 6
#define VQWS_EVENT_SERVER_CHANGED 7
#define VQWS_EVENT_OAUTH2_TOKEN_REFRESHED 8
#define VQWS_EVENT_TOKEN_ACQUIRED 9
#define VQWS_EVENT_TOKEN_AVAILABLE 10
#define VQWS_EVENT_OAUTH2_ENABLED 11
#define VQWS_EVENT_OAUTH2_DISABLED 12
#define VQWS_EVENT_OAUTH2_TOKEN_ACQUIRED 13
#define VQWS_EVENT_OAUTH2_TOKEN_AVAILABLE 14
#define VQWS_EVENT_OAUTH2_TOKEN_DISCARDED 15
#define VQWS_EVENT_TOKEN_QUERY_FAILED 16
#define VQWS_EVENT_OAUTH2_TOKEN_QUERY_FAILED 17
#define VQWS_EVENT_LOGIN_DIALOG_TIMEOUT 19
/** @} */

/** An event. It is valid during the call. */
typedef struct vqws_event {
    uint32_t size;      /**< How much of the struct the library has filled. */
    int32_t kind;       /**< VQWS_EVENT_... */
    vqws_text key;      /**< The consumer key of the product that the event is about; empty when it is about none. */
    uint64_t thread_id; /**< Of the event thread: that of GetCurrentThreadId on Windows, of pthread_self elsewhere. */
} vqws_event;

/** Called on the event thread, with no lock held; it may call the library. The result counts for VQWS_EVENT_ABOUT_TO_LOGOUT
 *  only: other than 0 keeps the user signed in. No exception may leave it. */
typedef int32_t(VQWS_CALL* vqws_event_fn)(const vqws_event* event, void* user);
/** Called once when a registration has ended; may call the library unless the registration was for the log. */
typedef void(VQWS_CALL* vqws_release_fn)(void* user);
/** Called on a thread of the log for each line that the log takes. The levels are 0 trace, 10000 debug, 20000 information,
 *  30000 warning, 40000 error. It may not call the library. */
typedef void(VQWS_CALL* vqws_log_fn)(int32_t level, const char* text, size_t length, void* user);

/** Registers a function for events, until `vqws_unobserve` or the last `vqws_uninit`. `id` receives the number of the
 *  registration, which is never used twice and never 0. `release` may be NULL; it is called once when the registration has ended
 *  and no call runs any more, and never when the result is not VQWS_OK. */
VQWS_API int32_t VQWS_CALL vqws_observe(vqws_event_fn fn, void* user, vqws_release_fn release, uint64_t* id) VQWS_NOEXCEPT;

/** The same for lines of the log. It may be called before `vqws_init`, and only `vqws_unobserve` ends it. Lines that are too many
 *  for the function are dropped and counted. */
VQWS_API int32_t VQWS_CALL vqws_observe_log(vqws_log_fn fn, void* user, vqws_release_fn release, uint64_t* id) VQWS_NOEXCEPT;
/** How many lines were dropped since the process began. */
VQWS_API int32_t VQWS_CALL vqws_get_log_drops(uint64_t* count) VQWS_NOEXCEPT;

/** Ends a registration. From inside a call on the same thread it returns at once, and no call starts after it. From another
 *  thread it waits for the running call, so the caller may hold no lock that the call wants. VQWS_NOT_FOUND when the number is
 *  of no registration, or of one that has ended. */
VQWS_API int32_t VQWS_CALL vqws_unobserve(uint64_t id) VQWS_NOEXCEPT;

#ifdef __cplusplus
}
#endif

#endif
