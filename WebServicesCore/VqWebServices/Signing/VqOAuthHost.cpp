#include "Signing/VqOAuthHost.h"

#include <QDateTime>
#include <QUuid>
#include <utility>

namespace Velquor::OAuth {

VqOAuthHost::VqOAuthHost(std::shared_ptr<ICryptoProvider> crypto, std::shared_ptr<ITimeProvider> time)
    : m_crypto(std::move(crypto))
    , m_time(std::move(time)) {}

// The bytes of UTF-8 text, as QUrl::toPercentEncoding treats a text, without the way over UTF-16.
QByteArray VqOAuthHost::UrlEncode(const QByteArray& text) const { return text.toPercentEncoding(); }

QByteArray VqOAuthHost::GenerateNonce() const { return QUuid::createUuid().toByteArray(QUuid::Id128); }

qint64 VqOAuthHost::GetTimestamp() const { return m_time ? m_time->correctedTime() : QDateTime::currentSecsSinceEpoch(); }

QByteArray VqOAuthHost::Base64Encode(const QByteArray& bytes) const { return bytes.toBase64(); }

int VqOAuthHost::HmacSha1(const QByteArray& key, const QByteArray& data, unsigned char* output, int* outputLength) const {
    if (!outputLength)
        return 0;
    if (!output || !m_crypto) {
        *outputLength = 0;
        return 0;
    }
    return m_crypto->hmacSha1(key, data, output, outputLength);
}

} // namespace Velquor::OAuth
