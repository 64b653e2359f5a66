#include "VqUtil/Crypto/ProcessSeal.h"

#include "VqUtil/Crypto/AeadCipher.h"

namespace Velquor::Util {

const ProcessSeal& ProcessSeal::instance() {
    static const ProcessSeal seal;
    return seal;
}

ProcessSeal::ProcessSeal()
    : m_key(AeadCipher::newKey()) {}

QByteArray ProcessSeal::seal(const QByteArray& clear) const {
    return AeadCipher::seal(m_key, clear);
}

SecretBytes ProcessSeal::open(const QByteArray& sealed) const {
    return AeadCipher::open(m_key, sealed);
}

} // namespace Velquor::Util
