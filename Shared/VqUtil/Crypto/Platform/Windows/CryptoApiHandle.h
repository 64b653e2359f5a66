#pragma once

#include "VqUtil/Platform/Windows/WindowsApi.h"

#include <utility>
#include <wincrypt.h>

namespace Velquor::Util {

struct ReleaseProvider {
    void operator()(HCRYPTPROV provider) const { ::CryptReleaseContext(provider, 0); }
};

struct DestroyKey {
    void operator()(HCRYPTKEY key) const { ::CryptDestroyKey(key); }
};

/// Owns a CryptoAPI handle, which is a number. Thread: one.
template <typename Handle, typename Release>
class CryptoApiHandle {
public:
    CryptoApiHandle() = default;
    CryptoApiHandle(CryptoApiHandle&& other) noexcept
        : m_handle(std::exchange(other.m_handle, 0)) {}
    CryptoApiHandle& operator=(CryptoApiHandle&& other) noexcept {
        std::swap(m_handle, other.m_handle);
        return *this;
    }
    ~CryptoApiHandle() { reset(); }

    [[nodiscard]] bool isValid() const { return m_handle != 0; }
    [[nodiscard]] Handle get() const { return m_handle; }

    /// The place for a function that returns a handle through a pointer.
    [[nodiscard]] Handle* receive() {
        reset();
        return &m_handle;
    }

    void reset() {
        if (m_handle != 0)
            Release()(std::exchange(m_handle, 0));
    }

private:
    Handle m_handle = 0;
};

using CryptoProvider = CryptoApiHandle<HCRYPTPROV, ReleaseProvider>;
using CryptoKey = CryptoApiHandle<HCRYPTKEY, DestroyKey>;

} // namespace Velquor::Util
