#pragma once

namespace Velquor::WebServices {

/// Why a sign-in could not be initiated, in detail.
enum class LoginErrorEx {
    None = 0,
    BadArgument = 1,        ///< No buffer for the URL.
    NotReady = 2,           ///< A configuration is missing, or `RestoreLogin` was not called.
    NoReply = 3,            ///< The service could not be reached: no reply, no connection, time-out, cancelled.
    NoSecureConnection = 4, ///< The TLS handshake failed, or the TLS library could not be loaded.
    WrongSystemTime = 5,    ///< The service refused the request because the clock or time zone of the system is wrong.
    Refused = 6,            ///< The service answered with an error status or an OAuth problem.
    InvalidReply = 7,       ///< The service answered 200 without the parameters of a request token.
    SigningFailed = 8,      ///< The request could not be signed.
};

/// Why a sign-in could not be initiated, in short: `LoginErrorEx` 3 and 4 are 1, every other failure is 2.
enum class LoginError {
    None = 0,
    NoConnection = 1, ///< The service could not be reached, or not securely.
    Other = 2,        ///< Anything else.
};

} // namespace Velquor::WebServices
