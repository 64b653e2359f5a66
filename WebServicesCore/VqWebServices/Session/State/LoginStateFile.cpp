#include "Session/State/LoginStateFile.h"

#include "VqUtil/Xml/BoundedXml.h"
#include "VqUtil/Xml/NewXmlDocument.h"

#include <QFileInfo>
#include <QReadLocker>
#include <QWriteLocker>
#include <utility>

namespace Velquor::WebServices::Internal {

namespace {

// The same bounds as for any document.
constexpr Util::XmlLimits limits;
const auto semaphoreKey = QStringLiteral("VqWebServicesLoginStateSemaphore");
const auto rootName = QStringLiteral("WebServices");

} // namespace

LoginStateFile::LoginStateFile(const QString& path, std::shared_ptr<Log::ILogger> logger)
    : m_path(path)
    , m_folder(QFileInfo(path).path())
    , m_logger(std::move(logger)) {}

LoginStateFile::Guard::Guard(LoginStateFile& file, int timeoutMs)
    : m_file(file)
    , m_lock(semaphoreKey, file.m_folder, file.m_logger) {
    m_file.prepareFolder();
    m_file.m_logger->information(QStringLiteral("Acquiring login state file lock"));
    m_held = m_lock.acquire(timeoutMs);
    if (!m_held)
        return;
    m_file.m_logger->information(QStringLiteral("Acquired login state file lock"));
    if (!std::exchange(m_file.m_cleaned, true))
        Util::AtomicFile::removeStaleTemporaries(m_file.m_path);
}

LoginStateFile::Guard::~Guard() {
    if (!m_held)
        return;
    m_lock.release();
    m_file.m_logger->information(QStringLiteral("Released login state file lock"));
}

void LoginStateFile::removeLeftovers() {
    if (Util::AtomicFile::temporaries(m_path).isEmpty())
        return;
    const Guard guard(*this, briefTimeoutMs);
}

void LoginStateFile::prepareFolder() {
    if (!Util::ensureOwnerOnlyFolder(m_folder))
        m_logger->error(QStringLiteral("Failed to create folder %1 for the login state file").arg(m_folder));
}

bool LoginStateFile::exists() const {
    return QFileInfo::exists(m_path);
}

Util::FileStamp LoginStateFile::currentStamp() const {
    return Util::fileStamp(m_path);
}

Util::FileStamp LoginStateFile::seenStamp() const {
    const QReadLocker lock(&m_seenLock);
    return m_seen;
}

void LoginStateFile::markSeen(const Content& content) {
    const QWriteLocker lock(&m_seenLock);
    if (content.status != Content::Status::Unreadable && m_lastRead == content.stamp)
        m_seen = content.stamp;
}

LoginStateFile::Content LoginStateFile::read() {
    m_logger->information(QStringLiteral("Reading login state file"));
    Content content;
    content.stamp = currentStamp();
    {
        const QWriteLocker lock(&m_seenLock);
        m_lastRead = content.stamp;
    }
    const Util::AtomicFile::ReadResult file = Util::AtomicFile::read(m_path, limits.size);
    switch (file.status) {
    case Util::AtomicFile::ReadResult::Status::Missing: content.status = Content::Status::Missing; break;
    case Util::AtomicFile::ReadResult::Status::Failed: fail(content, file); break;
    case Util::AtomicFile::ReadResult::Status::Read: parse(content, file.data); break;
    }
    return content;
}

void LoginStateFile::fail(Content& content, const Util::AtomicFile::ReadResult& file) const {
    content.status = file.isTooLarge ? Content::Status::Damaged : Content::Status::Unreadable;
    content.error = file.error;
    m_logger->error(QStringLiteral("Failed to read file. %1").arg(file.error));
}

void LoginStateFile::parse(Content& content, const QByteArray& text) const {
    if (text.trimmed().isEmpty()) {
        m_logger->error(QStringLiteral("File is empty"));
        content.status = Content::Status::Empty;
        return;
    }
    Util::XmlResult parsed = Util::parseBoundedXml(text, limits);
    if (parsed.isValid() && parsed.document.documentElement().tagName() != rootName)
        parsed.error = QStringLiteral("The document element is not %1").arg(rootName);
    if (!parsed.isValid()) {
        content.status = Content::Status::Damaged;
        content.error = parsed.error;
        m_logger->error(QStringLiteral("Failed to read login state file %1. %2. File contents:\n%3")
                            .arg(m_path, parsed.error, QString::fromUtf8(text)));
        return;
    }
    content.status = Content::Status::Read;
    content.document = parsed.document;
    m_logger->information(QStringLiteral("Finished reading login state file successfully"));
}

QDomDocument LoginStateFile::readForSaving() {
    const Content content = read();
    switch (content.status) {
    case Content::Status::Read: return content.document;
    case Content::Status::Damaged: {
        const QString aside = Util::AtomicFile::setAside(m_path);
        m_logger->error(QStringLiteral("The damaged login state file was set aside as %1").arg(aside));
        return aside.isEmpty() ? QDomDocument() : Util::newXmlDocument(rootName);
    }
    case Content::Status::Missing:
    case Content::Status::Empty: return Util::newXmlDocument(rootName);
    case Content::Status::Unreadable: break;
    }
    return {};
}

bool LoginStateFile::write(const QDomDocument& document) {
    m_logger->information(QStringLiteral("Writing login state file"));
    if (document.documentElement().isNull()) {
        m_logger->error(QStringLiteral("Login state file is empty"));
        return false;
    }
    const QByteArray text = document.toByteArray(2);
    // Check the text before it is written, whatever values came from outside: a file that no process can read would sign the user
    // out everywhere.
    const QString fault = Util::findXmlFault(text, limits);
    const Util::Result<void> written = fault.isEmpty() ? Util::AtomicFile::write(m_path, text) : Util::Failure{fault};
    if (!written) {
        m_logger->error(QStringLiteral("Failed to write login state file. %1").arg(written.reason()));
        return false;
    }
    noteWritten();
    m_logger->information(QStringLiteral("Finished writing login state file successfully"));
    return true;
}

void LoginStateFile::noteWritten() {
    const QWriteLocker lock(&m_seenLock);
    const Util::FileStamp written = currentStamp();
    if (m_lastRead == m_seen)
        m_seen = written;
    m_lastRead = written;
}

} // namespace Velquor::WebServices::Internal
