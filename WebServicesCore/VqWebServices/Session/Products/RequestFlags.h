#pragma once

#include "Tokens/IRequestFlags.h"
#include "VqUtil/ProcessState/ProcessState.h"

#include <memory>

namespace Velquor::WebServices::Internal {

/// The request flags of one product in the memory block that the user's processes share.
///
/// Thread: any. Owner: the product's token operations. Errors: without a block no flag is set.
class RequestFlags : public IRequestFlags {
public:
    RequestFlags(std::shared_ptr<Util::ProcessState> state, QString productKey)
        : m_state(std::move(state))
        , m_productKey(std::move(productKey)) {}

    [[nodiscard]] bool isSetElsewhere(const QString& flag) override {
        return m_state && m_state->queryProperty(properties(flag));
    }
    void set(const QString& flag) override {
        if (m_state)
            m_state->setPropertyMap(properties(flag));
    }
    [[nodiscard]] bool setUnlessElsewhere(const QString& flag) override {
        return !m_state || m_state->setUnlessSetElsewhere(properties(flag));
    }
    void clear(const QString& flag) override {
        if (m_state)
            m_state->deleteProperty(flag);
    }

private:
    [[nodiscard]] Util::ProcessProperties properties(const QString& flag) const {
        return {{QStringLiteral("ProductKey"), m_productKey}, {flag, true}};
    }

    const std::shared_ptr<Util::ProcessState> m_state;
    const QString m_productKey;
};

} // namespace Velquor::WebServices::Internal
