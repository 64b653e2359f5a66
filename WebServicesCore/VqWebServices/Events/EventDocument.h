#pragma once

#include <QByteArray>
#include <QVariantMap>

namespace Velquor::WebServices::Internal {

/// The document "Event.xml", which carries one event to other processes. Thread: any.

struct EventDocument {
    qint64 raisedByProcess = -1;
    int id = -1;
    QVariantMap params;
};

[[nodiscard]] QByteArray writeEventDocument(const EventDocument& event);

enum class EventReadResult { Read, NotXml, NoEvent };
/// Reads a document that may be hostile: bounded in size, depth and number of elements. Parts of an event that cannot be read
/// keep their default values.
[[nodiscard]] EventReadResult readEventDocument(const QByteArray& text, EventDocument& event);

} // namespace Velquor::WebServices::Internal
