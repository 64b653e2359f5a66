#pragma once

/// What every public header shares: the export macro and the description of the calling conventions.
///
/// Text buffer rule of every `(wchar_t* buffer, int size)` result (size in units of `wchar_t`, terminator included):
///  - a null buffer: nothing is written, the result is the length of the text without its terminator;
///  - a size below 1: nothing is written, the result is 0;
///  - an empty text: 0 is written, the result is 0;
///  - a size above the length: the whole text and its terminator are written, the result is the length;
///  - otherwise the first size - 1 units are written and terminated, the result is size - 1 (silent truncation).
/// `OAuth2Token::GetToken` refuses instead of truncating.
///
/// Failures are results (false, 0, null, an empty object) together with one log line; nothing is thrown to the caller.
/// Memory handed out as `wchar_t*` or through `wchar_t*&` was allocated with `new wchar_t[]`; the caller frees it with
/// `delete[]`.

#include <VqWebServices/VqWebServicesExport.h>
