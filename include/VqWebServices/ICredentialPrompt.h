#pragma once

namespace Velquor::WebServices {

/// What a product implements to ask its user for the name and password of a proxy in its own way, instead of in the operating
/// system's prompt. Installed with `WebServicesPrivate::SetCredentialPrompt`.
///
/// Thread: `Ask` is called on the thread of the request that the proxy refused, which may be any thread of the process, and by
/// one request at a time; `Cancel` may come from any thread. Called with no lock held. Modal: the request waits until `Ask`
/// returns, without its time limit running. `Ask` may run an event loop or wait for the main thread, but must not destroy its own
/// object. What it throws counts as a failed prompt.
class ICredentialPrompt {
public:
    /// A result of `Ask`: the user gave the credentials.
    static constexpr int Given = 0;
    /// A result of `Ask`: the user canceled.
    static constexpr int Canceled = 1223;

    virtual ~ICredentialPrompt() = default;

    /// Shows caption and message and writes what the user enters into the two buffers (sizes in units, terminator included).
    /// `user` comes with the name that was used last, or empty. `Given`, `Canceled`, or another error code of the operating
    /// system. The library overwrites both buffers with zeros afterwards.
    virtual int Ask(const wchar_t* caption, const wchar_t* message, const wchar_t* proxyHost, wchar_t* user, int userSize,
                    wchar_t* password, int passwordSize) = 0;

    /// Closes the prompt that is open, if any: the library is being uninitialized, and `Ask` should return soon.
    virtual void Cancel() = 0;
};

} // namespace Velquor::WebServices
