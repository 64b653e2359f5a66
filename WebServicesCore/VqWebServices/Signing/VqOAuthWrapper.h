#pragma once

#include "Signing/SignatureBase.h"

#include <QByteArray>

namespace Velquor::OAuth {

class IVqOAuthHost;

/// The form in which signed OAuth parameters are written.
enum class OutputForm {
    Query,    ///< name=value joined with "&": for a query string.
    Header,   ///< name="value" joined with ",": the caller prepends "OAuth " (RFC 5849, section 3.5.1).
    FormBody, ///< As `Query`, with the request's own parameters first: a whole form body (RFC 5849, section 3.5.2).
};

/// The keys of one signature, UTF-8. The secrets are views of text that the caller wipes.
struct Credentials {
    QByteArray consumerKey;
    QByteArray consumerSecret;
    QByteArray token; ///< Empty: signed without a token.
    QByteArray tokenSecret;
};

/// The request to sign.
struct RequestToSign {
    QByteArray method = "GET"; ///< Upper case (RFC 5849, section 3.4.1.1).
    QByteArray url; ///< Encoded, as it is sent: its path is signed byte by byte, its query decoded, its fragment not at all.
    Parameters parameters; ///< Decoded parameters in addition to the URL's: of a form body, or protocol extensions ("oauth_...").
};

/// Signs requests with OAuth 1.0, HMAC-SHA1 (RFC 5849): a pure function of its inputs and its host.
/// Thread: any. Errors: an empty result; the caller logs.
class VqOAuthWrapper {
public:
    explicit VqOAuthWrapper(const IVqOAuthHost& host);

    /// The OAuth parameters of the request with their signature, in the given form. Parameters of `request.parameters` whose
    /// names start with "oauth_" are written with them. Fails when the URL is no http(s) URL, a key is missing, a parameter has
    /// the name of one that the signer itself sets, or the digest cannot be computed.
    [[nodiscard]] QByteArray CreateOauthParameterString(const RequestToSign& request, const Credentials& credentials,
                                                        OutputForm form) const;

private:
    [[nodiscard]] Parameters protocolParameters(const RequestToSign& request, const Credentials& credentials) const;
    [[nodiscard]] QByteArray sign(const QByteArray& baseString, const Credentials& credentials) const;

    const IVqOAuthHost& m_host;
};

/// The methods known to the signer, in the order of `HttpMethod`; empty for an index beyond them.
[[nodiscard]] QByteArray httpMethodName(int index);

/// Decoded parameters as a query: percent-encoded (RFC 5849, section 3.6), in their order.
[[nodiscard]] QByteArray encodeQuery(const Parameters& decoded);

/// The encoded URL with signed parameters appended to its query. The rest stays as it is, its fragment at the end.
[[nodiscard]] QByteArray withParameters(const QByteArray& url, const QByteArray& parameterString);

} // namespace Velquor::OAuth
