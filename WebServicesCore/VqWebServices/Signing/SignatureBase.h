#pragma once

#include <QByteArray>
#include <QPair>
#include <QVector>

namespace Velquor::OAuth {

class IVqOAuthHost;

/// Name and value, decoded or percent-encoded; each use says which.
using Parameter = QPair<QByteArray, QByteArray>;
using Parameters = QVector<Parameter>;

/// The parts of an encoded URL that are signed.
struct SplitUrl {
    QByteArray baseUri; ///< Scheme and host in lower case, no default port, the path, no query (RFC 5849, section 3.4.1.2).
    QByteArray query;   ///< Without "?".

    [[nodiscard]] bool isValid() const { return !baseUri.isEmpty(); }
};

/// Splits an absolute http or https URL in its encoded form, as it is sent. User information and fragment are left out.
/// Anything else is not valid.
[[nodiscard]] SplitUrl splitUrl(const QByteArray& encodedUrl);

/// The decoded parameters of a query or of a form body (RFC 5849, section 3.4.1.3.1): "+" is a blank, names may repeat and values
/// may be missing.
[[nodiscard]] Parameters parseFormEncoded(const QByteArray& text);

/// Percent-encodes all names and values, in the given order.
[[nodiscard]] Parameters encodeAll(const IVqOAuthHost& host, const Parameters& decoded);

/// Sorts encoded pairs by name, then by value (RFC 5849, section 3.4.1.3.2).
void sortPairs(Parameters& encoded);

enum class PairStyle {
    Form,   ///< name=value, joined with "&".
    Header, ///< name="value", joined with ",".
};

[[nodiscard]] QByteArray joinPairs(const Parameters& encoded, PairStyle style);

/// The signature base string (RFC 5849, section 3.4.1.1). `sorted` are all signed pairs, encoded.
[[nodiscard]] QByteArray signatureBaseString(const IVqOAuthHost& host, const QByteArray& method, const QByteArray& baseUri,
                                             const Parameters& sorted);

} // namespace Velquor::OAuth
