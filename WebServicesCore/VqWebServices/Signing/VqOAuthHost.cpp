#include "Signing/VqOAuthHost.h"

#include <QDateTime>
#include <QUuid>
#include <array>
#include <utility>

namespace Velquor::OAuth {

namespace {

constexpr char hexDigits[] = "0123456789ABCDEF";

constexpr bool isUnreserved(int letter) {
    return (letter >= 'a' && letter <= 'z') || (letter >= 'A' && letter <= 'Z') || (letter >= '0' && letter <= '9')
           || letter == '-' || letter == '.' || letter == '_' || letter == '~';
}

// The encoded length of each byte; a table makes the encoding fast.
constexpr std::array<unsigned char, 256> encodedSizes = [] {
    std::array<unsigned char, 256> sizes{};
    for (int byte = 0; byte < 256; ++byte)
        sizes[static_cast<size_t>(byte)] = isUnreserved(byte) ? 1 : 3;
    return sizes;
}();

constexpr int encodedSize(char letter) {
    return encodedSizes[static_cast<unsigned char>(letter)];
}

} // namespace

VqOAuthHost::VqOAuthHost(std::shared_ptr<ICryptoProvider> crypto, std::shared_ptr<ITimeProvider> time,
                         std::shared_ptr<Log::ILogger> logger)
    : m_crypto(std::move(crypto))
    , m_time(std::move(time))
    , m_logger(std::move(logger)) {}

// Like QUrl::toPercentEncoding, but without a conversion to UTF-16 and with one allocation at most.
QByteArray VqOAuthHost::UrlEncode(const QByteArray& text) const {
    int size = 0;
    for (const char letter : text)
        size += encodedSize(letter);
    if (size == text.size())
        return text;
    QByteArray encoded(size, Qt::Uninitialized);
    char* end = encoded.data();
    for (const char letter : text) {
        if (encodedSize(letter) == 1) {
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

QByteArray VqOAuthHost::GenerateNonce() const {
    return QUuid::createUuid().toByteArray(QUuid::Id128);
}

qint64 VqOAuthHost::GetTimestamp() const {
    if (m_time) {
        if (const std::optional<qint64> corrected = m_time->correctedTime())
            return *corrected;
        if (m_logger) {
            m_logger->debug(
                QStringLiteral("Not using time service for timestamp. Time service is not yet created or already destroyed."));
        }
    }
    return QDateTime::currentSecsSinceEpoch();
}

QByteArray VqOAuthHost::Base64Encode(const QByteArray& bytes) const {
    return bytes.toBase64();
}

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
