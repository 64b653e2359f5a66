#include "Platform/FilePrivacy.h"

#include <QDir>
#include <QStringList>
#include <aclapi.h>
#include <array>
#include <memory>

namespace Vqws {

namespace {

constexpr DWORD longestName = 256;

struct LocalMemoryDeleter {
    void operator()(void* memory) const { ::LocalFree(memory); }
};

// Memory for TOKEN_USER and the longest SID after it.
struct TokenUserBuffer {
    TOKEN_USER user;
    BYTE sid[SECURITY_MAX_SID_SIZE];
};

bool isUser(PSID sid) {
    HANDLE token = nullptr;
    if (!::OpenProcessToken(::GetCurrentProcess(), TOKEN_QUERY, &token))
        return false;
    TokenUserBuffer buffer{};
    DWORD size = 0;
    const bool known = ::GetTokenInformation(token, TokenUser, &buffer, sizeof buffer, &size) != 0;
    ::CloseHandle(token);
    return known && ::EqualSid(buffer.user.User.Sid, sid);
}

bool mayHaveAccess(PSID sid) {
    return isUser(sid) || ::IsWellKnownSid(sid, WinLocalSystemSid) || ::IsWellKnownSid(sid, WinBuiltinAdministratorsSid)
           || ::IsWellKnownSid(sid, WinCreatorOwnerSid);
}

QString nameOf(PSID sid) {
    std::array<wchar_t, longestName> name{};
    std::array<wchar_t, longestName> domain{};
    DWORD nameSize = longestName;
    DWORD domainSize = longestName;
    SID_NAME_USE use{};
    return ::LookupAccountSidW(nullptr, sid, name.data(), &nameSize, domain.data(), &domainSize, &use)
               ? QString::fromWCharArray(name.data())
               : QStringLiteral("another account");
}

// An inherit-only entry does not apply to the folder itself.
bool givesAccess(const ACE_HEADER& header) {
    return header.AceType == ACCESS_ALLOWED_ACE_TYPE && (header.AceFlags & INHERIT_ONLY_ACE) == 0;
}

QStringList othersIn(ACL* list) {
    QStringList others;
    for (DWORD index = 0; index < list->AceCount; ++index) {
        void* entry = nullptr;
        if (!::GetAce(list, index, &entry) || !givesAccess(*static_cast<ACE_HEADER*>(entry)))
            continue;
        auto* const allowed = static_cast<ACCESS_ALLOWED_ACE*>(entry);
        const PSID sid = &allowed->SidStart;
        if (allowed->Mask != 0 && !mayHaveAccess(sid))
            others += nameOf(sid);
    }
    others.removeDuplicates();
    return others;
}

} // namespace

QString othersWithAccess(const QString& path) {
    ACL* list = nullptr;
    PSECURITY_DESCRIPTOR descriptor = nullptr;
    const std::wstring name = QDir::toNativeSeparators(path).toStdWString();
    const DWORD result = ::GetNamedSecurityInfoW(const_cast<wchar_t*>(name.c_str()), SE_FILE_OBJECT, DACL_SECURITY_INFORMATION,
                                                 nullptr, nullptr, &list, nullptr, &descriptor);
    const std::unique_ptr<void, LocalMemoryDeleter> owned(descriptor);
    if (result != ERROR_SUCCESS)
        return {};
    return list ? othersIn(list).join(QStringLiteral(" and ")) : QStringLiteral("everybody");
}

QString otherOwner(const QString&) {
    return {};
}

// Who may do everything is in the access lists there.
bool isRoot() {
    return false;
}

bool isWriteProtected(const QString& path) {
    const std::wstring name = QDir::toNativeSeparators(path).toStdWString();
    const DWORD attributes = ::GetFileAttributesW(name.c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_READONLY) != 0;
}

} // namespace Vqws
