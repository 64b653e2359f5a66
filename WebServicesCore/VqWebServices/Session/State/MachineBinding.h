#pragma once

#include "Session/State/LoginState.h"
#include "VqLog/ILogger.h"
#include "VqUtil/Crypto/ICryptor.h"

#include <QStringList>
#include <memory>

namespace Velquor::WebServices::Internal {

/// Ties a login state to the user of the system and to the machine that saved it.
///
/// Thread: any. Owner: its user's stack. Errors: log lines.
class MachineBinding {
public:
    /// `maximumSize` bounds the text of the machine address, in bytes. `isForAllUsers`: the state may be another user's.
    MachineBinding(std::shared_ptr<Util::ICryptor> cryptor, int maximumSize, bool isForAllUsers,
                   std::shared_ptr<Log::ILogger> logger);

    /// Writes the encrypted user name and machine address into the state.
    void bind(BasicLoginState& state) const;

    /// `Other`: the state was saved by another user of the system, or on another machine. `Unknown`: the system does not say now
    /// who the user is or which adapters there are.
    enum class Answer { Same, Other, Unknown };
    [[nodiscard]] Answer check(const BasicLoginState& state) const;

    /// Adds the machine's present addresses to those of a checked state. Adapters are replaced one by one over the years, and
    /// each replacement leaves one common address.
    void renew(BasicLoginState& state) const;

private:
    [[nodiscard]] QByteArray encryptAddresses(const QStringList& addresses) const;
    [[nodiscard]] Answer checkUser(const QByteArray& encryptedName) const;
    [[nodiscard]] Answer checkMachine(const QByteArray& encryptedAddress) const;

    const std::shared_ptr<Util::ICryptor> m_cryptor;
    const int m_maximumSize;
    const bool m_isForAllUsers;
    const std::shared_ptr<Log::ILogger> m_logger;
};

/// The addresses without duplicates joined with "|", shortened by whole addresses from the end while the text is longer than
/// `maximumSize` bytes and more than one address is left.
[[nodiscard]] QString joinedMachineAddress(const QStringList& addresses, int maximumSize);

/// The addresses to store: the current ones first, then the stored ones, since an adapter that is unplugged today comes back.
/// Only the stored ones when there is no new one.
[[nodiscard]] QStringList renewedAddresses(const QStringList& stored, const QStringList& current);

/// Whether two machines are the same: one common address is enough; a machine without addresses has the blank address.
[[nodiscard]] bool isSameMachine(const QString& storedAddress, const QStringList& currentAddresses);

} // namespace Velquor::WebServices::Internal
