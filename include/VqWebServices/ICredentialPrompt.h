#pragma once

namespace Velquor::WebServices {

/// A product implements this interface to show its own prompt for the name and password of a proxy, instead of the operating
/// system's prompt. Installed with `WebServicesPrivate::SetCredentialPrompt`.
///
/// Thread: `Ask` is called on the thread of the request that the proxy refused, which may be any thread of the process. Only one
/// request calls it at a time. `Cancel` may be called from any thread. Both are called with no lock held. The prompt is modal:
/// the request waits until `Ask` returns, and its time limit does not run during the wait. `Ask` may run an event loop or wait
/// for the main thread, but must not destroy its own object. An exception from it counts as a failed prompt.
class ICredentialPrompt {
public:
    /// A result of `Ask`: the user gave the credentials.
    static constexpr int Given = 0;
    /// A result of `Ask`: the user canceled.
    static constexpr int Canceled = 1223;

    virtual ~ICredentialPrompt() = default;

    /// Shows caption and message and writes the user's input into the two buffers (sizes in units, terminator included). On
    /// entry `user` contains the name that was used last, or is empty. Returns `Given`, `Canceled`, or another error code of the
    /// operating system. The library overwrites both buffers with zeros afterwards.
    virtual int Ask(const wchar_t* caption, const wchar_t* message, const wchar_t* proxyHost, wchar_t* user, int userSize,
                    wchar_t* password, int passwordSize) = 0;

    /// Closes the open prompt, if any. The library is being uninitialized, and `Ask` should return soon.
    virtual void Cancel() = 0;
};

} // namespace Velquor::WebServices
