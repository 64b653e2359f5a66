#include "VqUtil/ProcessState/SharedBlock.h"

#include "VqUtil/Locks/NamedSemaphore.h"
#include "VqUtil/Platform/Windows/OwnerOnlySecurity.h"
#include "VqUtil/Platform/Windows/SystemErrorText.h"
#include "VqUtil/Platform/Windows/WindowsHandle.h"

#include <QDir>
#include <QSharedMemory>
#include <algorithm>
#include <cstring>
#include <utility>

namespace Velquor::Util {

namespace {

// Copying 64 KiB takes far less.
constexpr int lockTimeoutMs = 2000;
constexpr SIZE_T largestSize = SIZE_T{16} * 1024 * 1024;

struct ViewDeleter {
    void operator()(char* view) const { ::UnmapViewOfFile(view); }
};

std::wstring nativeName(const QString& key) {
    QSharedMemory memory;
    memory.setKey(key);
    return memory.nativeKey().toStdWString();
}

/// Holds the lock of `QSharedMemory::lock()` for one copy.
class QtLock {
public:
    explicit QtLock(NamedSemaphore& semaphore)
        : m_semaphore(semaphore) {
        auto result = semaphore.acquire(lockTimeoutMs);
        // The holder died. It is none of our processes: our caller holds the lock of the block, which excludes them.
        if (result == NamedSemaphore::Result::TimedOut && semaphore.repair())
            result = semaphore.acquire(0);
        m_isHeld = result == NamedSemaphore::Result::Acquired;
    }
    ~QtLock() {
        if (m_isHeld)
            m_semaphore.release();
    }
    QtLock(const QtLock&) = delete;
    QtLock& operator=(const QtLock&) = delete;

    [[nodiscard]] bool isHeld() const { return m_isHeld; }

private:
    NamedSemaphore& m_semaphore;
    bool m_isHeld = false;
};

/// The kernel removes the mapping when its last handle is closed.
class MappedBlock final : public ISharedBlock {
public:
    explicit MappedBlock(const QString& key)
        : m_name(nativeName(key))
        , m_semaphore(key) {}

    [[nodiscard]] Result attach() override;
    [[nodiscard]] Result create(int size) override;
    [[nodiscard]] bool isAttached() override { return m_view != nullptr; }
    [[nodiscard]] int size() const override { return m_size; }
    [[nodiscard]] bool startsWith(const QByteArray& bytes) override;
    [[nodiscard]] QByteArray read() override;
    [[nodiscard]] bool write(const QByteArray& bytes) override;
    [[nodiscard]] QString errorText() const override { return m_errorText; }

private:
    [[nodiscard]] Result map();
    Result fail(DWORD code);

    const std::wstring m_name;
    NamedSemaphore m_semaphore;
    WindowsHandle m_mapping;
    std::unique_ptr<char, ViewDeleter> m_view;
    int m_size = 0;
    QString m_errorText;
};

ISharedBlock::Result MappedBlock::fail(DWORD code) {
    m_errorText = systemErrorText(code);
    return code == ERROR_FILE_NOT_FOUND ? Result::Missing : Result::Failed;
}

ISharedBlock::Result MappedBlock::attach() {
    m_mapping = WindowsHandle(::OpenFileMappingW(FILE_MAP_READ | FILE_MAP_WRITE, FALSE, m_name.c_str()));
    const DWORD code = ::GetLastError();
    return m_mapping.isValid() ? map() : fail(code);
}

ISharedBlock::Result MappedBlock::create(int size) {
    OwnerOnlySecurity security(OwnerOnlySecurity::Kind::KernelObject);
    WindowsHandle mapping(::CreateFileMappingW(INVALID_HANDLE_VALUE, security.attributes(), PAGE_READWRITE, 0,
                                               static_cast<DWORD>(size), m_name.c_str()));
    const DWORD code = ::GetLastError();
    if (!mapping.isValid())
        return fail(code);
    if (code == ERROR_ALREADY_EXISTS)
        return Result::AlreadyThere;
    m_mapping = std::move(mapping);
    return map();
}

ISharedBlock::Result MappedBlock::map() {
    m_view.reset(static_cast<char*>(::MapViewOfFile(m_mapping.get(), FILE_MAP_READ | FILE_MAP_WRITE, 0, 0, 0)));
    const DWORD code = ::GetLastError();
    MEMORY_BASIC_INFORMATION info{};
    if (!m_view || ::VirtualQuery(m_view.get(), &info, sizeof info) == 0) {
        m_view.reset();
        m_mapping = WindowsHandle();
        return fail(code);
    }
    m_size = static_cast<int>(std::min<SIZE_T>(info.RegionSize, largestSize));
    return Result::Done;
}

bool MappedBlock::startsWith(const QByteArray& bytes) {
    const QtLock lock(m_semaphore);
    return lock.isHeld() && bytes.size() <= m_size
           && std::memcmp(m_view.get(), bytes.constData(), static_cast<size_t>(bytes.size())) == 0;
}

QByteArray MappedBlock::read() {
    const QtLock lock(m_semaphore);
    return lock.isHeld() ? QByteArray(m_view.get(), m_size) : QByteArray();
}

bool MappedBlock::write(const QByteArray& bytes) {
    const QtLock lock(m_semaphore);
    if (lock.isHeld())
        std::memcpy(m_view.get(), bytes.constData(), static_cast<size_t>(std::min(bytes.size(), m_size)));
    else
        m_errorText = m_semaphore.errorText();
    return lock.isHeld();
}

} // namespace

std::unique_ptr<ISharedBlock> openSharedBlock(const QString& key, const QString&) {
    return std::make_unique<MappedBlock>(key);
}

QString sharedBlockFolder(const QString&) {
    return QDir::rootPath();
}

} // namespace Velquor::Util
