#include "VqUtil/Files/Platform/Windows/FolderRights.h"

#include "VqUtil/Platform/Windows/OwnerOnlySecurity.h"

#include <QByteArray>
#include <aclapi.h>
#include <map>
#include <mutex>
#include <sddl.h>

namespace Velquor::Util {

namespace {

enum class System { Excluded, Allowed };

bool isOwnSid(void* sid) {
    wchar_t* text = nullptr;
    if (!sid || !::ConvertSidToStringSidW(sid, &text))
        return false;
    const LocalMemory<wchar_t> owned(text);
    return QString::fromWCharArray(text) == currentUserSid();
}

/// The owner and the access list of a folder as the file system reports them.
struct FolderRights {
    void* owner = nullptr;
    ACL* list = nullptr;
    LocalMemory<void> descriptor;

    // The system's error code.
    [[nodiscard]] DWORD read(std::wstring path) {
        void* read = nullptr;
        const DWORD code =
            ::GetNamedSecurityInfoW(path.data(), SE_FILE_OBJECT, OWNER_SECURITY_INFORMATION | DACL_SECURITY_INFORMATION, &owner,
                                    nullptr, &list, nullptr, &read);
        if (code == ERROR_SUCCESS)
            descriptor.reset(read);
        return code;
    }

    [[nodiscard]] bool isProtected() const {
        SECURITY_DESCRIPTOR_CONTROL control = 0;
        DWORD revision = 0;
        return ::GetSecurityDescriptorControl(descriptor.get(), &control, &revision) && (control & SE_DACL_PROTECTED) != 0;
    }

    // Every entry is the user's, or the system's where that is allowed: it reaches every file anyway.
    [[nodiscard]] bool areOfOwnerOnly(System system) const {
        for (DWORD index = 0; list && index < list->AceCount; ++index) {
            void* entry = nullptr;
            if (!::GetAce(list, index, &entry) || static_cast<const ACE_HEADER*>(entry)->AceType != ACCESS_ALLOWED_ACE_TYPE)
                return false;
            void* const sid = &static_cast<ACCESS_ALLOWED_ACE*>(entry)->SidStart;
            if (!isOwnSid(sid) && (system == System::Excluded || !::IsWellKnownSid(sid, WinLocalSystemSid)))
                return false;
        }
        return list != nullptr;
    }

    // An entry of its own for anybody but the user and the system.
    [[nodiscard]] bool areShared() const {
        for (DWORD index = 0; list && index < list->AceCount; ++index) {
            void* entry = nullptr;
            if (!::GetAce(list, index, &entry))
                return true;
            const auto* const header = static_cast<const ACE_HEADER*>(entry);
            if ((header->AceFlags & INHERITED_ACE) != 0 || header->AceType != ACCESS_ALLOWED_ACE_TYPE)
                continue;
            void* const sid = &static_cast<ACCESS_ALLOWED_ACE*>(entry)->SidStart;
            if (!isOwnSid(sid) && !::IsWellKnownSid(sid, WinLocalSystemSid))
                return true;
        }
        return list == nullptr;
    }

    [[nodiscard]] QByteArray bytes() const {
        return {static_cast<const char*>(descriptor.get()), static_cast<int>(::GetSecurityDescriptorLength(descriptor.get()))};
    }
};

/// The rights that each folder had after the last write. Some file systems, for instance Wine's, do not store the flag that stops
/// inheritance and add an entry for the system. There the rights read never equal the rights written, and without this record
/// every call would write them again.
///
/// Thread: any. Owner: the process.
class RightsAsKept {
public:
    static RightsAsKept& instance() {
        // Never destroyed: threads of a host that ends without uninitializing the library may still write files.
        static auto* const kept = new RightsAsKept;
        return *kept;
    }

    [[nodiscard]] bool contain(const std::wstring& path, const FolderRights& rights) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        const auto found = m_rights.find(path);
        return found != m_rights.end() && found->second == rights.bytes();
    }

    void remember(const std::wstring& path, const FolderRights& rights) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (m_rights.size() >= mostFolders)
            m_rights.clear();
        m_rights[path] = rights.bytes();
    }

private:
    static constexpr size_t mostFolders = 16;

    std::mutex m_mutex;
    std::map<std::wstring, QByteArray> m_rights;
};

// The system's error code.
DWORD writeRights(std::wstring path) {
    const OwnerOnlySecurity security(OwnerOnlySecurity::Kind::Folder);
    if (!security.accessList())
        return ERROR_INVALID_ACL;
    constexpr SECURITY_INFORMATION what = DACL_SECURITY_INFORMATION | PROTECTED_DACL_SECURITY_INFORMATION;
    // The first call also reaches what is in the folder; Wine adds the inherited rights although the flag forbids it,
    // and the second call removes them.
    const DWORD set =
        ::SetNamedSecurityInfoW(path.data(), SE_FILE_OBJECT, what, nullptr, nullptr, security.accessList(), nullptr);
    if (set != ERROR_SUCCESS)
        return set;
    return ::SetFileSecurityW(path.c_str(), what, security.descriptor()) ? ERROR_SUCCESS : ::GetLastError();
}

// The system's error code.
DWORD tryToTakeRightsOfOthersAway(const std::wstring& path) {
    FolderRights before;
    const DWORD read = before.read(path);
    if (read != ERROR_SUCCESS)
        return read;
    const bool isDone = before.isProtected() && before.areOfOwnerOnly(System::Excluded);
    if (!isOwnSid(before.owner) || isDone || RightsAsKept::instance().contain(path, before))
        return ERROR_SUCCESS;
    const DWORD written = writeRights(path);
    // Another process may have added rights since. They are not recorded, so the next call removes them.
    FolderRights after;
    if (written == ERROR_SUCCESS && after.read(path) == ERROR_SUCCESS && after.areOfOwnerOnly(System::Allowed))
        RightsAsKept::instance().remember(path, after);
    return written;
}

} // namespace

bool isFolderOfUserAlone(const std::wstring& path) {
    FolderRights rights;
    return rights.read(path) == ERROR_SUCCESS && isOwnSid(rights.owner) && !rights.areShared();
}

// Wine asks how long the rights are and then reads them: another process that changes them in between makes it fail.
bool takeRightsOfOthersAway(const std::wstring& path) {
    constexpr int mostAttempts = 10;
    DWORD code = ERROR_INSUFFICIENT_BUFFER;
    for (int attempt = 0; code == ERROR_INSUFFICIENT_BUFFER && attempt < mostAttempts; ++attempt)
        code = tryToTakeRightsOfOthersAway(path);
    return code == ERROR_SUCCESS;
}

} // namespace Velquor::Util
