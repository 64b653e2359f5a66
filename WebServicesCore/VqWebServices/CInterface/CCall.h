#pragma once

#include "CInterface/CText.h"
#include "VqLog/CallReport.h"

#include <utility>

namespace Velquor::WebServices::Internal {

/// One call of the C interface: what the thread was told before is forgotten, and why this call failed is kept for it.
///
/// Thread: that of the call. Owner: its stack; calls nest through callbacks. Errors: no exception leaves `run`.
class CCall {
public:
    /// Runs the work, which gives a result of the interface or throws. VQWS_STATE where no call is possible.
    template <class Work>
    static int32_t run(const Work& work) noexcept {
        if (!isPossible())
            return VQWS_STATE;
        try {
            CCall call;
            return call.end(call.resultOf(work));
        } catch (...) {
            return VQWS_MEMORY;
        }
    }

    /// For the functions that tell of the call before: leaves what the thread was told.
    template <class Work>
    static int32_t ask(const Work& work) noexcept {
        try {
            return isPossible() ? work() : VQWS_STATE;
        } catch (const Refused& refused) {
            return refused.result;
        } catch (...) {
            return VQWS_MEMORY;
        }
    }

    /// False in a forked child, and inside a log callback.
    [[nodiscard]] static bool isPossible() noexcept;

    /// What the core has named as the reason of the failure, or without one `unnamed`.
    [[nodiscard]] static int32_t failure(int32_t unnamed = VQWS_FAILED);

    /// Fills what `vqws_last_error` tells.
    static int32_t tellLast(vqws_error* error, const COutput& out);
    static int32_t takeKept(const COutput& out);

private:
    CCall();
    template <class Work>
    int32_t resultOf(const Work& work) {
        try {
            return work();
        } catch (const Refused& refused) {
            return refused.result;
        } catch (const std::exception& exception) {
            return describe(exception);
        }
    }
    int32_t describe(const std::exception& exception);
    int32_t end(int32_t result);

    Log::CallReport m_report;
};

/// While a log callback runs on this thread.
class CLogCallbackScope {
public:
    CLogCallbackScope();
    ~CLogCallbackScope();
    CLogCallbackScope(const CLogCallbackScope&) = delete;
    CLogCallbackScope& operator=(const CLogCallbackScope&) = delete;
};

/** @{ */
/// The forms of the functions, by what they tell: nothing but the result, a number, or a text. `unnamed` is the result where the
/// core names no reason. A text may be empty unless `needsText`.
template <class Work>
int32_t act(const Work& work, int32_t unnamed = VQWS_FAILED) noexcept {
    return CCall::run([&] { return work() ? VQWS_OK : CCall::failure(unnamed); });
}

template <class Number, class Work>
int32_t tell(Number* out, const Work& work) noexcept {
    return CCall::run([&] {
        required(out) = 0;
        const auto number = static_cast<Number>(work());
        if (number == 0 && CCall::failure(VQWS_OK) != VQWS_OK)
            return CCall::failure();
        *out = number;
        return static_cast<int32_t>(VQWS_OK);
    });
}

enum class Emptiness { Allowed, IsFailure };

template <class Work>
int32_t tellText(const COutput& out, Emptiness emptiness, const Work& work, int32_t unnamed = VQWS_FAILED) noexcept {
    return CCall::run([&]() -> int32_t {
        out.clear();
        Util::SecretBytes text = work();
        if (text.isEmpty() && (emptiness == Emptiness::IsFailure || CCall::failure(VQWS_OK) != VQWS_OK))
            return CCall::failure(unnamed);
        return out.give(std::move(text));
    });
}
/** @} */

} // namespace Velquor::WebServices::Internal
