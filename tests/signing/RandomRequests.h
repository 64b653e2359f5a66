#pragma once

#include "Signing/VqOAuthWrapper.h"

#include <QJsonObject>
#include <QRandomGenerator>

namespace Velquor::TestKit {

/// Makes requests out of everything that makes signing hard, signs them, and tells what goes over the wire.
/// Thread: one. Owner: the test.
class RandomRequests {
public:
    RandomRequests(const OAuth::IVqOAuthHost& host, quint32 seed);

    /// A signed request for another implementation to check: "method", "url" and "body" as sent, "authorization" (may be empty),
    /// and the secrets. "signed" is false when signing failed.
    [[nodiscard]] QJsonObject next();

private:
    [[nodiscard]] int below(int limit) { return static_cast<int>(m_random.bounded(limit)); }
    [[nodiscard]] QByteArray text(int longest);
    [[nodiscard]] QByteArray wireText(const QByteArray& decoded);
    [[nodiscard]] QByteArray url();
    [[nodiscard]] OAuth::Parameters parameters(int most);

    const OAuth::IVqOAuthHost& m_host;
    QRandomGenerator m_random;
};

} // namespace Velquor::TestKit
