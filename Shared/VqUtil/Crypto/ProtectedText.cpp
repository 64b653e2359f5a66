#include "VqUtil/Crypto/ProtectedText.h"

#include "VqUtil/Crypto/ProcessSeal.h"

namespace Velquor::Util {

void ProtectedText::set(const QString& clear) {
    const SecretBytes bytes = SecretBytes::fromText(clear);
    m_sealed = bytes.isEmpty() ? QByteArray() : ProcessSeal::instance().seal(bytes.view());
}

SecretBytes ProtectedText::reveal() const {
    return m_sealed.isEmpty() ? SecretBytes() : ProcessSeal::instance().open(m_sealed);
}

bool ProtectedText::operator==(const ProtectedText& other) const {
    const SecretBytes mine = reveal();
    const SecretBytes theirs = other.reveal();
    return mine.view() == theirs.view();
}

} // namespace Velquor::Util
