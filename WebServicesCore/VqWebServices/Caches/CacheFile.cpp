#include "Caches/CacheFile.h"

#include "VqUtil/Files/AtomicFile.h"
#include "VqUtil/Files/FileAccess.h"
#include "VqUtil/Locks/ProcessGuard.h"
#include "VqUtil/Xml/BoundedXml.h"
#include "VqUtil/Xml/NewXmlDocument.h"

#include <QDir>
#include <QFileInfo>
#include <utility>

namespace Velquor::WebServices::Internal {

namespace {

constexpr qint64 maximumFileBytes = 32LL * 1024 * 1024;
// Many times the duration of one change. A thread that must end stops waiting earlier.
constexpr int saveTimeoutMs = 5000;
constexpr int removeTimeoutMs = 1500;
constexpr int lockSliceMs = 200;
const auto lockName = QStringLiteral("VqWebServicesCacheFile");
const auto rootName = QStringLiteral("WebServicesCache");
const auto productName = QStringLiteral("Product");
const auto endOfSection = QStringLiteral("]]>");

QString elementName(const QString& nodePath) {
    return nodePath.split(QLatin1Char('/'), Qt::SkipEmptyParts).value(1);
}

QDomDocument parse(const QByteArray& data) {
    const QDomDocument document = Util::parseBoundedXml(data, {maximumFileBytes, 4, 10000}).document;
    return document.documentElement().tagName() == rootName ? document : QDomDocument();
}

// The document to change; null when the file exists but cannot be read now: it must not be overwritten.
QDomDocument openForChange(const QString& path) {
    using Util::AtomicFile::ReadResult;
    const ReadResult file = Util::AtomicFile::readOwn(path, maximumFileBytes);
    if (file.status == ReadResult::Status::Missing)
        return Util::newXmlDocument(rootName);
    if (file.status == ReadResult::Status::Failed && !file.isTooLarge)
        return {};
    const QDomDocument document = parse(file.data);
    if (!document.isNull())
        return document;
    return file.data.trimmed().isEmpty() && !file.isTooLarge ? Util::newXmlDocument(rootName)
           : Util::AtomicFile::setAside(path).isEmpty()      ? QDomDocument()
                                                             : Util::newXmlDocument(rootName);
}

// One CDATA section. "]]>" in the body would end it, so it is spread over two sections.
void setBody(QDomElement& element, const QString& body) {
    QDomDocument document = element.ownerDocument();
    int from = 0;
    for (int at = body.indexOf(endOfSection); at >= 0; at = body.indexOf(endOfSection, from)) {
        element.appendChild(document.createCDATASection(body.mid(from, at + 2 - from)));
        from = at + 2;
    }
    element.appendChild(document.createCDATASection(body.mid(from)));
}

// In slices, so that a thread that must end does not wait for the whole time.
bool acquire(Util::ProcessGuard& guard, int timeoutMs, const std::function<bool()>& isWorthIt) {
    for (int waitedMs = 0; waitedMs < timeoutMs && isWorthIt(); waitedMs += lockSliceMs) {
        const Util::ProcessGuard::Result result = guard.acquire(lockSliceMs);
        if (result != Util::ProcessGuard::Result::TimedOut)
            return result != Util::ProcessGuard::Result::Failed;
    }
    return false;
}

bool always() {
    return true;
}

void clear(QDomElement& element) {
    while (element.hasChildNodes())
        element.removeChild(element.firstChild());
}

} // namespace

CacheFile::CacheFile(const QString& path, const QString& product)
    : m_path(path)
    , m_product(product) {}

QDomElement CacheFile::find(const QDomElement& root, const QString& nodePath) const {
    const QString name = elementName(nodePath);
    QDomElement unclaimed;
    for (QDomElement node = root.firstChildElement(name); !node.isNull(); node = node.nextSiblingElement(name)) {
        if (node.attribute(productName) == m_product)
            return node;
        if (unclaimed.isNull() && !node.hasAttribute(productName))
            unclaimed = node;
    }
    return unclaimed;
}

CacheFile::ReadResult CacheFile::read(const QString& nodePath, CacheRecord& record) const {
    using Status = Util::AtomicFile::ReadResult::Status;
    const Util::AtomicFile::ReadResult file = Util::AtomicFile::readOwn(m_path, maximumFileBytes);
    if (file.status == Status::Missing)
        return ReadResult::Missing;
    const QDomDocument document = file.status == Status::Read ? parse(file.data) : QDomDocument();
    if (document.isNull())
        return ReadResult::Unreadable;
    const QDomElement element = find(document.documentElement(), nodePath);
    if (element.isNull())
        return ReadResult::NoRecord;
    record.server = element.attribute(QStringLiteral("Server"));
    record.updateDate = QDateTime::fromString(element.attribute(QStringLiteral("UpdateDate")), Qt::ISODate);
    record.user = element.attribute(QStringLiteral("User"));
    record.tokenHash = element.attribute(QStringLiteral("TokenHash"));
    record.body = element.text();
    return ReadResult::Found;
}

CacheFile::WriteResult CacheFile::save(const QString& nodePath, const CacheRecord& record,
                                       const std::function<bool()>& mayWrite) {
    if (!mayWrite())
        return WriteResult::NotWanted;
    return change(saveTimeoutMs, mayWrite, [&](QDomDocument& document) {
        if (!mayWrite())
            return Change::NotWanted;
        QDomElement root = document.documentElement();
        QDomElement element = find(root, nodePath);
        if (element.isNull())
            element = root.appendChild(document.createElement(elementName(nodePath))).toElement();
        element.setAttribute(productName, m_product);
        element.setAttribute(QStringLiteral("Server"), record.server);
        element.setAttribute(QStringLiteral("UpdateDate"), record.updateDate.toUTC().toString(Qt::ISODate));
        element.setAttribute(QStringLiteral("User"), record.user);
        element.setAttribute(QStringLiteral("TokenHash"), record.tokenHash);
        clear(element);
        setBody(element, record.body);
        return Change::Made;
    });
}

CacheFile::WriteResult CacheFile::remove(const QString& nodePath) {
    if (!QFileInfo::exists(m_path))
        return WriteResult::Done;
    return change(removeTimeoutMs, always, [&](QDomDocument& document) {
        QDomElement root = document.documentElement();
        const QDomElement element = find(root, nodePath);
        if (element.isNull())
            return Change::None;
        root.removeChild(element);
        return Change::Made;
    });
}

CacheFile::WriteResult CacheFile::change(int timeoutMs, const std::function<bool()>& isWorthIt, const Edit& edit) {
    const QString folder = QFileInfo(m_path).path();
    if (!Util::ensureOwnerOnlyFolder(folder))
        return WriteResult::NoFolder;
    Util::ProcessGuard guard(lockName, folder);
    if (!acquire(guard, timeoutMs, isWorthIt))
        return isWorthIt() ? WriteResult::NotOpened : WriteResult::NotWanted;
    // Under the lock, so that the temporary file of another process at work is not removed.
    if (!std::exchange(m_cleaned, true))
        Util::AtomicFile::removeStaleTemporaries(m_path);
    WriteResult result = WriteResult::NotOpened;
    QDomDocument document = openForChange(m_path);
    if (!document.isNull()) {
        const Change made = edit(document);
        result = made == Change::Made ? replace(document) : made == Change::None ? WriteResult::Done : WriteResult::NotWanted;
    }
    guard.release();
    return result;
}

CacheFile::WriteResult CacheFile::replace(const QDomDocument& document) const {
    const QByteArray data = document.toByteArray(-1);
    // Never write what cannot be read back: the values of all products would be lost.
    const bool isReadable = data.size() <= maximumFileBytes && !parse(data).isNull();
    return isReadable && Util::AtomicFile::write(m_path, data) ? WriteResult::Done : WriteResult::NotWritten;
}

bool CacheFile::removeAll(const QString& path) {
    const QFileInfo info(path);
    if (!info.dir().exists())
        return true;
    Util::ProcessGuard guard(lockName, info.path());
    if (!acquire(guard, removeTimeoutMs, always))
        return false;
    Util::AtomicFile::removeStaleTemporaries(path);
    Util::AtomicFile::removeSetAside(path);
    const bool isGone = !info.exists() || Util::AtomicFile::write(path, Util::newXmlDocument(rootName).toByteArray(-1));
    guard.release();
    return isGone;
}

} // namespace Velquor::WebServices::Internal
