#include "CInterface/CCall.h"

#include "CInterface/CThreadState.h"
#include "VqUtil/Platform/ProcessEnd.h"

#include <algorithm>

namespace Velquor::WebServices::Internal {

namespace {

using Failure = Log::CallFailure;
static_assert(int(Failure::Other) == VQWS_FAILED && int(Failure::BadArgument) == VQWS_ARGUMENT
              && int(Failure::TooLong) == VQWS_TOO_LONG && int(Failure::NotInitialized) == VQWS_STATE
              && int(Failure::UnknownClient) == VQWS_UNKNOWN_CLIENT && int(Failure::NotSignedIn) == VQWS_NOT_SIGNED_IN
              && int(Failure::Vetoed) == VQWS_VETOED && int(Failure::NoNetwork) == VQWS_NO_NETWORK
              && int(Failure::NoSecureConnection) == VQWS_TLS && int(Failure::WrongClock) == VQWS_CLOCK
              && int(Failure::Refused) == VQWS_REFUSED && int(Failure::InvalidReply) == VQWS_INVALID_REPLY
              && int(Failure::SigningFailed) == VQWS_SIGNING && int(Failure::NotFound) == VQWS_NOT_FOUND
              && int(Failure::NoLogConfiguration) == VQWS_NO_LOG_CONFIG && int(Failure::NoConfiguration) == VQWS_NO_CONFIGURATION
              && int(Failure::Expired) == VQWS_EXPIRED && int(Failure::Busy) == VQWS_BUSY && int(Failure::NoMemory) == VQWS_MEMORY
              && int(Failure::Fault) == VQWS_INTERNAL);

thread_local bool isInLogCallback = false;

// Where no line of the log tells more.
const char* textOf(int32_t result) {
    switch (result) {
    case VQWS_ARGUMENT: return "An argument is not valid.";
    case VQWS_TEXT: return "A text is not UTF-8, or has a zero inside.";
    case VQWS_TOO_LONG: return "A text is longer than 1048575 bytes.";
    case VQWS_BUFFER: return "The buffer is too small for the text.";
    case VQWS_STATE: return "The library is not initialized, or not at the point that the function needs.";
    case VQWS_WRONG_THREAD: return "The function belongs on the event thread.";
    case VQWS_NOT_FOUND: return "What was asked for does not exist.";
    case VQWS_UNSUPPORTED: return "This library or this system does not support it.";
    case VQWS_MEMORY: return "There is no memory.";
    default: return "The function failed. The log tells more.";
    }
}

} // namespace

CCall::CCall() {
    CThreadState& state = CThreadState::ofThisThread();
    if (std::exchange(state.hasKept, false))
        state.kept = {};
}

bool CCall::isPossible() noexcept {
    return !isInLogCallback && !Util::isForkedChild();
}

int32_t CCall::failure(int32_t unnamed) {
    const Failure named = Log::CallReport::currentFailure();
    return named == Failure::None ? unnamed : static_cast<int32_t>(named);
}

int32_t CCall::describe(const std::exception& exception) {
    Log::CallReport::noteError(QString(), QString::fromLocal8Bit(exception.what()));
    return static_cast<int32_t>(failureOf(exception));
}

int32_t CCall::end(int32_t result) {
    CThreadState& state = CThreadState::ofThisThread();
    state.code = result;
    state.httpStatus = result == VQWS_OK ? 0 : m_report.httpStatus();
    if (result == VQWS_OK || result == VQWS_BUFFER)
        state.text.clear();
    else
        state.text = Log::logLine(m_report.text()).toUtf8();
    if (result != VQWS_OK && state.text.isEmpty())
        state.text = textOf(result);
    return result;
}

int32_t CCall::tellLast(vqws_error* error, const COutput& out) {
    out.clear();
    const CThreadState& state = CThreadState::ofThisThread();
    if (error) {
        require(error->size >= sizeof(error->size));
        const vqws_error told{static_cast<uint32_t>(std::min<size_t>(error->size, sizeof(vqws_error))), state.code,
                              state.httpStatus};
        std::memcpy(error, &told, told.size);
    }
    // Not shared with the state, which the wiping would change.
    return out.copy(Util::SecretBytes(QByteArray(state.text.constData(), state.text.size())));
}

int32_t CCall::takeKept(const COutput& out) {
    out.clear();
    CThreadState& state = CThreadState::ofThisThread();
    require(state.hasKept, VQWS_NOT_FOUND);
    const int32_t result = out.copy(state.kept);
    if (result == VQWS_OK) {
        state.kept = {};
        state.hasKept = false;
    }
    return result;
}

CLogCallbackScope::CLogCallbackScope() {
    isInLogCallback = true;
}

CLogCallbackScope::~CLogCallbackScope() {
    isInLogCallback = false;
}

} // namespace Velquor::WebServices::Internal
