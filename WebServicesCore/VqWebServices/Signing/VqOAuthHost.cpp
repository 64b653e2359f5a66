#include "Signing/VqOAuthHost.h"

#include <QDateTime>
#include <QUuid>
#include <algorithm>
#include <utility>

namespace Velquor::OAuth {

namespace {

constexpr char hexDigits[] = "0123456789ABCDEF";

constexpr bool isUnreserved(char letter) {
    return (letter >= 'a' && letter <= 'z') || (letter >= 'A' && letter <= 'Z') || (letter >= '0' && letter <= '9') || letter == '-'
        || letter == '.' || letter == '_' || letter == '~';
}

} // namespace

VqOAuthHost::VqOAuthHost(std::shared_ptr<ICryptoProvider> crypto, std::shared_ptr<ITimeProvider> time)
    : m_crypto(std::move(crypto))
    , m_time(std::move(time)) {}

// As QUrl::toPercentEncoding does for a text, without its way over UTF-16 and with one allocation at most.
QByteArray VqOAuthHost::UrlEncode(const QByteArray& text) const {
    const auto reserved = std::count_if(text.begin(), text.end(), [](char letter) { return !isUnreserved(letter); });
    if (reserved == 0)
        return text;
    QByteArray encoded(text.size() + 2 * static_cast<int>(reserved), Qt::Uninitialized);
    char* end = encoded.data();
    for (const char letter : text) {
        if (isUnreserved(letter)) {
            *end++ = letter;
            continue;
        }
        const auto byte = static_cast<unsigned char>(letter);
        *end++ = '%';
        *end++ = hexDigits[byte >> 4];
        *end++ = hexDigits[byte & 15];
    }
    return encoded;
}

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
