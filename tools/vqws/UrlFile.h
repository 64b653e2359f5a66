#pragma once

#include <QJsonObject>
#include <QString>
#include <VqWebServices/Server.h>

namespace Vqws {

struct SetUp;

/// The texts of a URL file.
struct UrlFile {
    QJsonObject urls;
    bool isReadable = true;
    QString error; ///< Not empty when there are no texts: why.
};

// Thread: any.

[[nodiscard]] UrlFile readUrlFile(const QString& path);

[[nodiscard]] QString urlFileName(Velquor::WebServices::Server server);
/// The address of an end point, as the library makes it.
[[nodiscard]] QString joinedAddress(const QString& service, const QString& path);
/// The path of the file that the library uses; empty when there is none.
[[nodiscard]] QString findUrlFile(const SetUp& setUp, Velquor::WebServices::Server server);

} // namespace Vqws
