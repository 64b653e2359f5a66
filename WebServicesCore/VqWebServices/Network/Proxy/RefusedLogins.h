#pragma once

#include "Network/Proxy/ProxyLogin.h"
#include "VqUtil/Crypto/ProtectedText.h"

#include <QPair>
#include <QVector>
#include <algorithm>

namespace Velquor::WebServices::Internal {

/// The logins that a proxy has refused during one request. Thread: the request's. Owner: the network access of the request.
class RefusedLogins {
public:
    void add(const ProxyLogin& login) {
        if (!login.isEmpty() && !contains(login))
            m_logins.append({login.user, Util::ProtectedText(login.password)});
    }

    void clear() { m_logins.clear(); }

    [[nodiscard]] bool contains(const ProxyLogin& login) const {
        return std::any_of(m_logins.begin(), m_logins.end(), [&login](const auto& refused) {
            return refused.first == login.user && refused.second.toText() == login.password;
        });
    }

    /// The user name to show in the next prompt.
    [[nodiscard]] QString lastUser() const { return m_logins.isEmpty() ? QString() : m_logins.last().first; }

private:
    QVector<QPair<QString, Util::ProtectedText>> m_logins;
};

} // namespace Velquor::WebServices::Internal
