#pragma once

#include "Session/Operations/RequestSigning.h"
#include "VqUtil/General/Result.h"

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

/// The same as bytes, in UTF-8.
struct SigningTexts {
    QByteArray url;
    OAuth::Parameters parameters;
    HttpMethod method = HttpMethod::Get;
    ParsingMode mode = ParsingMode::QueryString;
    QByteArray token;
    QByteArray tokenSecret;
};

/// The most parameters of one request.
constexpr int maximumParameters = 1000;

/// Converts the arguments. A failure when the parameters are null or too many. Thread: any.
[[nodiscard]] Util::Result<SigningTexts> textsOf(const SigningArguments& arguments);

/// Checks the texts. A failure when the URL is not an absolute and encoded http or https URL, when a parameter lacks a name, or
/// when the method or the mode is unknown. Thread: any.
[[nodiscard]] Util::Result<SigningOrder> makeSigningOrder(const SigningTexts& texts);

} // namespace Velquor::WebServices::Internal
