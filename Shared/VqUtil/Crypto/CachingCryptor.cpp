#include "VqUtil/Crypto/CachingCryptor.h"

#include "VqUtil/Crypto/ProcessSeal.h"

#include <QMutexLocker>
#include <utility>

namespace Velquor::Util {

namespace {
constexpr int maximumBytes = 1024 * 1024;
}

CachingCryptor::CachingCryptor(std::shared_ptr<ICryptor> inner)
    : m_inner(std::move(inner))
    , m_sealedByText(maximumBytes) {}

QByteArray CachingCryptor::encrypt(const QByteArray& clear) {
    QByteArray text = m_inner->encrypt(clear);
    if (!text.isEmpty())
        remember(text, clear);
    return text;
}

SecretBytes CachingCryptor::decrypt(const QByteArray& text) {
    if (text.isEmpty())
        return {};
    SecretBytes clear = remembered(text);
    if (!clear.isEmpty())
        return clear;
    clear = m_inner->decrypt(text);
    if (!clear.isEmpty())
        remember(text, clear.view());
    return clear;
}

SecretBytes CachingCryptor::remembered(const QByteArray& text) {
    QByteArray sealed;
    {
        const QMutexLocker lock(&m_mutex);
        if (const QByteArray* const found = m_sealedByText.object(text))
            sealed = *found;
    }
    return sealed.isEmpty() ? SecretBytes() : ProcessSeal::instance().open(sealed);
}

void CachingCryptor::remember(const QByteArray& text, const QByteArray& clear) {
    QByteArray sealed = ProcessSeal::instance().seal(clear);
    if (sealed.isEmpty())
        return;
    const int cost = text.size() + sealed.size();
    const QMutexLocker lock(&m_mutex);
    m_sealedByText.insert(text, new QByteArray(std::move(sealed)), cost);
}

} // namespace Velquor::Util
