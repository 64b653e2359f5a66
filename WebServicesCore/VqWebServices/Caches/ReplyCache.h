#pragma once

#include "Caches/CacheImp.h"

#include <VqWebServices/Cache.h>

namespace Velquor::WebServices::Internal {

/// What the caches have in common beside the implementation: a parsed reply that is published as a whole.
///
/// Thread, owner and errors: as of `Cache`.
template <class T>
class ReplyCache : public Cache {
public:
    ReplyCache(const CacheDependencies& parts, ReplyView<T>& view, const QString& name, const QString& nodePath)
        : ReplyCache(new CacheImp(parts, view, name, nodePath), view, parts.views) {}

    [[nodiscard]] CacheImp& imp() { return *m_imp; }

protected:
    void ClearCacheOverride() override { m_view.reply.set(nullptr); }
    bool ParseReplyOverride(const QByteArray& reply) override {
        T parsed;
        if (!parseReply(reply, parsed))
            return false;
        m_view.reply.set(std::make_shared<const T>(std::move(parsed)));
        return true;
    }
    [[nodiscard]] std::shared_ptr<const T> reply() const { return m_view.reply.get(); }

private:
    ReplyCache(CacheImp* imp, ReplyView<T>& view, std::shared_ptr<CacheViews> views)
        : Cache(imp)
        , m_imp(imp)
        , m_views(std::move(views))
        , m_view(view) {}

    CacheImp* const m_imp;
    const std::shared_ptr<CacheViews> m_views; ///< Keeps `m_view` alive.
    ReplyView<T>& m_view;
};

} // namespace Velquor::WebServices::Internal
