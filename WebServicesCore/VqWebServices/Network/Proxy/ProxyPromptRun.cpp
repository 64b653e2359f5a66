#include "Network/Proxy/ProxyPromptRun.h"

#include "Values/CallerText.h"
#include "VqUtil/Prompt/CredentialPrompt.h"

#include <array>
#include <openssl/crypto.h>

namespace Velquor::WebServices::Internal {

namespace {

constexpr int maximumTextLength = 259;
constexpr std::size_t userSize = 514;
constexpr std::size_t passwordSize = 257;

std::wstring cutText(const QString& text) {
    const bool splitsPair = text.size() > maximumTextLength && text.at(maximumTextLength - 1).isHighSurrogate();
    return wideText(text.left(splitsPair ? maximumTextLength - 1 : maximumTextLength));
}

// The port first, so that "%2" in the name of a host is not replaced.
QString filled(QString message, const ProxyAddress& proxy) {
    return message.replace(QStringLiteral("%2"), QString::number(proxy.port)).replace(QStringLiteral("%1"), proxy.host);
}

/// A buffer that is wiped in its destructor.
template <std::size_t Size>
class WipedBuffer {
public:
    WipedBuffer() = default;
    WipedBuffer(const WipedBuffer&) = delete;
    WipedBuffer& operator=(const WipedBuffer&) = delete;
    ~WipedBuffer() { OPENSSL_cleanse(m_units.data(), sizeof m_units); }

    [[nodiscard]] wchar_t* data() { return m_units.data(); }
    [[nodiscard]] QString text() {
        m_units.back() = 0;
        return QString::fromWCharArray(m_units.data());
    }

private:
    std::array<wchar_t, Size> m_units{};
};

} // namespace

ProxyDialogTexts withDefaults(const ProxyDialogTexts& texts) {
    const auto caption = QStringLiteral("Authenticate Proxy Server");
    const auto message = QStringLiteral("Your proxy server %1:%2 requires authentication. Please enter your credentials.");
    return {texts.caption.isEmpty() ? caption : texts.caption, texts.message.isEmpty() ? message : texts.message};
}

ProxyPromptRun::ProxyPromptRun(const ProxyDialogTexts& texts, const ProxyAddress& proxy, const QString& knownUser)
    : m_caption(cutText(withDefaults(texts).caption))
    , m_message(cutText(filled(withDefaults(texts).message, proxy)))
    , m_host(cutText(proxy.host))
    , m_knownUser(knownUser) {}

void ProxyPromptRun::show(ICredentialPrompt& prompt) {
    WipedBuffer<userSize> user;
    WipedBuffer<passwordSize> password;
    copyText(m_knownUser, user.data(), static_cast<int>(userSize));
    int code = ICredentialPrompt::Canceled;
    try {
        code = prompt.Ask(m_caption.c_str(), m_message.c_str(), m_host.c_str(), user.data(), static_cast<int>(userSize),
                          password.data(), static_cast<int>(passwordSize));
    } catch (...) {
        m_error = QStringLiteral("The prompt has thrown an exception");
        return;
    }
    if (code == ICredentialPrompt::Given) {
        m_login = {user.text(), password.text()};
        // No proxy accepts an empty user name.
        if (m_login.isEmpty())
            m_error = QStringLiteral("No user name was given");
        return;
    }
    m_isCanceled = code == ICredentialPrompt::Canceled;
    m_error = m_isCanceled ? QStringLiteral("User canceled") : Util::CredentialPrompt::errorText(code);
}

} // namespace Velquor::WebServices::Internal
