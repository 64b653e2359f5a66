#include "Session/State/MachineBinding.h"

#include "VqUtil/Platform/UserIdentity.h"

#include <algorithm>
#include <utility>

namespace Velquor::WebServices::Internal {

namespace {

// An empty text cannot be encrypted, so a machine without adapters is written as the separator alone.
const auto blankAddress = QStringLiteral("|");
// Written when the system did not list its adapters. The first reader that knows them replaces it.
const auto unknownAddress = QStringLiteral("?");

} // namespace

MachineBinding::MachineBinding(std::shared_ptr<Util::ICryptor> cryptor, int maximumSize, bool isForAllUsers,
                               std::shared_ptr<Log::ILogger> logger)
    : m_cryptor(std::move(cryptor))
    , m_maximumSize(maximumSize)
    , m_isForAllUsers(isForAllUsers)
    , m_logger(std::move(logger)) {}

void MachineBinding::bind(BasicLoginState& state) const {
    state.ntUserName = m_cryptor->encrypt(Util::currentUserName().value_or(QString()).toUtf8());
    const std::optional<QStringList> addresses = Util::adapterAddresses();
    if (!addresses) {
        state.machineAddress = m_cryptor->encrypt(unknownAddress.toUtf8());
        return;
    }
    if (addresses->isEmpty())
        m_logger->warning(QStringLiteral("No adapters found. Machine address is assumed to be blank."));
    state.machineAddress = encryptAddresses(*addresses);
}

QByteArray MachineBinding::encryptAddresses(const QStringList& addresses) const {
    const QString address = joinedMachineAddress(addresses, m_maximumSize);
    return m_cryptor->encrypt(address.isEmpty() ? blankAddress.toUtf8() : address.toUtf8());
}

void MachineBinding::renew(BasicLoginState& state) const {
    QStringList stored = m_cryptor->decrypt(state.machineAddress).toText().split(QLatin1Char('|'), Qt::SkipEmptyParts);
    const bool isUnknown = stored.removeAll(unknownAddress) > 0;
    const std::optional<QStringList> current = Util::adapterAddresses();
    if (!current)
        return;
    const QStringList addresses = renewedAddresses(stored, *current);
    const QByteArray renewed = addresses == stored && !isUnknown ? QByteArray() : encryptAddresses(addresses);
    if (!renewed.isEmpty())
        state.machineAddress = renewed;
}

MachineBinding::Answer MachineBinding::check(const BasicLoginState& state) const {
    const Answer user = m_isForAllUsers ? Answer::Same : checkUser(state.ntUserName);
    const Answer answer = user == Answer::Same ? checkMachine(state.machineAddress) : user;
    if (answer == Answer::Unknown)
        m_logger->warning(QStringLiteral(
            "The system does not say who the user is or which adapters there are. The login state is kept and is tried again."));
    return answer;
}

MachineBinding::Answer MachineBinding::checkUser(const QByteArray& encryptedName) const {
    if (encryptedName.isEmpty())
        return Answer::Same;
    const std::optional<QString> current = Util::currentUserName();
    if (!current)
        return Answer::Unknown;
    if (m_cryptor->decrypt(encryptedName).view() == current->toUtf8())
        return Answer::Same;
    m_logger->error(QStringLiteral(
        "Login state is invalid since it was not saved by current NT user. Discarding it and forcing logout. User needs to login."));
    return Answer::Other;
}

MachineBinding::Answer MachineBinding::checkMachine(const QByteArray& encryptedAddress) const {
    const Util::SecretBytes stored = m_cryptor->decrypt(encryptedAddress);
    const std::optional<QStringList> current = Util::adapterAddresses();
    if (!current)
        return Answer::Unknown;
    if (stored.view() == unknownAddress.toUtf8() || (!stored.isEmpty() && isSameMachine(stored.toText(), *current)))
        return Answer::Same;
    m_logger->error(
        QStringLiteral(
            "Failed to match login state to the this machine. Did not find any match between adapter addresses in login state and current adapter addresses in the machine. Adapter addresses in login state: %1. Current adapter addresses: %2.")
            .arg(stored.toText(), current->join(QLatin1Char('|'))));
    m_logger->error(QStringLiteral(
        "Login state is invalid since it was not saved in this computer. Discarding it and forcing logout. User needs to login."));
    return Answer::Other;
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
