#pragma once

#include "Session/Operations/RequestSigning.h"

#include <optional>

namespace Velquor::WebServices::Internal {

/// The arguments of `SignRequest` as a caller gives them.
struct SigningArguments {
    const wchar_t* url;
    const RequestParam* params;
    int count;
    HttpMethod method;
    ParsingMode mode;
    const wchar_t* token;
    const wchar_t* tokenSecret;
};

/// Checks the caller's arguments and turns them into an order. Empty, with one log line, when the URL is no absolute http(s) URL,
/// the parameters are null, nameless or more than 1000, or the method or the mode is unknown. Thread: any.
[[nodiscard]] std::optional<SigningOrder> makeSigningOrder(const SigningArguments& arguments);

} // namespace Velquor::WebServices::Internal
