#include "Network/Bodies/DownloadFile.h"

#include <QFileInfo>

namespace Velquor::WebServices::Internal {

DownloadFile::DownloadFile(const QString& targetPath)
    : m_targetPath(targetPath)
    , m_temporary(targetPath + QStringLiteral(".vqdownload")) {}

DownloadFile::~DownloadFile() {
    discard();
}

bool DownloadFile::open() {
    return m_temporary.isOpen() || m_temporary.open(QIODevice::WriteOnly | QIODevice::Truncate);
}

bool DownloadFile::append(const QByteArray& data) {
    return m_temporary.write(data) == data.size();
}

Util::Result<void> DownloadFile::complete(qint64 expectedSize) {
    m_temporary.close();
    const QFileInfo temporary(m_temporary.fileName());
    if (!temporary.exists())
        return Util::Failure{QStringLiteral("Downloaded temp file doesn't exist")};
    if (temporary.size() != expectedSize) {
        return Util::Failure{QStringLiteral("Size check failed. Expected size: %1. Actual size: %2")
                                 .arg(QString::number(expectedSize), QString::number(temporary.size()))};
    }
    if (QFileInfo::exists(m_targetPath) && !removeTarget())
        return Util::Failure{QStringLiteral("Failed to delete download file %1").arg(m_targetPath)};
    if (!m_temporary.rename(m_targetPath)) {
        return Util::Failure{
            QStringLiteral("Failed to rename temp file %1 to download file %2").arg(temporary.filePath(), m_targetPath)};
    }
    // The file object follows the rename and now names the target, which discard() must not remove.
    m_temporary.setFileName(temporary.filePath());
    return {};
}

bool DownloadFile::removeTarget() {
    QFile target(m_targetPath);
    // Never change a folder that has the name of the target.
    if (!QFileInfo(m_targetPath).isFile())
        return false;
    const QFileDevice::Permissions before = target.permissions();
    if (!target.isWritable())
        target.setPermissions(QFileDevice::WriteOther);
    if (target.remove())
        return true;
    target.setPermissions(before);
    return false;
}

void DownloadFile::discard() {
    m_temporary.close();
    if (m_temporary.exists())
        m_temporary.remove();
}

} // namespace Velquor::WebServices::Internal
