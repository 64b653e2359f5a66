#include <VqWebServices/Cache.h>

#include "Caches/CacheImp.h"
#include "Caches/CacheTiming.h"

namespace Velquor::WebServices {

using namespace Internal;

Cache::Cache(CacheImp* imp)
    : m_imp(imp) {
    m_imp->setOwner(this);
}

// Deleted here: the base class deletes its children when this class is already destroyed.
Cache::~Cache() {
    delete m_imp;
}

void Cache::EnableCache(bool enable) {
    m_imp->EnableCache(enable);
}

void Cache::InvalidateCache() {
    m_imp->InvalidateCache();
}

void Cache::DeleteCache() {
    m_imp->DeleteCache();
}

void Cache::SetUpdateInterval(unsigned int seconds) {
    m_imp->SetUpdateInterval(seconds);
}

void Cache::CacheLoadedOverride() {
    m_imp->log().whole(GetCacheInfoForLog());
}

void Cache::CacheUpdatedOverride() {
    m_imp->log().whole(GetCacheInfoForLog());
}

void Cache::ClearCacheOverride() {}

bool Cache::ParseReplyOverride(const QByteArray&) {
    return false;
}

bool Cache::UpdateError(const CacheFailure& failure) {
    return CacheTiming::isWorthRetrying(failure);
}

QUrl Cache::GetUrlOverride() {
    return {};
}

QString Cache::GetCacheInfoForLog() {
    return {};
}

} // namespace Velquor::WebServices
