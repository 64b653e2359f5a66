#include "Network/ExchangeOutcome.h"

namespace Velquor::WebServices::Internal {

QString ExchangeOutcome::errorText() const {
    if (result == OperationResult::Canceled)
        return message;
    // The message has the network error as a number alone.
    if (result == OperationResult::Failure && reply.status == 200)
        return QStringLiteral("%1. %2").arg(message, reply.errorText);
    return reply.errorText.isEmpty() ? message : reply.errorText;
}

QString ExchangeOutcome::problemText() const {
    QString text = reply.problemText;
    for (const QString& more : {reply.clockMessage, reply.sslMessage}) {
        if (!more.isEmpty())
            text += QStringLiteral(". ") + more;
    }
    return text;
}

void ExchangeOutcome::logFailure(Log::ILogger& logger) const {
    if (hasStatus200() || reply.isNull)
        return;
    const QString text = reply.dump.join(QLatin1Char('\n'));
    if (reply.status == 0)
        logger.debug(text);
    else
        logger.error(text);
}

} // namespace Velquor::WebServices::Internal
