#pragma once

#include <QString>

namespace Velquor::Log {

/// Why a call of the library failed. The numbers are those of the C interface.
enum class CallFailure : int {
    None = 0,
    Other = 1,
    BadArgument = 2,
    TooLong = 4,
    NotInitialized = 6,
    UnknownClient = 8,
    NotSignedIn = 9,
    Vetoed = 10,
    NoNetwork = 11,
    NoSecureConnection = 12,
    WrongClock = 13,
    Refused = 14,
    InvalidReply = 15,
    SigningFailed = 16,
    NotFound = 17,
    NoLogConfiguration = 19,
    NoConfiguration = 20,
    Expired = 21,
    Busy = 22,
    NoMemory = 23,
    Fault = 24,
};

/// What one call of an interface finds out about its own failure, for an interface whose callers ask for the reason. The code
/// that decides on a failure names it; the last error line of the thread is its text, also when the log drops the line.
///
/// Thread: that of the call; work on other threads is not part of it. Owner: the call's stack. Calls nest, each with its own
/// report. Without a report on the thread the static operations have no effect.
class CallReport {
public:
    CallReport();
    ~CallReport();
    CallReport(const CallReport&) = delete;
    CallReport& operator=(const CallReport&) = delete;

    /// True while this thread is inside a call whose caller can ask for the reason.
    [[nodiscard]] static bool isActive();
    static void fail(CallFailure failure);
    [[nodiscard]] static CallFailure currentFailure();
    static void noteHttpStatus(int status);
    static void noteError(const QString& prefix, const QString& text);

    [[nodiscard]] CallFailure failure() const { return m_failure; }
    [[nodiscard]] int httpStatus() const { return m_httpStatus; }
    [[nodiscard]] QString text() const;

private:
    CallReport* const m_outer;
    CallFailure m_failure = CallFailure::None;
    int m_httpStatus = 0;
    QString m_prefix;
    QString m_text;
};

/// For code of the host inside a call: what happens there is not part of the call. Thread: one. Owner: the stack.
class CallReportPause {
public:
    CallReportPause();
    ~CallReportPause();
    CallReportPause(const CallReportPause&) = delete;
    CallReportPause& operator=(const CallReportPause&) = delete;

private:
    CallReport* const m_paused;
};

/// Tells a refusal that the log cannot tell: the caller, when it asks for reasons; otherwise the standard output.
void tellWithoutLog(const QString& text);

} // namespace Velquor::Log
