#pragma once

#include "VqUtil/Platform/Windows/WindowsApi.h"

#include <utility>

namespace Velquor::Util {

/// Owns a kernel handle and closes it. Thread: one.
class WindowsHandle {
public:
    explicit WindowsHandle(HANDLE handle = nullptr)
        : m_handle(handle == INVALID_HANDLE_VALUE ? nullptr : handle) {}
    WindowsHandle(WindowsHandle&& other) noexcept
        : m_handle(std::exchange(other.m_handle, nullptr)) {}
    WindowsHandle& operator=(WindowsHandle&& other) noexcept {
        std::swap(m_handle, other.m_handle);
        return *this;
    }
    ~WindowsHandle() {
        if (m_handle)
            ::CloseHandle(m_handle);
    }

    [[nodiscard]] bool isValid() const { return m_handle != nullptr; }
    [[nodiscard]] HANDLE get() const { return m_handle; }
    /// The caller closes it.
    [[nodiscard]] HANDLE release() { return std::exchange(m_handle, nullptr); }

private:
    HANDLE m_handle;
};

} // namespace Velquor::Util
