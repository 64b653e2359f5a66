#include "Network/Bodies/UploadBody.h"

#include <cstring>

namespace Velquor::WebServices::Internal {

UploadBody::UploadBody(const QByteArray& body)
    : m_body(body) {
    open(QIODevice::ReadOnly | QIODevice::Unbuffered);
}

void UploadBody::allowRepetition() {
    // The framework rewinds up to three times for one repetition. An empty body does not show which of them is the first of the
    // next one.
    m_rewinds = m_body.isEmpty() ? 3 : 1;
}

bool UploadBody::reset() {
    // The framework rewinds several times for one repetition. Nothing has gone out between them.
    const bool isUntouched = m_isRepeated && m_given == 0 && !m_body.isEmpty();
    if (m_rewinds <= 0 && !isUntouched)
        return false;
    m_isRepeated = true;
    m_rewinds -= isUntouched ? 0 : 1;
    m_given = 0;
    return QIODevice::seek(0);
}

bool UploadBody::seek(qint64 position) {
    return position == m_given && QIODevice::seek(position);
}

qint64 UploadBody::readData(char* data, qint64 maximalSize) {
    const qint64 amount = qMin(maximalSize, m_body.size() - m_given);
    if (amount <= 0)
        return m_given < m_body.size() ? 0 : -1;
    std::memcpy(data, m_body.constData() + m_given, static_cast<size_t>(amount));
    m_given += amount;
    return amount;
}

qint64 UploadBody::writeData(const char*, qint64) {
    return -1;
}

} // namespace Velquor::WebServices::Internal
