#include "Events/DuplicateFilter.h"

#include "Events/EventIdentity.h"

#include <algorithm>
#include <iterator>

namespace Velquor::WebServices::Internal {

namespace {
// Many times what the slower carrier takes on a machine that is not overloaded.
constexpr qint64 sameEventMs = 5000;
} // namespace

std::optional<IPCMethod> DuplicateFilter::add(const QString& eventId, IPCMethod method) {
    if (eventId.isEmpty())
        return {};
    const EventIdentity identity = EventIdentity::of(eventId);
    Ranges& ranges = rangesOf(identity.source);
    const auto after = ranges.upperBound(identity.number);
    if (after != ranges.begin() && std::prev(after)->last >= identity.number)
        return std::prev(after)->method;
    insert(ranges, identity.number, method);
    return {};
}

std::optional<IPCMethod> DuplicateFilter::addWithoutId(WebServicesPrivateCore::WebServicesEvent event, const QVariantMap& params,
                                                       IPCMethod method, qint64 nowMs) {
    while (!m_withoutId.isEmpty() && (m_withoutId.first().atMs < nowMs - sameEventMs || m_withoutId.size() >= mostWithoutId))
        m_withoutId.removeFirst();
    const auto isCopy = [&](const WithoutId& one) { return one.method != method && one.event == event && one.params == params; };
    const auto copy = std::find_if(m_withoutId.begin(), m_withoutId.end(), isCopy);
    if (copy == m_withoutId.end()) {
        m_withoutId.append({event, params, method, nowMs});
        return {};
    }
    const IPCMethod first = copy->method;
    m_withoutId.erase(copy);
    return first;
}

DuplicateFilter::Ranges& DuplicateFilter::rangesOf(const QString& source) {
    if (!m_sources.contains(source) && m_sources.size() >= mostSources) {
        const auto isSilentForLonger = [](const Source& one, const Source& other) { return one.turn < other.turn; };
        m_sources.erase(std::min_element(m_sources.begin(), m_sources.end(), isSilentForLonger));
    }
    Source& found = m_sources[source];
    found.turn = ++m_turn;
    return found.ranges;
}

void DuplicateFilter::insert(Ranges& ranges, quint64 number, IPCMethod method) {
    auto range = ranges.insert(number, {number, method});
    const auto joins = [](const Ranges::iterator& one, const Ranges::iterator& next) {
        return one->last + 1 == next.key() && one->method == next->method;
    };
    const auto join = [&ranges](const Ranges::iterator& one, const Ranges::iterator& next) {
        one->last = next->last;
        ranges.erase(next);
    };
    if (std::next(range) != ranges.end() && joins(range, std::next(range)))
        join(range, std::next(range));
    if (range != ranges.begin() && joins(std::prev(range), range))
        join(std::prev(range), range);
    // The gap between the merged ranges counts as handled: these are the oldest numbers.
    if (ranges.size() > mostRanges)
        join(ranges.begin(), std::next(ranges.begin()));
}

} // namespace Velquor::WebServices::Internal
