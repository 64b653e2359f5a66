#include "Session/Store/SignInCheck.h"

namespace Velquor::WebServices::Internal {

SignInCheck::SignInCheck(LockedState& state)
    : m_state(state)
    , m_logger(*state->services().loggers.session) {}

SignInCheck::Verdict SignInCheck::check(BasicLoginState& user, bool isKnown) {
    const Verdict clientId = isKnown ? Verdict::Valid : checkClientId(user);
    if (clientId != Verdict::Valid)
        return clientId;
    m_state.setLdapDomainKey(user.ldapDomainKey);
    if (user.isExpired(m_state->services().now())) {
        m_logger.warning(
            QStringLiteral("Login session expired. Deleting the login state in login state file. Re-login required."));
        return Verdict::Discarded;
    }
    if (isKnown)
        return Verdict::Valid;
    const MachineBinding::Answer binding = m_state->binding().check(user);
    if (binding != MachineBinding::Answer::Same)
        return binding == MachineBinding::Answer::Unknown ? Verdict::Undecided : Verdict::Discarded;
    m_state->binding().renew(user);
    return Verdict::Valid;
}

SignInCheck::Verdict SignInCheck::checkClientId(const BasicLoginState& user) {
    if (!user.hasUser()) {
        m_logger.error(QStringLiteral("Client id is blank or not found in login state file"));
        return Verdict::Ignored;
    }
    if (!m_state->services().cryptor->decrypt(user.clientId).isEmpty())
        return Verdict::Valid;
    if (!m_state->services().cryptor->isUsable()) {
        m_logger.error(QStringLiteral("The user's key cannot be read now. The login state is kept and is tried again."));
        return Verdict::Undecided;
    }
    if (m_state->services().isForAllUsers) {
        m_logger.information(QStringLiteral("Ignoring the login state in login state file. It was saved by another user."));
        return Verdict::Ignored;
    }
    m_logger.error(
        QStringLiteral("Failed to restore client id. Deleting the login state in login state file. Re-login required."));
    return Verdict::Discarded;
}

} // namespace Velquor::WebServices::Internal
