#pragma once

/// @file
/// What every public header shares: the export macro and the description of the calling conventions.

/// @mainpage Reference
///
/// `Velquor::WebServices::WebServicesManager` is the library for a process that is one product, `WebServicesManagerEx` the same
/// for several; observers, `Velquor::WebServices::IWebServicesObserver` and those derived from it, hear of changes. These
/// conventions hold for every operation.
///
/// Texts handed in are null-terminated UTF-16 (Windows) or UTF-32 and stay the caller's; null, or more than 1048575 units, counts
/// as the empty text.
///
/// Text buffer rule of every `(wchar_t* buffer, int size)` result (size in units of `wchar_t`, terminator included):
///  - a null buffer: nothing is written, the result is the length of the text without its terminator;
///  - a size below 1: nothing is written, the result is 0;
///  - an empty text: 0 is written, the result is 0;
///  - a size above the length: the whole text and its terminator are written, the result is the length;
///  - otherwise the first size - 1 units are written and terminated, the result is size - 1 (silent truncation).
///
/// `OAuth2Token::GetToken` and the text form of `GetOAuth2AccessToken` refuse instead of truncating.
///
/// Failures are results (false, 0, null, an empty object) together with one log line; nothing is thrown to the caller.
///
/// Memory handed out as `wchar_t*` or through `wchar_t*&` was allocated with `new wchar_t[]`; the caller frees it with
/// `delete[]`. Dates are seconds since 1970-01-01 UTC.
///
/// Without "WebServices.logconfig" nothing signs in or signs and no token is given out: those operations have their failure
/// result, and print why on the standard output, since there is no log.

/// @namespace Velquor
/// The maker's name space.

/// @namespace Velquor::WebServices
/// What the library exports.

/// @namespace Velquor::StdUtil
/// Plain values that are shared with sibling modules.

/// @namespace WebServicesPrivateCore
/// What sibling modules share with the core of the library.

#include <VqWebServices/VqWebServicesExport.h>
