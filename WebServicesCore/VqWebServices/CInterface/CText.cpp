#include "CInterface/CText.h"

#include "CInterface/CThreadState.h"

#include <algorithm>

namespace Velquor::WebServices::Internal {

namespace {

constexpr uint32_t largestStruct = 65536;

size_t lengthOf(const char* text, size_t length) {
    if (length == VQWS_Z) {
        const void* const end = std::memchr(text, 0, VQWS_TEXT_MAX + 1);
        require(end != nullptr, VQWS_TOO_LONG);
        return static_cast<size_t>(static_cast<const char*>(end) - text);
    }
    require(length <= VQWS_TEXT_MAX, VQWS_TOO_LONG);
    require(length == 0 || !std::memchr(text, 0, length), VQWS_TEXT);
    return length;
}

// How many bytes follow the first one of a letter; -1 for a byte that no letter begins with.
int followersOf(unsigned char first) {
    if (first < 0x80)
        return 0;
    if (first < 0xc2 || first > 0xf4)
        return -1;
    return first < 0xe0 ? 1 : first < 0xf0 ? 2 : 3;
}

// The second byte shows whether a letter is written too long, is half a pair of UTF-16, or is beyond Unicode.
bool isRightSecond(unsigned char first, unsigned char second) {
    switch (first) {
    case 0xe0: return second >= 0xa0;
    case 0xed: return second < 0xa0;
    case 0xf0: return second >= 0x90;
    case 0xf4: return second < 0x90;
    default: return true;
    }
}

bool isUtf8(const char* text, size_t length) {
    const auto* const bytes = reinterpret_cast<const unsigned char*>(text);
    for (size_t at = 0; at < length;) {
        const int followers = followersOf(bytes[at]);
        const size_t end = at + 1 + static_cast<size_t>(std::max(followers, 0));
        if (followers < 0 || end > length || (followers > 0 && !isRightSecond(bytes[at], bytes[at + 1])))
            return false;
        if (!std::all_of(bytes + at + 1, bytes + end, [](unsigned char byte) { return (byte & 0xc0) == 0x80; }))
            return false;
        at = end;
    }
    return true;
}

} // namespace

QByteArray bytesFrom(const char* text, size_t length) {
    require(text || length == 0);
    if (!text)
        return {};
    const size_t size = lengthOf(text, length);
    require(isUtf8(text, size), VQWS_TEXT);
    return QByteArray(text, static_cast<int>(size));
}

QString textFrom(const char* text, size_t length) {
    return text ? Util::textFromUtf8(bytesFrom(text, length)) : QString::fromUtf8(bytesFrom(text, length));
}

CClient::CClient(const char* text, size_t length)
    : isOwn(!text && length == 0)
    , key(isOwn ? defaultKey() : textFrom(text, length)) {}

void checkSize(const void* given, uint32_t size, uint32_t firstSize, uint32_t knownSize) {
    require(size >= firstSize && size <= largestStruct);
    if (size <= knownSize)
        return;
    const char* const bytes = static_cast<const char*>(given);
    require(std::all_of(bytes + knownSize, bytes + size, [](char byte) { return byte == 0; }), VQWS_UNSUPPORTED);
}

void COutput::clear() const {
    require(length && (buffer || capacity == 0));
    *length = 0;
    if (capacity > 0)
        buffer[0] = 0;
}

int32_t COutput::copy(const Util::SecretBytes& text) const {
    const auto size = static_cast<size_t>(text.size());
    *length = size;
    if (capacity <= size)
        return VQWS_BUFFER;
    std::memcpy(buffer, text.data(), size);
    buffer[size] = 0;
    return VQWS_OK;
}

int32_t COutput::give(Util::SecretBytes text) const {
    const int32_t result = copy(text);
    if (result == VQWS_BUFFER) {
        CThreadState& state = CThreadState::ofThisThread();
        state.kept = std::move(text);
        state.hasKept = true;
    }
    return result;
}

} // namespace Velquor::WebServices::Internal
