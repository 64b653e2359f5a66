#pragma once

#include "VqUtil/Prompt/CredentialPrompt.h"

#include <VqWebServices/ICredentialPrompt.h>

namespace Velquor::WebServices::Internal {

/// The prompt of the operating system, for products that have installed none of their own. Thread and owner: as of the interface.
class SystemCredentialPrompt final : public ICredentialPrompt {
public:
    int Ask(const wchar_t* caption, const wchar_t* message, const wchar_t* proxyHost, wchar_t* user, int userSize,
            wchar_t* password, int passwordSize) override {
        static_assert(Canceled == Util::credentialPromptCanceled, "one code for a user who does not want to");
        return m_prompt.ask(
            {QString::fromWCharArray(caption), QString::fromWCharArray(message), QString::fromWCharArray(proxyHost)}, user,
            userSize, password, passwordSize);
    }

    void Cancel() override { m_prompt.cancel(); }

private:
    Util::CredentialPrompt m_prompt;
};

} // namespace Velquor::WebServices::Internal
