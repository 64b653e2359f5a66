#pragma once

/// @file
/// The export macro and the calling conventions, which all public headers share.

/// @mainpage Reference
///
/// `Velquor::WebServices::WebServicesManager` is the library for a process that is one product. `WebServicesManagerEx` is the
/// library for a process with several products. Observers, `Velquor::WebServices::IWebServicesObserver` and the interfaces
/// derived from it, receive changes. The following conventions hold for every operation.
///
/// Text arguments are null-terminated UTF-16 (Windows) or UTF-32. The caller keeps ownership. A null pointer counts as the
/// empty text. A text of more than 1048575 units, or with a unit that Unicode does not have, makes the operation fail. A setter
/// without a result then keeps its old value, and logs one line.
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
/// A failed operation returns its failure result (false, 0, null, an empty object) and logs one line. No exception reaches the
/// caller.
///
/// Memory returned as `wchar_t*` or through `wchar_t*&` was allocated with `new wchar_t[]`; the caller frees it with `delete[]`.
/// Dates are seconds since 1970-01-01 UTC.
///
/// Without "WebServices.logconfig" the library does not use the network. Operations that need it, and those that sign,
/// return their failure result, and print the reason to the standard output, since there is no log.

/// @namespace Velquor
/// The maker's namespace.

/// @namespace Velquor::WebServices
/// The exported interface of the library.

/// @namespace Velquor::StdUtil
/// Plain values that are shared with sibling modules.

/// @namespace WebServicesPrivateCore
/// Types that sibling modules share with the core of the library.

#include <VqWebServices/VqWebServicesExport.h>
