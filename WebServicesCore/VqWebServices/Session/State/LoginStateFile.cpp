#include "Session/State/LoginStateFile.h"

#include <QReadLocker>
#include <QWriteLocker>
#include <utility>

namespace Velquor::WebServices::Internal {

LoginStateFile::LoginStateFile(std::shared_ptr<IStateFile> storage, std::function<QDateTime()> now,
                               std::shared_ptr<Log::ILogger> logger)
    : m_storage(std::move(storage))
    , m_now(std::move(now))
    , m_logger(std::move(logger)) {}

LoginStateFile::Guard::Guard(LoginStateFile& file, int timeoutMs)
    : Guard(file, file.lock(timeoutMs)) {}

LoginStateFile::Guard::Guard(LoginStateFile& file, std::unique_ptr<IStateFile::ILock> lock)
    : m_file(file)
    , m_lock(std::move(lock)) {
    if (m_lock)
        m_file.m_logger->information(QStringLiteral("Acquired login state file lock"));
}

LoginStateFile::Guard::~Guard() {
    if (!m_lock)
        return;
    m_lock.reset();
    m_file.m_logger->information(QStringLiteral("Released login state file lock"));
}

std::unique_ptr<IStateFile::ILock> LoginStateFile::lock(int timeoutMs) {
    m_logger->information(QStringLiteral("Acquiring login state file lock"));
    std::unique_ptr<IStateFile::ILock> lock = m_storage->lock(m_isLockStuck ? qMin(timeoutMs, briefTimeoutMs) : timeoutMs);
    if (lock || timeoutMs > briefTimeoutMs)
        m_isLockStuck = !lock;
    return lock;
}

std::unique_ptr<IStateFile::ILock> LoginStateFile::tryLock() {
    m_logger->information(QStringLiteral("Acquiring login state file lock"));
    std::unique_ptr<IStateFile::ILock> lock = m_storage->tryLock(lookTimeoutMs);
    if (!lock)
        m_logger->information(QStringLiteral("The login state file lock is not free. Reading without it."));
    return lock;
}

void LoginStateFile::removeLeftovers() {
    if (m_storage->hasLeftovers())
        const Guard guard(*this, briefTimeoutMs);
}

Util::FileStamp LoginStateFile::seenStamp() const {
    const QReadLocker lock(&m_seenLock);
    return m_seen;
}

void LoginStateFile::markSeen(const Content& content) {
    const QWriteLocker lock(&m_seenLock);
    if (content.isKnown() && m_lastRead == content.stamp)
        m_seen = content.stamp;
}

LoginStateFile::Content LoginStateFile::read() {
    Content content = readContent();
    if (content.isRead())
        m_logger->information(QStringLiteral("Finished reading login state file successfully"));
    return content;
}

LoginStateFile::Content LoginStateFile::readContent() {
    m_logger->information(QStringLiteral("Reading login state file"));
    Content content;
    content.stamp = currentStamp();
    {
        const QWriteLocker lock(&m_seenLock);
        m_lastRead = content.stamp;
    }
    const Util::AtomicFile::ReadResult file = m_storage->read(LoginStateDocument::limits.size);
    switch (file.status) {
    case Util::AtomicFile::ReadResult::Status::Missing: content.status = Content::Status::Missing; break;
    case Util::AtomicFile::ReadResult::Status::Failed: fail(content, file); break;
    case Util::AtomicFile::ReadResult::Status::Read: parse(content, file.data); break;
    }
    return content;
}

LoginStateFile::Content LoginStateFile::readAtStart() {
    const Guard guard(*this, briefTimeoutMs);
    return read();
}

LoginStateFile::Content LoginStateFile::readNow() {
    const Guard guard(*this, tryLock());
    Content content = read();
    return guard.isHeld() || content.isRead() || m_storage->isLockRefused() ? content : Content();
}

void LoginStateFile::fail(Content& content, const Util::AtomicFile::ReadResult& file) const {
    content.status = file.isTooLarge ? Content::Status::Damaged : Content::Status::Unreadable;
    content.error = file.error;
    m_logger->error(QStringLiteral("Failed to read file"));
    m_logger->error(QStringLiteral("Reason: %1").arg(file.error));
}

void LoginStateFile::parse(Content& content, const QByteArray& text) const {
    if (text.trimmed().isEmpty()) {
        m_logger->error(QStringLiteral("File is empty"));
        content.status = Content::Status::Empty;
        return;
    }
    Util::Result<LoginStateDocument> parsed = LoginStateDocument::parse(text);
    if (!parsed) {
        content.status = Content::Status::Damaged;
        content.error = parsed.reason();
        m_logger->error(QStringLiteral("Failed to read login state file %1. %2. File contents:\n%3")
                            .arg(path(), parsed.reason(), QString::fromUtf8(text)));
        return;
    }
    content.status = Content::Status::Read;
    content.document = std::move(*parsed);
}

std::optional<LoginStateDocument> LoginStateFile::readForSaving() {
    Content content = readContent();
    using Status = Content::Status;
    if (content.status == Status::Read || content.status == Status::Missing || content.status == Status::Empty)
        m_logger->information(QStringLiteral("Finished reading login state file"));
    switch (content.status) {
    case Status::Read: return std::move(content.document);
    case Status::Damaged: {
        const QString aside = m_storage->setAside();
        m_logger->error(QStringLiteral("The damaged login state file was set aside as %1").arg(aside));
        return aside.isEmpty() ? std::nullopt : std::optional<LoginStateDocument>(newDocument());
    }
    case Status::Missing:
    case Status::Empty: return newDocument();
    case Status::Unreadable:
    case Status::Busy: break;
    }
    return {};
}

LoginStateDocument LoginStateFile::newDocument() const {
    return LoginStateDocument(m_now().toUTC().toString(Qt::ISODateWithMs));
}

bool LoginStateFile::write(const LoginStateDocument& document) {
    m_logger->information(QStringLiteral("Writing login state file"));
    // Check the text before it is written, whatever values came from outside: a file that no process can read would sign the user
    // out everywhere.
    const Util::Result<QByteArray> text = document.toBytes();
    const Util::Result<void> written = text ? m_storage->write(*text) : Util::Failure{text.reason()};
    if (!written) {
        m_logger->error(QStringLiteral("Failed to write login state file"));
        m_logger->error(QStringLiteral("Reason: %1").arg(written.reason()));
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
