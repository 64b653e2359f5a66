#include "Caches/CachedReplies.h"

#include "VqUtil/Xml/BoundedXml.h"

#include <QTextStream>

namespace Velquor::WebServices::Internal {

namespace {

constexpr qint64 maximumReplyBytes = 4LL * 1024 * 1024;

// Null unless the reply is XML within bounds, and UTF-8, since the cache file stores the text as UTF-8.
QDomElement rootOf(const QByteArray& reply, QString& text) {
    text = QString::fromUtf8(reply);
    if (text.toUtf8() != reply)
        return {};
    return Util::parseBoundedXml(reply, {maximumReplyBytes, 32, 100000}).document.documentElement();
}

QString childText(const QDomElement& parent, const char* name) {
    return parent.firstChildElement(QLatin1String(name)).text().trimmed();
}

bool isTrue(const QString& text) {
    return text.compare(QLatin1String("true"), Qt::CaseInsensitive) == 0 || text == QLatin1String("1");
}

ServiceEntitlement answerOf(const QDomElement& service) {
    if (!isTrue(childText(service, "Entitled")))
        return ServiceEntitlement::NotEntitled;
    return isTrue(childText(service, "Trial")) ? ServiceEntitlement::Trial : ServiceEntitlement::Entitled;
}

QString elementText(const QDomElement& element) {
    QString text;
    QTextStream stream(&text);
    element.save(stream, -1);
    return text.trimmed();
}

bool readSize(const QDomElement& parent, const char* name, qint64& size) {
    bool isNumber = false;
    size = childText(parent, name).toLongLong(&isNumber);
    return isNumber && size >= 0;
}

} // namespace

ServiceEntitlement Entitlements::answerFor(const QString& service) const {
    if (service.isEmpty())
        return ServiceEntitlement::Unknown;
    const auto found = services.constFind(service);
    return found == services.constEnd() ? ServiceEntitlement::NotEntitled : found->answer;
}

std::optional<UserInfo> UserInfo::parse(const QByteArray& reply) {
    UserInfo read;
    const QDomElement root = rootOf(reply, read.text);
    read.userName = childText(root, "UserName");
    read.id = childText(root, "Id");
    read.email = childText(root, "Email");
    const QDomElement profile = root.firstChildElement(QStringLiteral("Profile"));
    read.firstName = childText(profile, "FirstName");
    read.lastName = childText(profile, "LastName");
    if (read.userName.isEmpty() && read.id.isEmpty())
        return {};
    return read;
}

std::optional<Entitlements> Entitlements::parse(const QByteArray& reply) {
    Entitlements read;
    const QDomElement root = rootOf(reply, read.text);
    if (root.tagName() != QLatin1String("EntitlementList"))
        return {};
    const auto name = QStringLiteral("Service");
    for (QDomElement node = root.firstChildElement(name); !node.isNull(); node = node.nextSiblingElement(name)) {
        const QString service = childText(node, "Name");
        if (!service.isEmpty() && !read.services.contains(service))
            read.services.insert(service, {answerOf(node), elementText(node)});
    }
    return read;
}

std::optional<StorageQuota> StorageQuota::parse(const QByteArray& reply) {
    StorageQuota read;
    const auto name = QStringLiteral("Service");
    const QDomElement root = rootOf(reply, read.text);
    const QDomElement service = root.tagName() == name ? root : root.firstChildElement(name);
    if (!readSize(service, "Quota", read.total) || !readSize(service, "CurrentUsage", read.used))
        return {};
    return read;
}

} // namespace Velquor::WebServices::Internal
