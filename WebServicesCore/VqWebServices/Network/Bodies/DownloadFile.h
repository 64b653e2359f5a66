#pragma once

#include "VqUtil/General/Result.h"

#include <QFile>
#include <QString>

namespace Velquor::WebServices::Internal {

/// The file of a download: a temporary file in the folder of the target, which replaces the target when all data has arrived. The
/// temporary file never outlives this object.
///
/// Thread: the operation's. Owner: the operation. Errors: false, or a reason for the operation's message.
class DownloadFile final {
public:
    explicit DownloadFile(const QString& targetPath);
    ~DownloadFile();
    Q_DISABLE_COPY_MOVE(DownloadFile)

    [[nodiscard]] QString temporaryPath() const { return m_temporary.fileName(); }

    /// Opens and empties the temporary file unless it is open.
    [[nodiscard]] bool open();
    [[nodiscard]] bool append(const QByteArray& data);

    /// Puts the temporary file in the target's place if it has the expected size.
    [[nodiscard]] Util::Result<void> complete(qint64 expectedSize);

    /// Closes and removes the temporary file.
    void discard();

private:
    [[nodiscard]] bool removeTarget();

    QString m_targetPath;
    QFile m_temporary;
};

} // namespace Velquor::WebServices::Internal
