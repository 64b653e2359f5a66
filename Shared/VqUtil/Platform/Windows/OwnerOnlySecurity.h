#pragma once

#include "VqUtil/Platform/Windows/LocalMemory.h"

#include <QString>

namespace Velquor::Util {

/// The security of objects that belong to the user of this process alone: owned by that user, all rights for that user, none
/// for anybody else, nothing inherited from above.
///
/// Thread: one. Owner: the caller, for the length of one creation. Errors: `isValid()` is false and `attributes()` is null, which
/// means the system's default.
class OwnerOnlySecurity {
public:
    enum class Kind {
        File,
        Folder,       ///< What is created inside inherits the same rights.
        KernelObject, ///< Open to the user's processes at every level from the ordinary one upwards, whichever process created
                      ///< it.
    };

    explicit OwnerOnlySecurity(Kind kind);

    [[nodiscard]] bool isValid() const { return m_descriptor != nullptr; }
    [[nodiscard]] SECURITY_ATTRIBUTES* attributes() { return isValid() ? &m_attributes : nullptr; }
    /// Null when there is none. Owned by this object.
    [[nodiscard]] void* descriptor() const { return m_descriptor.get(); }
    [[nodiscard]] ACL* accessList() const;

private:
    LocalMemory<void> m_descriptor;
    SECURITY_ATTRIBUTES m_attributes{};
};

/// The SID of the user of this process in its text form ("S-1-5-..."); empty when the system does not report it.
[[nodiscard]] QString currentUserSid();

} // namespace Velquor::Util
