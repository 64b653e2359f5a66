#include "Network/RequestCheck.h"

#include "Network/Diagnosis/DisplayUrl.h"
#include "Network/Diagnosis/DumpAllowList.h"

#include <QNetworkRequest>
#include <algorithm>

namespace Velquor::WebServices::Internal {
namespace {

bool isToken(const QByteArray& text) {
    static const QByteArray marks("!#$%&'*+-.^_`|~");
    return !text.isEmpty() && std::all_of(text.begin(), text.end(), [](char c) {
        return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || marks.contains(c);
    });
}

bool isHeaderValue(const QByteArray& value) {
    return !value.contains('\r') && !value.contains('\n') && !value.contains('\0');
}

} // namespace

QString requestProblem(const QNetworkRequest& request, const QString& verb) {
    const QUrl url = request.url();
    const bool isHttp = url.scheme() == QLatin1String("http") || url.scheme() == QLatin1String("https");
    if (!url.isValid() || !isHttp || url.host().isEmpty())
        return QStringLiteral("Request was not sent. Not a valid http or https url: %1").arg(displayUrl(url));
    if (!isToken(verb.toUtf8()))
        return QStringLiteral("Request was not sent. Not a valid verb: %1").arg(oneLine(verb));
    for (const QByteArray& name : request.rawHeaderList()) {
        if (!isToken(name) || !isHeaderValue(request.rawHeader(name)))
            return QStringLiteral("Request was not sent. Not a valid header: %1").arg(oneLine(QString::fromUtf8(name)));
    }
    return {};
}

} // namespace Velquor::WebServices::Internal
