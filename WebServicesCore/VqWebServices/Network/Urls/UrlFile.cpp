#include "Network/Urls/UrlFile.h"

#include "VqUtil/Files/AtomicFile.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <boost/format.hpp>

namespace Velquor::WebServices::Internal {

namespace {

constexpr qint64 maximumFileSize = 1024 * 1024;

// Why the file cannot be used goes into its own line; the caller's line only says so.
bool parse(const QString& path, const Util::AtomicFile::ReadResult& file, QJsonObject& root, Log::ILogger& logger) {
    QString reason = file.error;
    QJsonParseError error{};
    const QByteArray mark = QByteArrayLiteral("\xef\xbb\xbf");
    const QByteArray text = file.data.startsWith(mark) ? file.data.mid(mark.size()) : file.data;
    const QJsonDocument document = QJsonDocument::fromJson(text, &error);
    root = document.object();
    if (reason.isEmpty() && document.isObject())
        return true;
    if (reason.isEmpty())
        reason = error.error == QJsonParseError::NoError ? QStringLiteral("no object") : error.errorString();
    const boost::format line =
        boost::format("Exception %1% while parsing configuration file %2%") % reason.toStdString() % path.toStdString();
    logger.error(QString::fromStdString(line.str()));
    return false;
}

QJsonObject member(const QJsonObject& object, const char* name) {
    return object.value(QLatin1String(name)).toObject();
}

} // namespace

bool readUrlFile(const QString& path, QMap<QString, QString>& urls, Log::ILogger& logger) {
    const Util::AtomicFile::ReadResult file = Util::AtomicFile::read(path, maximumFileSize);
    if (path.isEmpty() || file.status == Util::AtomicFile::ReadResult::Status::Missing) {
        logger.error(QStringLiteral("VqWebservicesURLs JSON file is not exist: %1").arg(path));
        return false;
    }
    QJsonObject root;
    if (!parse(path, file, root, logger)) {
        logger.error(QStringLiteral("Read the JSON file %1 failed").arg(path));
        return false;
    }
    logger.information(QStringLiteral("Read the JSON file %1 successfully").arg(path));
    const QJsonObject members = member(member(member(root, "Configurations"), "WebServices"), "Urls");
    for (auto url = members.begin(); url != members.end(); ++url) {
        if (url->isString())
            urls.insert(url.key(), url->toString());
    }
    logger.information(QStringLiteral("Loaded web services urls from file %1").arg(path));
    return true;
}

} // namespace Velquor::WebServices::Internal
