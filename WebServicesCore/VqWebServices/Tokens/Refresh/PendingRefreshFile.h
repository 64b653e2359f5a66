#pragma once

#include <QFile>
#include <QString>

namespace Velquor::WebServices::Internal {

/// Remembers, also over the death of the process, that a refresh was sent whose answer has not arrived.
///
/// The server spends a token when it renews it. When the answer gets lost, the old token is refused from then on although nobody
/// has ended the sign-in; this tells such a refusal from a real one. An empty file that belongs to the user.
/// Thread: any, under the lock of the refresh. Errors: a mark that cannot be written is as if it were not set.
class PendingRefreshFile {
public:
    PendingRefreshFile(const QString& keyDigest, const QString& folder)
        : m_path(QStringLiteral("%1/Velquor.WebServices.TokenRefresh.%2.pending").arg(folder, keyDigest)) {}

    [[nodiscard]] bool isSet() const { return QFile::exists(m_path); }
    void set() const {
        QFile file(m_path);
        if (file.open(QIODevice::WriteOnly))
            file.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner);
    }
    void clear() const { QFile::remove(m_path); }

private:
    const QString m_path;
};

} // namespace Velquor::WebServices::Internal
