#include "VqUtil/Crypto/UserCryptor.h"

#include "VqUtil/Crypto/AeadCipher.h"

#include <utility>

namespace Velquor::Util {

namespace {

constexpr char shortForm = 1;
constexpr char longForm = 2;
// Secrets are tokens and cookie jars. A larger text was not written by this library.
constexpr int maximumTextSize = 4 * 1024 * 1024;

} // namespace

UserCryptor::UserCryptor(std::shared_ptr<IRsaCryptor> rsa, std::shared_ptr<Log::ILogger> logger)
    : m_rsa(std::move(rsa))
    , m_logger(std::move(logger)) {}

QByteArray UserCryptor::encrypt(const QByteArray& clear) {
    if (clear.isEmpty())
        return {};
    QByteArray form;
    if (clear.size() <= m_rsa->maximumClearSize()) {
        const QByteArray block = m_rsa->encryptBlock(clear);
        if (!block.isEmpty())
            form = shortForm + block;
    } else {
        form = encryptLong(clear);
    }
    if (form.isEmpty())
        m_logger->error(QStringLiteral("Failed to encrypt a secret with the key of the user"));
    return form.toBase64();
}

QByteArray UserCryptor::encryptLong(const QByteArray& clear) {
    const SecretBytes key = AeadCipher::newKey();
    const QByteArray block = m_rsa->encryptBlock(key.view());
    const QByteArray sealed = AeadCipher::seal(key, clear);
    return block.isEmpty() || sealed.isEmpty() ? QByteArray() : longForm + block + sealed;
}

SecretBytes UserCryptor::decrypt(const QByteArray& text) {
    if (text.isEmpty())
        return {};
    SecretBytes clear;
    if (text.size() <= maximumTextSize) {
        const auto form = QByteArray::fromBase64Encoding(text, QByteArray::AbortOnBase64DecodingErrors);
        // Base64 has unused bits and optional padding. A text that differs only there was changed too, and is refused.
        if (form && form.decoded.toBase64() == text)
            clear = decryptForm(form.decoded);
    }
    if (clear.isEmpty())
        m_logger->error(QStringLiteral(
            "Failed to decrypt a secret. It is damaged, or was encrypted by another user, on another machine or with an earlier key."));
    return clear;
}

SecretBytes UserCryptor::decryptForm(const QByteArray& form) {
    const int blockSize = m_rsa->blockSize();
    if (blockSize == 0 || form.size() < 1 + blockSize)
        return {};
    const QByteArray block = QByteArray::fromRawData(form.constData() + 1, blockSize);
    const QByteArray rest = QByteArray::fromRawData(form.constData() + 1 + blockSize, form.size() - 1 - blockSize);
    if (form.at(0) == shortForm && rest.isEmpty())
        return m_rsa->decryptBlock(block);
    if (form.at(0) == longForm && !rest.isEmpty())
        return AeadCipher::open(m_rsa->decryptBlock(block), rest);
    return {};
}

} // namespace Velquor::Util
