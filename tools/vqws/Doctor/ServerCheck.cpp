#include "Doctor/Checks.h"
#include "HttpReply.h"
#include "Texts.h"

#include <QUrl>
#include <VqWebServices/WebServicesPrivate.h>
#include <cstdlib>

using namespace Velquor::WebServices;

namespace Vqws {

namespace {

// Services refuse a signature whose time stamp differs by more than about five minutes.
constexpr qint64 faultSeconds = 300;
constexpr qint64 warningSeconds = 30;

const auto serverName = QStringLiteral("account server");
const auto clockName = QStringLiteral("time offset");

Finding checkClock(const QDateTime& serverTime) {
    if (!serverTime.isValid())
        return warning(clockName, QStringLiteral("not known, since the account server did not send its time"),
                       QStringLiteral("compare the clock of this machine with another one"));
    const qint64 seconds = serverTime.secsTo(QDateTime::currentDateTimeUtc());
    const QString text =
        QStringLiteral("the clock of this machine is %1 %2 the one of the account server")
            .arg(spanText(std::abs(seconds)), seconds > 0 ? QStringLiteral("ahead of") : QStringLiteral("behind"));
    const QString cure = QStringLiteral("set the clock and the time zone, or let the system set them from the network");
    if (std::abs(seconds) >= faultSeconds)
        return fault(clockName, text, cure);
    if (std::abs(seconds) >= warningSeconds)
        return warning(clockName, text, cure);
    return ok(clockName, QStringLiteral("less than %1 s").arg(warningSeconds));
}

} // namespace

Findings checkServer(const Cancellation& cancellation) {
    const QString url = WebServicesPrivate::GetUrl(QStringLiteral("AccountServerUrl"));
    if (!isWebAddress(url))
        return {fault(serverName, QStringLiteral("its address is not known"), QStringLiteral("see \"URL files\""))};
    const HttpReply reply = httpGet(QUrl(url), {}, cancellation);
    if (reply.isTlsError)
        return {fault(serverName, QStringLiteral("%1 is not trusted: %2").arg(url, reply.error),
                      QStringLiteral("install the certificate authority of the server in the system, or name it with --ca"))};
    if (reply.status == 0)
        return {fault(serverName, QStringLiteral("%1 does not answer: %2").arg(url, reply.error),
                      QStringLiteral("check the network, the proxy and the address in the URL file"))};
    return {ok(serverName, url), checkClock(reply.date)};
}

} // namespace Vqws
