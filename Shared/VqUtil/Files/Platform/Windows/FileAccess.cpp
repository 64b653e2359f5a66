#include "VqUtil/Files/FileAccess.h"

#include "VqUtil/Files/Platform/Windows/FolderRights.h"
#include "VqUtil/Platform/Windows/NativePath.h"
#include "VqUtil/Platform/Windows/OwnerOnlySecurity.h"
#include "VqUtil/Platform/Windows/SystemErrorText.h"
#include "VqUtil/Platform/Windows/WindowsHandle.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <algorithm>
#include <fcntl.h>
#include <io.h>

namespace Velquor::Util {

namespace {

constexpr DWORD shareWithAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
constexpr DWORD largestWrite = 1024 * 1024;
// In the units of FILETIME; longer than the coarsest file system rounds a date of change.
constexpr qint64 settledAge = 30000000;

Failure failure(DWORD code) {
    return {systemErrorText(code)};
}

// Returns the error code, 0 for none.
DWORD writeWhole(HANDLE file, const QByteArray& data, Flush flush) {
    int written = 0;
    while (written < data.size()) {
        DWORD count = 0;
        const DWORD size = std::min<DWORD>(static_cast<DWORD>(data.size() - written), largestWrite);
        const BOOL done = ::WriteFile(file, data.constData() + written, size, &count, nullptr);
        const DWORD code = ::GetLastError();
        if (!done || count == 0)
            return done ? ERROR_WRITE_FAULT : code;
        written += static_cast<int>(count);
    }
    if (flush == Flush::No)
        return ERROR_SUCCESS;
    const BOOL flushed = ::FlushFileBuffers(file);
    const DWORD code = ::GetLastError();
    return flushed ? ERROR_SUCCESS : code;
}

qint64 ticks(const FILETIME& time) {
    return static_cast<qint64>((static_cast<quint64>(time.dwHighDateTime) << 32) | time.dwLowDateTime);
}

FileStamp stamp(const FILETIME& modified, DWORD sizeHigh, DWORD sizeLow, quint64 identity) {
    return {ticks(modified) * 100, static_cast<qint64>((static_cast<quint64>(sizeHigh) << 32) | sizeLow), identity};
}

} // namespace

Result<void> checkOwner(const QString&) {
    return {};
}

Result<void> checkWay(const QString&) {
    return {};
}

bool isOwnOrSystemFile(const QString&) {
    return true;
}

Result<void> claimFile(const QString&, Others) {
    return {};
}

void closeToOtherWriters(const QString&) {}

Result<void> ensureOwnerOnlyFolder(const QString& folder) {
    if (folder.isEmpty())
        return failure(ERROR_INVALID_NAME);
    const std::wstring path = nativePath(folder);
    DWORD attributes = ::GetFileAttributesW(path.c_str());
    if (attributes == INVALID_FILE_ATTRIBUTES) {
        OwnerOnlySecurity security(OwnerOnlySecurity::Kind::Folder);
        if (!security.isValid() || !QDir().mkpath(QFileInfo(folder).path()))
            return failure(ERROR_PATH_NOT_FOUND);
        const BOOL created = ::CreateDirectoryW(path.c_str(), security.attributes());
        const DWORD code = ::GetLastError();
        if (!created && code != ERROR_ALREADY_EXISTS)
            return failure(code);
        attributes = ::GetFileAttributesW(path.c_str());
    }
    if (attributes == INVALID_FILE_ATTRIBUTES || (attributes & FILE_ATTRIBUTE_DIRECTORY) == 0)
        return failure(ERROR_DIRECTORY);
    return takeRightsOfOthersAway(path) ? Result<void>() : failure(ERROR_ACCESS_DENIED);
}

bool claimFolder(const QString& folder) {
    const std::wstring path = nativePath(folder);
    DWORD attributes = ::GetFileAttributesW(path.c_str());
    if (attributes == INVALID_FILE_ATTRIBUTES) {
        if (!ensureOwnerOnlyFolder(folder))
            return false;
        attributes = ::GetFileAttributesW(path.c_str());
    }
    const bool isLink = (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
    return attributes != INVALID_FILE_ATTRIBUTES && !isLink && isFolderOfUserAlone(path) && bool(ensureOwnerOnlyFolder(folder));
}

Result<void> writeOwnerOnlyFile(const QString& path, const QByteArray& data, Flush flush) {
    const std::wstring name = nativePath(path);
    OwnerOnlySecurity security(OwnerOnlySecurity::Kind::File);
    if (!security.isValid())
        return failure(ERROR_INVALID_SECURITY_DESCR);
    DWORD code = ERROR_SUCCESS;
    {
        const WindowsHandle file(
            ::CreateFileW(name.c_str(), GENERIC_WRITE, 0, security.attributes(), CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr));
        code = ::GetLastError();
        if (!file.isValid())
            return failure(code);
        code = writeWhole(file.get(), data, flush);
    }
    if (code == ERROR_SUCCESS)
        return {};
    ::DeleteFileW(name.c_str());
    return failure(code);
}

// QFile opens files without the right for others to delete them. That fails while another process moves the file into place, and
// that process may lose the processor for any time.
Result<void> openForReading(QFile& file, const QString& path) {
    WindowsHandle handle(::CreateFileW(nativePath(path).c_str(), GENERIC_READ, shareWithAll, nullptr, OPEN_EXISTING,
                                       FILE_ATTRIBUTE_NORMAL, nullptr));
    const DWORD code = ::GetLastError();
    if (!handle.isValid())
        return failure(code);
    const int descriptor = ::_open_osfhandle(reinterpret_cast<intptr_t>(handle.get()), _O_RDONLY | _O_BINARY);
    if (descriptor == -1)
        return failure(ERROR_TOO_MANY_OPEN_FILES);
    (void)handle.release();
    if (file.open(descriptor, QIODevice::ReadOnly, QFileDevice::AutoCloseHandle))
        return {};
    ::_close(descriptor);
    return failure(ERROR_OPEN_FAILED);
}

// An open handle, however short, blocks a process that replaces the file. So the file is opened only while two changes could
// still have the same date; later the date alone distinguishes them.
FileStamp fileStamp(const QString& path) {
    const std::wstring name = nativePath(path);
    WIN32_FILE_ATTRIBUTE_DATA data{};
    if (!::GetFileAttributesExW(name.c_str(), GetFileExInfoStandard, &data))
        return {};
    FILETIME now{};
    ::GetSystemTimeAsFileTime(&now);
    if (ticks(now) - ticks(data.ftLastWriteTime) > settledAge)
        return stamp(data.ftLastWriteTime, data.nFileSizeHigh, data.nFileSizeLow, 0);
    const WindowsHandle file(::CreateFileW(name.c_str(), FILE_READ_ATTRIBUTES, shareWithAll, nullptr, OPEN_EXISTING,
                                           FILE_FLAG_BACKUP_SEMANTICS, nullptr));
    BY_HANDLE_FILE_INFORMATION info{};
    if (!file.isValid() || !::GetFileInformationByHandle(file.get(), &info))
        return stamp(data.ftLastWriteTime, data.nFileSizeHigh, data.nFileSizeLow, 0);
    const quint64 identity = (static_cast<quint64>(info.nFileIndexHigh) << 32) | info.nFileIndexLow;
    return stamp(info.ftLastWriteTime, info.nFileSizeHigh, info.nFileSizeLow, identity);
}

Replacement replaceFile(const QString& from, const QString& to, Flush flush) {
    const DWORD flags = MOVEFILE_REPLACE_EXISTING | (flush == Flush::Yes ? MOVEFILE_WRITE_THROUGH : 0);
    const BOOL moved = ::MoveFileExW(nativePath(from).c_str(), nativePath(to).c_str(), flags);
    const DWORD code = ::GetLastError();
    if (moved)
        return {Replacement::Status::Done, {}};
    const bool isBusy = code == ERROR_ACCESS_DENIED || code == ERROR_SHARING_VIOLATION || code == ERROR_LOCK_VIOLATION;
    return {isBusy ? Replacement::Status::Busy : Replacement::Status::Failed, systemErrorText(code)};
}

} // namespace Velquor::Util
