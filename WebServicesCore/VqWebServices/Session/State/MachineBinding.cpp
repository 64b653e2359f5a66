#include "Session/State/MachineBinding.h"

#include "VqUtil/Platform/UserIdentity.h"

#include <algorithm>
#include <utility>

namespace Velquor::WebServices::Internal {

namespace {

// An empty text cannot be encrypted, so a machine without adapters is written as the separator alone.
const auto blankAddress = QStringLiteral("|");

} // namespace

MachineBinding::MachineBinding(std::shared_ptr<Util::ICryptor> cryptor, int maximumSize, bool isForAllUsers,
                               std::shared_ptr<Log::ILogger> logger)
    : m_cryptor(std::move(cryptor))
    , m_maximumSize(maximumSize)
    , m_isForAllUsers(isForAllUsers)
    , m_logger(std::move(logger)) {}

void MachineBinding::bind(BasicLoginState& state) const {
    state.ntUserName = m_cryptor->encrypt(Util::currentUserName().toUtf8());
    const QStringList addresses = Util::adapterAddresses();
    if (addresses.isEmpty())
        m_logger->warning(QStringLiteral("No adapters found. Machine address is assumed to be blank."));
    state.machineAddress = encryptAddresses(addresses);
}

QByteArray MachineBinding::encryptAddresses(const QStringList& addresses) const {
    const QString address = joinedMachineAddress(addresses, m_maximumSize);
    return m_cryptor->encrypt(address.isEmpty() ? blankAddress.toUtf8() : address.toUtf8());
}

void MachineBinding::renew(BasicLoginState& state) const {
    const QStringList stored = m_cryptor->decrypt(state.machineAddress).toText().split(QLatin1Char('|'), Qt::SkipEmptyParts);
    const QStringList addresses = renewedAddresses(stored, Util::adapterAddresses());
    const QByteArray renewed = addresses == stored ? QByteArray() : encryptAddresses(addresses);
    if (!renewed.isEmpty())
        state.machineAddress = renewed;
}

bool MachineBinding::check(const BasicLoginState& state) const {
    return (m_isForAllUsers || checkUser(state.ntUserName)) && checkMachine(state.machineAddress);
}

bool MachineBinding::checkUser(const QByteArray& encryptedName) const {
    if (encryptedName.isEmpty() || m_cryptor->decrypt(encryptedName).view() == Util::currentUserName().toUtf8())
        return true;
    m_logger->error(QStringLiteral(
        "Login state is invalid since it was not saved by current NT user. Discarding it and forcing logout. User needs to login."));
    return false;
}

bool MachineBinding::checkMachine(const QByteArray& encryptedAddress) const {
    const Util::SecretBytes stored = m_cryptor->decrypt(encryptedAddress);
    const QStringList current = Util::adapterAddresses();
    if (!stored.isEmpty() && isSameMachine(stored.toText(), current))
        return true;
    m_logger->error(
        QStringLiteral(
            "Failed to match login state to the this machine. Did not find any match between adapter addresses in login state and current adapter addresses in the machine. Adapter addresses in login state: %1. Current adapter addresses: %2.")
            .arg(stored.toText(), current.join(QLatin1Char('|'))));
    m_logger->error(QStringLiteral(
        "Login state is invalid since it was not saved in this computer. Discarding it and forcing logout. User needs to login."));
    return false;
}

QString joinedMachineAddress(const QStringList& addresses, int maximumSize) {
    QStringList left = addresses;
    left.removeDuplicates();
    while (left.size() > 1 && left.join(QLatin1Char('|')).toUtf8().size() > maximumSize)
        left.removeLast();
    return left.join(QLatin1Char('|'));
}

QStringList renewedAddresses(const QStringList& stored, const QStringList& current) {
    const bool hasNew =
        std::any_of(current.begin(), current.end(), [&](const QString& address) { return !stored.contains(address); });
    QStringList addresses = hasNew ? current + stored : stored;
    addresses.removeDuplicates();
    return addresses;
}

bool isSameMachine(const QString& storedAddress, const QStringList& currentAddresses) {
    const QStringList stored = storedAddress.split(QLatin1Char('|'), Qt::SkipEmptyParts);
    if (stored.isEmpty())
        return currentAddresses.isEmpty();
    return std::any_of(stored.begin(), stored.end(), [&](const QString& address) { return currentAddresses.contains(address); });
}

} // namespace Velquor::WebServices::Internal
