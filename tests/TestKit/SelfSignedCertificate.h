#pragma once

#include <QSslCertificate>
#include <QSslKey>

namespace Velquor::TestKit {

struct SelfSignedCertificate {
    QSslCertificate certificate;
    QSslKey key;
};

/// A fresh certificate for "127.0.0.1" that its own key (P-256) signed, valid for two days. Null members when it failed.
[[nodiscard]] SelfSignedCertificate makeSelfSignedCertificate();

} // namespace Velquor::TestKit
