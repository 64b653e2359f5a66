#pragma once

#include <QString>

namespace Vqws {

struct Context;

/// Opens the sign-in page in the browser, or with --no-browser, or when no browser can be started, prints its address. Thread:
/// the main thread.
void showSignInPage(const Context& context, const QString& url);

} // namespace Vqws
