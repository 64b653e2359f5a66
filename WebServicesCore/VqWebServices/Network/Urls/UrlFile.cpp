#include "Network/Urls/UrlFile.h"

#include "VqUtil/Files/AtomicFile.h"
#include "VqUtil/General/Result.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <boost/format.hpp>

namespace Velquor::WebServices::Internal {

namespace {

constexpr qint64 maximumFileSize = 1024LL * 1024;

Util::Result<QJsonObject> parse(const Util::AtomicFile::ReadResult& file) {
    if (!file.error.isEmpty())
        return Util::Failure{file.error};
    QJsonParseError error{};
    // An editor may have written a byte order mark, which the parser does not accept.
    const QByteArray mark = QByteArrayLiteral("\xef\xbb\xbf");
    const QByteArray text = file.data.startsWith(mark) ? file.data.mid(mark.size()) : file.data;
    const QJsonDocument document = QJsonDocument::fromJson(text, &error);
    // Another kind of JSON text is no damage: it has no addresses, and each lookup tells so.
    if (error.error == QJsonParseError::NoError)
        return document.object();
    return Util::Failure{error.errorString()};
}

QJsonObject member(const QJsonObject& object, const char* name) {
    return object.value(QLatin1String(name)).toObject();
}

} // namespace

std::optional<QMap<QString, QString>> readUrlFile(const QString& path, Log::ILogger& logger) {
    const Util::AtomicFile::ReadResult file = Util::AtomicFile::read(path, maximumFileSize);
    if (path.isEmpty() || file.status == Util::AtomicFile::ReadResult::Status::Missing) {
        logger.error(QStringLiteral("VqWebservicesURLs JSON file is not exist: %1").arg(path));
        return {};
    }
    const Util::Result<QJsonObject> root = parse(file);
    if (!root) {
        const boost::format line = boost::format("Exception %1% while parsing configuration file %2%")
                                   % root.reason().toStdString() % path.toStdString();
        logger.error(QString::fromStdString(line.str()));
        logger.error(QStringLiteral("Read the JSON file %1 failed").arg(path));
        return {};
    }
    logger.information(QStringLiteral("Read the JSON file %1 successfully").arg(path));
    const QJsonObject members = member(member(member(*root, "Configurations"), "WebServices"), "Urls");
    QMap<QString, QString> urls;
    for (auto url = members.begin(); url != members.end(); ++url) {
        if (url->isString())
            urls.insert(url.key(), url->toString());
    }
    logger.information(QStringLiteral("Loaded web services urls from file %1").arg(path));
    return urls;
}

} // namespace Velquor::WebServices::Internal
