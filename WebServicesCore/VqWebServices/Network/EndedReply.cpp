#include "Network/EndedReply.h"

namespace Velquor::WebServices::Internal {

EndedReply::EndedReply(const QNetworkReply& reply) {
    setRequest(reply.request());
    setOperation(reply.operation());
    setUrl(reply.url());
    setError(reply.error(), reply.errorString());
    for (const RawHeaderPair& header : reply.rawHeaderPairs())
        setRawHeader(header.first, header.second);
    for (const QNetworkRequest::Attribute known :
         {QNetworkRequest::HttpStatusCodeAttribute, QNetworkRequest::HttpReasonPhraseAttribute})
        setAttribute(known, reply.attribute(known));
    setFinished(true);
}

qint64 EndedReply::readData(char* /*data*/, qint64 /*maxSize*/) {
    return -1;
}

} // namespace Velquor::WebServices::Internal
