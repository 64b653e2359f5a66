#include "VqUtil/Locks/NamedSemaphore.h"

#include "VqUtil/Platform/Windows/OwnerOnlySecurity.h"
#include "VqUtil/Platform/Windows/SystemErrorText.h"
#include "VqUtil/Platform/Windows/WindowsHandle.h"

#include <algorithm>
#include <limits>

namespace Velquor::Util {

namespace {

// The same maximum count as Qt's: processes that use QSystemSemaphore open this object.
constexpr LONG greatestCount = std::numeric_limits<LONG>::max();
constexpr int maximumLeftoverCounts = 1000;

} // namespace

struct NamedSemaphore::Native {
    std::wstring name;
    WindowsHandle semaphore;

    // Opened once and kept. The kernel removes the object with its last handle, and a leaked count with it.
    DWORD open() {
        if (semaphore.isValid())
            return ERROR_SUCCESS;
        OwnerOnlySecurity security(OwnerOnlySecurity::Kind::KernelObject);
        semaphore = WindowsHandle(::CreateSemaphoreW(security.attributes(), 1, greatestCount, name.c_str()));
        DWORD code = ::GetLastError();
        if (!semaphore.isValid() && code == ERROR_ACCESS_DENIED) {
            semaphore = WindowsHandle(::OpenSemaphoreW(SYNCHRONIZE | SEMAPHORE_MODIFY_STATE, FALSE, name.c_str()));
            code = ::GetLastError();
        }
        return semaphore.isValid() ? ERROR_SUCCESS : code;
    }
};

NamedSemaphore::NamedSemaphore(const QString& key)
    : m_native(new Native) {
    m_native->name = qtSemaphoreName(key).toStdWString();
}

NamedSemaphore::~NamedSemaphore() = default;

NamedSemaphore::Result NamedSemaphore::acquire(int timeoutMs) {
    DWORD code = m_native->open();
    if (code == ERROR_SUCCESS) {
        const DWORD result = ::WaitForSingleObject(m_native->semaphore.get(), static_cast<DWORD>(std::max(timeoutMs, 0)));
        code = ::GetLastError();
        if (result == WAIT_OBJECT_0)
            return Result::Acquired;
        if (result == WAIT_TIMEOUT)
            return Result::TimedOut;
    }
    m_errorText = systemErrorText(code);
    return Result::Failed;
}

void NamedSemaphore::release() {
    ::ReleaseSemaphore(m_native->semaphore.get(), 1, nullptr);
}

NamedSemaphore::LastUser NamedSemaphore::lastUser() const {
    return LastUser::Unknown;
}

// A count above 1 lets two processes in, so take all counts before giving one back. The bound ends the loop if another program
// keeps releasing.
bool NamedSemaphore::repair() {
    if (m_native->open() != ERROR_SUCCESS)
        return false;
    for (int taken = 0; ::WaitForSingleObject(m_native->semaphore.get(), 0) == WAIT_OBJECT_0; ++taken) {
        if (taken == maximumLeftoverCounts)
            return false;
    }
    return ::ReleaseSemaphore(m_native->semaphore.get(), 1, nullptr) != FALSE;
}

} // namespace Velquor::Util
