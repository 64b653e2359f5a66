#pragma once

#include "Session/Operations/RequestSigning.h"

#include <optional>

namespace Velquor::WebServices::Internal {

/// The arguments of `SignRequest` as the caller passes them.
struct SigningArguments {
    const wchar_t* url;
    const RequestParam* params;
    int count;
    HttpMethod method;
    ParsingMode mode;
    const wchar_t* token;
    const wchar_t* tokenSecret;
};

/// Checks the arguments and converts them. Empty, with one log line, when the URL is not an absolute and encoded http or https
/// URL, when the parameters are null, lack a name or are more than 1000, or when the method or the mode is unknown. Thread: any.
[[nodiscard]] std::optional<SigningOrder> makeSigningOrder(const SigningArguments& arguments);

} // namespace Velquor::WebServices::Internal
