#pragma once

#include "VqUtil/Crypto/ICryptor.h"

#include <functional>
#include <memory>
#include <mutex>

namespace Velquor::Util {

/// A cryptor that is made at its first use, since making the user's key for the first time takes a noticeable moment.
/// Thread: any. Owner: shared by its users.
class LazyCryptor : public ICryptor {
public:
    using Maker = std::function<std::shared_ptr<ICryptor>()>;

    explicit LazyCryptor(Maker maker)
        : m_maker(std::move(maker)) {}

    [[nodiscard]] QByteArray encrypt(const QByteArray& clear) override {
        return clear.isEmpty() ? QByteArray() : inner().encrypt(clear);
    }
    [[nodiscard]] SecretBytes decrypt(const QByteArray& text) override {
        return text.isEmpty() ? SecretBytes() : inner().decrypt(text);
    }

private:
    ICryptor& inner() {
        std::call_once(m_once, [this] { m_inner = m_maker(); });
        return *m_inner;
    }

    const Maker m_maker;
    std::once_flag m_once;
    std::shared_ptr<ICryptor> m_inner;
};

} // namespace Velquor::Util
