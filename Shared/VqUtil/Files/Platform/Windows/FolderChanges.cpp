#include "VqUtil/Files/FolderChanges.h"

#include "VqUtil/Platform/Windows/NativePath.h"
#include "VqUtil/Platform/Windows/SystemErrorText.h"
#include "VqUtil/Platform/Windows/WindowsHandle.h"

#include <cstddef>
#include <vector>

namespace Velquor::Util {

namespace {

// The largest size that works for network shares.
constexpr DWORD bufferSize = 64 * 1024;
// LAST_WRITE and SIZE, since a file that is rewritten in place changes no name.
constexpr DWORD watchedEvents = FILE_NOTIFY_CHANGE_FILE_NAME | FILE_NOTIFY_CHANGE_LAST_WRITE | FILE_NOTIFY_CHANGE_SIZE;
constexpr DWORD sharedWithAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

FolderChanges::Kind kindOf(DWORD action) {
    switch (action) {
    case FILE_ACTION_ADDED: return FolderChanges::Kind::Added;
    case FILE_ACTION_REMOVED: return FolderChanges::Kind::Removed;
    case FILE_ACTION_MODIFIED: return FolderChanges::Kind::Modified;
    case FILE_ACTION_RENAMED_OLD_NAME: return FolderChanges::Kind::RenamedFrom;
    case FILE_ACTION_RENAMED_NEW_NAME: return FolderChanges::Kind::RenamedTo;
    default: return FolderChanges::Kind::Unknown;
    }
}

/// Notifies when a folder in the parent of the watched one is created, removed or renamed.
class ParentWatch {
public:
    ParentWatch() = default;
    ParentWatch(const ParentWatch&) = delete;
    ParentWatch& operator=(const ParentWatch&) = delete;
    ~ParentWatch() { close(); }

    void open(const std::wstring& parent) {
        close();
        m_handle = ::FindFirstChangeNotificationW(parent.c_str(), FALSE, FILE_NOTIFY_CHANGE_DIR_NAME);
    }
    void close() {
        if (isValid())
            ::FindCloseChangeNotification(m_handle);
        m_handle = INVALID_HANDLE_VALUE;
    }
    [[nodiscard]] bool isValid() const { return m_handle != INVALID_HANDLE_VALUE; }
    [[nodiscard]] HANDLE get() const { return m_handle; }
    void next() {
        if (!::FindNextChangeNotification(m_handle))
            close();
    }

private:
    HANDLE m_handle = INVALID_HANDLE_VALUE;
};

WindowsHandle openFolder(const QString& folder) {
    return WindowsHandle(::CreateFileW(nativePath(folder).c_str(), FILE_LIST_DIRECTORY, sharedWithAll, nullptr, OPEN_EXISTING,
                                       FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_OVERLAPPED, nullptr));
}

// Compares the creation time too: some file systems reuse the number of a removed folder at once.
bool isSameFolder(HANDLE one, HANDLE other) {
    BY_HANDLE_FILE_INFORMATION first{};
    BY_HANDLE_FILE_INFORMATION second{};
    return ::GetFileInformationByHandle(one, &first) && ::GetFileInformationByHandle(other, &second)
           && first.dwVolumeSerialNumber == second.dwVolumeSerialNumber && first.nFileIndexHigh == second.nFileIndexHigh
           && first.nFileIndexLow == second.nFileIndexLow
           && ::CompareFileTime(&first.ftCreationTime, &second.ftCreationTime) == 0;
}

} // namespace

struct FolderChanges::Native {
    WindowsHandle waker{::CreateEventW(nullptr, FALSE, FALSE, nullptr)};
    WindowsHandle done{::CreateEventW(nullptr, TRUE, FALSE, nullptr)};
    DWORD code = ::GetLastError();
    WindowsHandle folder;
    ParentWatch parent;
    QString path;
    OVERLAPPED overlapped{};
    std::vector<DWORD> buffer = std::vector<DWORD>(bufferSize / sizeof(DWORD));
    bool isPending = false;

    ~Native() { close(); }

    [[nodiscard]] bool request();
    [[nodiscard]] Outcome take(QVector<Change>* changes);
    [[nodiscard]] Outcome recheckFolder();
    void parse(DWORD length, QVector<Change>* changes);
    [[nodiscard]] QString longName(const QString& name) const;
    void close();
};

FolderChanges::FolderChanges()
    : m_native(new Native) {}

FolderChanges::~FolderChanges() = default;

Result<void> FolderChanges::usable() const {
    if (m_native->waker.isValid() && m_native->done.isValid())
        return {};
    return Failure{systemErrorText(m_native->code)};
}

Result<void> FolderChanges::open(const QString& folder) {
    m_native->close();
    m_native->path = folder;
    m_native->parent.open(nativePath(folder + QStringLiteral("/..")));
    m_native->folder = openFolder(folder);
    m_native->code = ::GetLastError();
    if (m_native->folder.isValid() && m_native->request())
        return {};
    return Failure{systemErrorText(m_native->code)};
}

// The system records changes from the first call on, also between two calls.
bool FolderChanges::Native::request() {
    overlapped = OVERLAPPED{};
    overlapped.hEvent = done.get();
    isPending =
        ::ReadDirectoryChangesW(folder.get(), buffer.data(), bufferSize, FALSE, watchedEvents, nullptr, &overlapped, nullptr);
    code = ::GetLastError();
    if (!isPending)
        folder = WindowsHandle();
    return isPending;
}

FolderChanges::Outcome FolderChanges::wait(int timeoutMs, QVector<Change>* changes) {
    // A failed request closes the folder, also after too many changes. The caller then opens it again and checks all files.
    if (m_native->folder.isValid() && !m_native->isPending && !m_native->request())
        return Outcome::Gone;
    const HANDLE sources[] = {m_native->waker.get(), m_native->done.get(), m_native->parent.get()};
    const DWORD count = !m_native->isPending ? 1 : m_native->parent.isValid() ? 3 : 2;
    switch (::WaitForMultipleObjects(count, sources, FALSE, timeoutMs < 0 ? INFINITE : static_cast<DWORD>(timeoutMs))) {
    case WAIT_OBJECT_0: return Outcome::Woken;
    case WAIT_OBJECT_0 + 1: return m_native->take(changes);
    case WAIT_OBJECT_0 + 2: return m_native->recheckFolder();
    case WAIT_TIMEOUT: return Outcome::TimedOut;
    default: return Outcome::Gone;
    }
}

FolderChanges::Outcome FolderChanges::Native::take(QVector<Change>* changes) {
    isPending = false;
    DWORD length = 0;
    if (!::GetOverlappedResult(folder.get(), &overlapped, &length, FALSE)) {
        code = ::GetLastError();
        if (code == ERROR_NOTIFY_ENUM_DIR)
            return Outcome::Overflow;
        // An open handle would prevent a new folder of the same name.
        folder = WindowsHandle();
        return Outcome::Gone;
    }
    if (length == 0)
        return Outcome::Overflow;
    parse(length, changes);
    return Outcome::Changed;
}

// The system may not report on a folder's own handle that it was removed or renamed. A change in the parent is the only sign.
FolderChanges::Outcome FolderChanges::Native::recheckFolder() {
    parent.next();
    const WindowsHandle named = openFolder(path);
    if (named.isValid() && isSameFolder(folder.get(), named.get()))
        return Outcome::Changed;
    close();
    return Outcome::Gone;
}

void FolderChanges::Native::parse(DWORD length, QVector<Change>* changes) {
    const auto* const bytes = reinterpret_cast<const char*>(buffer.data());
    for (DWORD place = 0; place + offsetof(FILE_NOTIFY_INFORMATION, FileName) <= length;) {
        const auto* const info = reinterpret_cast<const FILE_NOTIFY_INFORMATION*>(bytes + place);
        const QString name = QString::fromWCharArray(info->FileName, static_cast<int>(info->FileNameLength / sizeof(wchar_t)));
        const Change change{kindOf(info->Action), longName(name)};
        if (changes->isEmpty() || !(changes->last() == change))
            changes->append(change);
        if (info->NextEntryOffset == 0)
            return;
        place += info->NextEntryOffset;
    }
}

// The system may report the short name of a file, but callers know the long one.
QString FolderChanges::Native::longName(const QString& name) const {
    if (!name.contains(QLatin1Char('~')))
        return name;
    wchar_t text[1024];
    const DWORD length = ::GetLongPathNameW(nativePath(path + QLatin1Char('/') + name).c_str(), text, 1024);
    const bool isKnown = length > 0 && length < 1024;
    return isKnown ? QString::fromWCharArray(text, static_cast<int>(length)).section(QLatin1Char('\\'), -1) : name;
}

// Waits until the cancelled request has ended: until then the system may write into the buffer.
void FolderChanges::Native::close() {
    if (isPending) {
        DWORD length = 0;
        ::CancelIoEx(folder.get(), &overlapped);
        ::GetOverlappedResult(folder.get(), &overlapped, &length, TRUE);
        isPending = false;
    }
    folder = WindowsHandle();
    parent.close();
}

void FolderChanges::wake() {
    ::SetEvent(m_native->waker.get());
}

} // namespace Velquor::Util
