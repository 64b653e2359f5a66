#pragma once

namespace Velquor::WebServices {

/// One parameter of a request to sign, not percent-encoded: a query parameter, or a field of a form body
/// (RFC 5849, section 3.4.1.3.1). Both texts are null-terminated; a null value counts as the empty text, a null name is refused.
///
/// A parameter whose name begins with "oauth_" is an extension of the protocol (RFC 5849, section 3.1) and is written with the
/// OAuth parameters: into the header in the form `AuthorizationHeader`. Do not send it in the form body or the query as well. The
/// names that the signer itself sets, such as "oauth_nonce", are refused.
struct RequestParam {
    const wchar_t* name;  ///< Not null and not empty; the caller owns it.
    const wchar_t* value; ///< May be null; the caller owns it.
};

/// The HTTP methods known to the signer.
enum class HttpMethod {
    Get = 0,
    Post,
    Put,
    Delete,
    Head,
    Options,
    Trace,
    Propfind,
    Move,
    Copy,
    Lock,
    Unlock,
    Checkin,
    Checkout,
    CancelUpload,
    Report,
    Update,
    Proppatch,
    GetLib,
    VersionControl,
};

/// The form in which the OAuth parameters of a signed request are returned.
enum class ParsingMode {
    QueryString = 0,         ///< name=value joined with "&": the OAuth parameters, for a query string.
    AuthorizationHeader = 1, ///< `OAuth name="value",...`: the value of the header "Authorization" (RFC 5849, section 3.5.1).
    SignedUrl = 2,           ///< The whole URL with its fragment; its query has the request's and the OAuth parameters.
    FormBody = 3,            ///< As `QueryString`, with the given request parameters before the OAuth ones, for a form body.
};

} // namespace Velquor::WebServices
