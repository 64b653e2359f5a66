#pragma once

#include "Session/Core/SessionState.h"

namespace Velquor::WebServices::Internal {

/// Reads the tokens of one product from the login state file, beside what this process holds already.
///
/// Thread: any, under the login session lock. Owner: its user's stack. Errors: false and a log line; what is in memory stays.
class ProductStateLoader {
public:
    explicit ProductStateLoader(SessionState& state);

    /// The product of a client. False when the file does not hold its tokens.
    bool loadProduct(const QString& clientKey);

    /// The older form: a product by its consumer key, which no client of this process needs to have configured, so that the
    /// process knows of a sign-in that another product can use. False when the file does not hold it.
    bool SetInfor1(const QString& productKey);

private:
    [[nodiscard]] LoginStateFile::Content read();

    SessionState& m_state;
    Log::ILogger& m_logger;
};

} // namespace Velquor::WebServices::Internal
