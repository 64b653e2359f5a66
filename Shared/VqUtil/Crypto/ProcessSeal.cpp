#include "VqUtil/Crypto/ProcessSeal.h"

#include "VqUtil/Crypto/AeadCipher.h"
#include "VqUtil/General/PerThread.h"

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
    struct ThreadOpener {
        const AeadCipher::Opener opener{instance().m_key};
    };
    static auto* const openers = new PerThread<ThreadOpener>;
    return openers->get().opener.open(sealed);
}

} // namespace Velquor::Util
