#pragma once

#include "CInterface/Interface.h"
#include "Facade/FacadeCall.h"
#include "Values/CallerText.h"
#include "VqUtil/Crypto/SecretBytes.h"

#include <cstring>
#include <type_traits>
#include <vector>

namespace Velquor::WebServices::Internal {

/// The conventions of the C interface for pointers, texts and structs. Thread: any.

/// An argument was refused before anything was done.
struct Refused {
    int32_t result;
};

/** @{ */
/// The caller's text, checked. Throws `Refused`. An absent text is a null one.
[[nodiscard]] QByteArray bytesFrom(const char* text, size_t length);
[[nodiscard]] inline QByteArray bytesFrom(const vqws_text& text) {
    return bytesFrom(text.data, text.length);
}
[[nodiscard]] QString textFrom(const char* text, size_t length);
[[nodiscard]] inline QString textFrom(const vqws_text& text) {
    return textFrom(text.data, text.length);
}
/** @} */

/// The facade whose operations have no key.
[[nodiscard]] inline WebServicesManager& plain() {
    return WebServicesManagerImp::instance().manager();
}

/// The client that a call is about.
struct CClient {
    CClient(const char* key, size_t length);

    bool isOwn;
    QString key;
};

template <class T>
[[nodiscard]] T& required(T* pointer) {
    if (!pointer)
        throw Refused{VQWS_ARGUMENT};
    return *pointer;
}

inline void require(bool isRight, int32_t otherwise = VQWS_ARGUMENT) {
    if (!isRight)
        throw Refused{otherwise};
}

/// Throws `Refused` unless the struct can be read: not smaller than in the first version, and nothing in what is not known here.
void checkSize(const void* given, uint32_t size, uint32_t firstSize, uint32_t knownSize);

/// A copy of the caller's struct, whose missing end is 0. All structs have their first version now.
template <class Struct>
[[nodiscard]] Struct readStruct(const Struct* given) {
    static_assert(std::is_standard_layout_v<Struct> && std::is_trivially_copyable_v<Struct>);
    const uint32_t size = required(given).size;
    checkSize(given, size, sizeof(Struct), sizeof(Struct));
    Struct copy{};
    std::memcpy(&copy, given, sizeof(Struct));
    return copy;
}

/// The caller's buffer for a text.
struct COutput {
    char* buffer;
    size_t capacity;
    size_t* length;

    /// Throws `Refused` when the buffer cannot be used; otherwise it holds the empty text.
    void clear() const;
    /// VQWS_OK, or VQWS_BUFFER with the text kept for the thread.
    int32_t give(Util::SecretBytes text) const;
    /// The same without keeping a text that does not fit.
    int32_t copy(const Util::SecretBytes& text) const;
};

[[nodiscard]] inline Util::SecretBytes outText(const QString& text) {
    return Util::SecretBytes::fromText(text);
}

/// Reads a text of the facade in C++, which has no effect but to give it, with a buffer that is large enough.
template <class Read>
[[nodiscard]] Util::SecretBytes facadeText(const Read& read) {
    std::vector<wchar_t> buffer(1024);
    while (read(buffer.data(), static_cast<int>(buffer.size())) >= static_cast<int>(buffer.size()) - 1)
        buffer.resize(4 * buffer.size());
    return outText(textFromCaller(buffer.data()));
}

/// The same with the operation of the facade without keys for the process's own client, and else of the one with keys.
template <class Plain, class Keyed>
[[nodiscard]] Util::SecretBytes facadeText(const CClient& client, Plain plainForm, Keyed keyedForm) {
    return facadeText([&](wchar_t* text, int size) {
        return client.isOwn ? (plain().*plainForm)(text, size) : (keyed().*keyedForm)(client.key, text, size);
    });
}

} // namespace Velquor::WebServices::Internal
