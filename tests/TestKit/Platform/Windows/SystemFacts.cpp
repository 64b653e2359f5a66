#include "TestKit/Platform/SystemFacts.h"

#include "VqUtil/Crypto/UserRsaCryptor.h"
#include "VqUtil/Platform/Windows/LocalMemory.h"
#include "VqUtil/Platform/Windows/NativePath.h"
#include "VqUtil/Platform/Windows/OwnerOnlySecurity.h"

#include <QDir>
#include <QFileInfo>
#include <aclapi.h>
#include <psapi.h>
#include <sddl.h>
#include <wincrypt.h>

namespace Velquor::TestKit {

namespace {

// The system itself reaches every file anyway, and Wine always names it.
bool isOfTheUser(void* sid) {
    wchar_t* text = nullptr;
    if (!::ConvertSidToStringSidW(sid, &text))
        return false;
    const Util::LocalMemory<wchar_t> owned(text);
    return QString::fromWCharArray(text) == Util::currentUserSid() || ::IsWellKnownSid(sid, WinLocalSystemSid);
}

} // namespace

bool isOwnerOnly(const QString& path) {
    ACL* list = nullptr;
    void* descriptor = nullptr;
    if (::GetNamedSecurityInfoW(Util::nativePath(path).data(), SE_FILE_OBJECT, DACL_SECURITY_INFORMATION, nullptr, nullptr, &list,
                                nullptr, &descriptor)
        != ERROR_SUCCESS)
        return false;
    const Util::LocalMemory<void> owned(descriptor);
    bool hasAny = false;
    for (DWORD index = 0; list && index < list->AceCount; ++index) {
        void* entry = nullptr;
        if (!::GetAce(list, index, &entry))
            return false;
        if (static_cast<const ACE_HEADER*>(entry)->AceType != ACCESS_ALLOWED_ACE_TYPE)
            continue;
        if (!isOfTheUser(&static_cast<ACCESS_ALLOWED_ACE*>(entry)->SidStart))
            return false;
        hasAny = true;
    }
    return hasAny;
}

bool openFilesCanBeReplaced() {
    return false;
}

bool guardsAreFiles() {
    return false;
}

bool userKeysAreFiles() {
    return false;
}

void forgetUserKey() {
    HCRYPTPROV nothing = 0;
    ::CryptAcquireContextW(&nothing, L"VqWebServices", MS_ENH_RSA_AES_PROV_W, PROV_RSA_AES, CRYPT_DELETEKEYSET | CRYPT_SILENT);
}

std::shared_ptr<Util::IRsaCryptor> openAnotherUserKey(const std::shared_ptr<Log::ILogger>& logger) {
    forgetUserKey();
    return Util::openUserRsaCryptor(QString(), logger);
}

WithoutFolderOfAllUsers::WithoutFolderOfAllUsers(const QString& folder)
    : m_folder(folder) {
    QFile file(folder);
    if (!QDir().mkpath(QFileInfo(folder).path()) || !file.open(QIODevice::WriteOnly | QIODevice::NewOnly))
        qFatal("The test cannot put a file in the place of the folder");
}

WithoutFolderOfAllUsers::~WithoutFolderOfAllUsers() {
    QFile::remove(m_folder);
}

bool timesOfProcessesCount() {
    const HMODULE system = ::GetModuleHandleW(L"ntdll.dll");
    return system && !::GetProcAddress(system, "wine_get_version");
}

qint64 peakMemoryBytes() {
    PROCESS_MEMORY_COUNTERS counters{};
    K32GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof counters);
    return qint64(counters.PeakWorkingSetSize);
}

} // namespace Velquor::TestKit
