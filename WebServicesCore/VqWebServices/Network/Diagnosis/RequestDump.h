#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

class QNetworkReply;

namespace Velquor::WebServices::Internal {

/// A request and its reply for the log, line by line, with every value that is not on the allow-list as "***" and
/// bodies cut at 2000 bytes. Without a verb it is taken from the reply's operation. Empty without a reply. Thread: the
/// reply's.
[[nodiscard]] QStringList requestDump(const QNetworkReply* reply, const QByteArray& requestBody, const QByteArray& responseBody,
                                      const QString& verb = QString());

} // namespace Velquor::WebServices::Internal
