#pragma once

#include "Tokens/IRequestClaims.h"

#include <QFile>

namespace Velquor::WebServices::Internal {

/// A file that remembers a refresh without an answer.
///
/// The server invalidates a token when it renews it. When the answer is lost, the server refuses the old token although nobody
/// has ended the sign-in; this file distinguishes such a refusal from a real one. It is empty and belongs to the user. Thread:
/// any, under the lock of the refresh. Errors: a file that cannot be written counts as not set.
class PendingRefreshFile final : public IPendingRefresh {
public:
    PendingRefreshFile(const QString& keyDigest, const QString& folder)
        : m_path(QStringLiteral("%1/Velquor.WebServices.TokenRefresh.%2.pending").arg(folder, keyDigest)) {}

    [[nodiscard]] bool isSet() const override { return QFile::exists(m_path); }
    void set() override {
        QFile file(m_path);
        if (file.open(QIODevice::WriteOnly))
            file.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner);
    }
    void clear() override { QFile::remove(m_path); }

private:
    const QString m_path;
};

} // namespace Velquor::WebServices::Internal
