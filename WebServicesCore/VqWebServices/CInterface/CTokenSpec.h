#pragma once

#include "CInterface/CText.h"
#include "Values/OAuth2TokenSpecImp.h"

namespace Velquor::WebServices::Internal {

/// The caller's token spec. Throws `Refused`. Thread: any.
[[nodiscard]] inline OAuth2TokenSpec specFrom(const vqws_token_spec* given) {
    const vqws_token_spec read = readStruct(given);
    require(read.type == RT || read.type == JWT);
    OAuth2TokenSpec spec;
    spec.SetType(static_cast<OAuth2TokenType>(read.type));
    OAuth2TokenSpecImp::of(spec).scope = normalisedScope(textFrom(read.scope));
    return spec;
}

} // namespace Velquor::WebServices::Internal
