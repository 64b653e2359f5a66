#include "Doctor/Checks.h"
#include "HttpReply.h"
#include "Texts.h"
#include "UrlFile.h"

#include <QSslCertificate>
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
const auto correctAddress = QStringLiteral("correct AccountServerUrl in the URL file");
const auto setTheClock = QStringLiteral("set the clock and the time zone, or let the system set them from the network");
const auto forItsOperator = QStringLiteral("whoever runs the server must install a certificate that is valid %1");

Finding checkClock(const QDateTime& serverTime) {
    if (!serverTime.isValid())
        return warning(clockName, QStringLiteral("not known, since the account server did not send its time"),
                       act(QStringLiteral("compare the clock of this machine with another one")));
    const qint64 seconds = serverTime.secsTo(QDateTime::currentDateTimeUtc());
    const QString text =
        QStringLiteral("the clock of this machine is %1 %2 the one of the account server")
            .arg(spanText(std::abs(seconds)), seconds > 0 ? QStringLiteral("ahead of") : QStringLiteral("behind"));
    const Cure cure = act(setTheClock);
    if (std::abs(seconds) >= faultSeconds)
        return fault(clockName, text, cure);
    if (std::abs(seconds) >= warningSeconds)
        return warning(clockName, text, cure);
    return ok(clockName, QStringLiteral("less than %1 s").arg(warningSeconds));
}

QString cureForCertificate(const QSslError& error) {
    switch (error.error()) {
    case QSslError::CertificateExpired: return forItsOperator.arg(QStringLiteral("now"));
    case QSslError::CertificateNotYetValid:
        return setTheClock + QStringLiteral("; when it is right, ") + forItsOperator.arg("now");
    case QSslError::HostNameMismatch: return correctAddress + QStringLiteral(", or ") + forItsOperator.arg("for this address");
    case QSslError::SelfSignedCertificate: return forItsOperator.arg("here, of an authority that this machine trusts");
    default: break;
    }
    return QStringLiteral(
        "whoever administers this machine must install the certificate authority of the server in the system, or you "
        "name its file with --ca");
}

// "valid for accounts.example.com, from 2026-01-01 to 2027-01-01"
QString describe(const QSslCertificate& certificate) {
    return QStringLiteral("valid for %1, from %2 to %3")
        .arg((certificate.subjectAlternativeNames().values() + certificate.subjectInfo(QSslCertificate::CommonName)).value(0),
             certificate.effectiveDate().toString(QStringLiteral("yyyy-MM-dd")),
             certificate.expiryDate().toString(QStringLiteral("yyyy-MM-dd")));
}

// A certificate out of its time may be the fault of this machine's clock, which is to be set first then.
Findings checkCertificate(const QString& url, const HttpReply& reply, const Cancellation& cancellation) {
    const QSslError::SslError error = reply.tlsError.error();
    const bool isOutOfTime = error == QSslError::CertificateExpired || error == QSslError::CertificateNotYetValid;
    const Finding clock = isOutOfTime ? checkClock(untrustedTime(QUrl(url), cancellation)) : Finding();
    const bool isClockWrong = clock.state == Finding::State::Fault;
    const QString reason = error == QSslError::NoError ? reply.error : reply.tlsError.errorString();
    QString text = QStringLiteral("%1 is not trusted: %2").arg(url, reason);
    if (!reply.tlsError.certificate().isNull())
        text += QStringLiteral(" (%1)").arg(describe(reply.tlsError.certificate()));
    const Finding server = fault(serverName, text, act(isClockWrong ? setTheClock : cureForCertificate(reply.tlsError)));
    return isClockWrong ? Findings{clock, server} : Findings{server};
}

Finding checkReply(const QString& url, const HttpReply& reply) {
    if (reply.status == 0)
        return fault(
            serverName, QStringLiteral("%1 does not answer: %2").arg(url, reply.error),
            act(QStringLiteral("check the network of this machine and \"proxy\"; when other pages open, %1, or whoever runs the "
                               "server must start it")
                    .arg(correctAddress)));
    if (reply.status < Status::badRequest)
        return fault(serverName,
                     QStringLiteral("something else answers at %1: a request without a signature got status %2")
                         .arg(url)
                         .arg(reply.status),
                     act(QStringLiteral("open any page in the browser, and sign in to the network if it asks for that; else ")
                         + correctAddress));
    if (reply.status >= Status::serverError)
        return fault(serverName, QStringLiteral("%1 answers with status %2").arg(url).arg(reply.status),
                     act(QStringLiteral("whoever runs the server must repair it")));
    return ok(serverName, url);
}

} // namespace

Findings checkServer(const Cancellation& cancellation) {
    const QString url = WebServicesPrivate::GetUrl(QStringLiteral("AccountServerUrl"));
    const QString path = WebServicesPrivate::GetUrl(QStringLiteral("RequestTokenEndPoint"));
    if (!isWebAddress(url) || path.isEmpty())
        return {fault(serverName, QStringLiteral("its address is not known"), act(QStringLiteral("see \"URL files\"")))};
    // Asks for a token without a signature, which every account server refuses.
    const HttpReply reply = httpGet(QUrl(joinedAddress(url, path)), {}, cancellation);
    if (reply.isTlsError)
        return checkCertificate(url, reply, cancellation);
    const Finding server = checkReply(url, reply);
    Findings findings{server};
    if (server.state == Finding::State::Ok)
        findings += checkClock(reply.date);
    return findings;
}

} // namespace Vqws
