#include "VqUtil/Platform/Windows/OwnerOnlySecurity.h"

#include "VqUtil/Platform/Windows/WindowsHandle.h"

#include <sddl.h>

namespace Velquor::Util {

namespace {

// Space for TOKEN_USER and the longest SID behind it.
struct TokenUserBuffer {
    TOKEN_USER user;
    BYTE sid[SECURITY_MAX_SID_SIZE];
};

QString readUserSid() {
    HANDLE token = nullptr;
    if (!::OpenProcessToken(::GetCurrentProcess(), TOKEN_QUERY, &token))
        return {};
    const WindowsHandle ownedToken(token);
    TokenUserBuffer buffer{};
    DWORD size = 0;
    wchar_t* text = nullptr;
    if (!::GetTokenInformation(token, TokenUser, &buffer, sizeof buffer, &size)
        || !::ConvertSidToStringSidW(buffer.user.User.Sid, &text))
        return {};
    const LocalMemory<wchar_t> ownedText(text);
    return QString::fromWCharArray(text);
}

QString descriptorText(OwnerOnlySecurity::Kind kind, const QString& sid) {
    switch (kind) {
    case OwnerOnlySecurity::Kind::File: return QStringLiteral("O:%1D:P(A;;FA;;;%1)").arg(sid);
    case OwnerOnlySecurity::Kind::Folder: return QStringLiteral("O:%1D:P(A;OICI;FA;;;%1)").arg(sid);
    case OwnerOnlySecurity::Kind::KernelObject: break;
    }
    // Without the label, an object that an elevated process created would be closed to the user's ordinary ones.
    return QStringLiteral("D:P(A;;GA;;;%1)S:(ML;;NW;;;ME)").arg(sid);
}

} // namespace

QString currentUserSid() {
    static const QString sid = readUserSid();
    return sid;
}

OwnerOnlySecurity::OwnerOnlySecurity(Kind kind) {
    if (currentUserSid().isEmpty())
        return;
    void* descriptor = nullptr;
    const std::wstring text = descriptorText(kind, currentUserSid()).toStdWString();
    if (!::ConvertStringSecurityDescriptorToSecurityDescriptorW(text.c_str(), SDDL_REVISION_1, &descriptor, nullptr))
        return;
    m_descriptor.reset(descriptor);
    m_attributes.nLength = sizeof m_attributes;
    m_attributes.lpSecurityDescriptor = descriptor;
}

ACL* OwnerOnlySecurity::accessList() const {
    BOOL present = FALSE;
    BOOL defaulted = FALSE;
    ACL* list = nullptr;
    return isValid() && ::GetSecurityDescriptorDacl(m_descriptor.get(), &present, &list, &defaulted) && present ? list : nullptr;
}

} // namespace Velquor::Util
