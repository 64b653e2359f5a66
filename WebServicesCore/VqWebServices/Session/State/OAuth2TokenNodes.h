#pragma once

#include "Tokens/OAuth2TokenData.h"

#include <QDomElement>
#include <QVector>

namespace Velquor::WebServices::Internal {

/// The OAuth2 tokens in a product's node of the login state file: one element for each type and scope; older programs write a
/// single token of type RT. Thread: that of the document. Errors: an element that cannot be understood is not read and stays as
/// it is.
namespace OAuth2TokenNodes {

/// The tokens of both forms, the later one of each kind.
[[nodiscard]] QVector<OAuth2TokenData> read(const QDomElement& product);

/// Copies the tokens of an earlier node of the product, of both forms, as they are.
void copy(const QDomElement& earlier, QDomElement& product);

/// Writes a token, unless it is empty or the node holds one of its kind that expires later. `isFresh`: it was just obtained and
/// replaces any other.
void put(QDomElement& product, const OAuth2TokenData& token, bool isFresh);

/// Turns the single token of the older form into one of the present form, and removes the older keys.
void removeOlderForm(QDomElement& product);

} // namespace OAuth2TokenNodes

} // namespace Velquor::WebServices::Internal
