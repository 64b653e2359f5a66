#include "VqUtil/Messaging/PeerIdentity.h"

#include "VqUtil/Platform/Windows/LocalMemory.h"
#include "VqUtil/Platform/Windows/OwnerOnlySecurity.h"
#include "VqUtil/Platform/Windows/WindowsHandle.h"

#include <aclapi.h>
#include <sddl.h>

namespace Velquor::Util {

namespace {

struct TokenUserBuffer {
    TOKEN_USER user;
    BYTE sid[SECURITY_MAX_SID_SIZE];
};

bool isOwnSid(PSID sid) {
    wchar_t* text = nullptr;
    if (!sid || currentUserSid().isEmpty() || !::ConvertSidToStringSidW(sid, &text))
        return false;
    const LocalMemory<wchar_t> owned(text);
    return QString::fromWCharArray(text) == currentUserSid();
}

enum class Answer { Yes, No, Unknown };

// Unknown is common: an ordinary process may not open an elevated one of the same user.
Answer isProcessOfSameUser(ULONG processId) {
    const WindowsHandle process(::OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, processId));
    HANDLE token = nullptr;
    if (!process.isValid() || !::OpenProcessToken(process.get(), TOKEN_QUERY, &token))
        return Answer::Unknown;
    const WindowsHandle ownedToken(token);
    TokenUserBuffer buffer{};
    DWORD size = 0;
    if (!::GetTokenInformation(token, TokenUser, &buffer, sizeof buffer, &size))
        return Answer::Unknown;
    return isOwnSid(buffer.user.User.Sid) ? Answer::Yes : Answer::No;
}

// The owner proves the user: creating an object for another owner needs a privilege.
bool isPipeOfSameUser(HANDLE pipe) {
    PSID owner = nullptr;
    void* descriptor = nullptr;
    if (::GetSecurityInfo(pipe, SE_KERNEL_OBJECT, OWNER_SECURITY_INFORMATION, &owner, nullptr, nullptr, nullptr, &descriptor)
        != ERROR_SUCCESS)
        return false;
    const LocalMemory<void> owned(descriptor);
    return isOwnSid(owner);
}

} // namespace

// Pipe names are global, but the election's lock is per session. The session in the name gives each session its own server.
QString localServerAddress(const QString& serverName, const QString&) {
    DWORD session = 0;
    if (currentUserSid().isEmpty() || !::ProcessIdToSessionId(::GetCurrentProcessId(), &session))
        return {};
    return serverName + QLatin1Char('.') + currentUserSid() + QLatin1Char('.') + QString::number(session);
}

// A pipe cannot lose its name while it exists.
bool isLocalServerReachable(const QString&) {
    return true;
}

QString localServerSocketFile(const QString&) {
    return {};
}

bool isPeerOfSameUser(qintptr socketDescriptor, PeerRole role) {
    const HANDLE pipe = reinterpret_cast<HANDLE>(socketDescriptor);
    ULONG processId = 0;
    const bool isKnown = role == PeerRole::Server ? ::GetNamedPipeServerProcessId(pipe, &processId)
                                                  : ::GetNamedPipeClientProcessId(pipe, &processId);
    const Answer answer = isKnown ? isProcessOfSameUser(processId) : Answer::Unknown;
    // A client passed the pipe's access list, which admits this user only. A server proves itself by the pipe's owner.
    if (answer == Answer::Unknown)
        return role == PeerRole::Client || isPipeOfSameUser(pipe);
    return answer == Answer::Yes;
}

} // namespace Velquor::Util
