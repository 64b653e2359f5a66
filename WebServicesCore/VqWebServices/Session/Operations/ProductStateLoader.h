#pragma once

#include "Session/Core/SessionState.h"

namespace Velquor::WebServices::Internal {

/// Reads the tokens of one product from the login state file; everything else in memory stays.
///
/// Thread: any, under the login session lock. Owner: its user's stack. Errors: false and a log line; what is in memory stays.
class ProductStateLoader {
public:
    explicit ProductStateLoader(SessionState& state);

    /// The product of a client. False when the file does not hold its tokens.
    bool loadProduct(const QString& clientKey);

    /// The older form: reads a product by its consumer key. No client of this process needs to have configured it; its sign-in
    /// can serve another product. False when the file does not hold it.
    bool SetInfor1(const QString& productKey);

private:
    SessionState& m_state;
    Log::ILogger& m_logger;
};

} // namespace Velquor::WebServices::Internal
