#pragma once

#include <QByteArray>
#include <QVariantMap>

namespace Velquor::WebServices::Internal {

/// The document "Event.xml" that carries one event from process to process. Thread: any.

struct EventDocument {
    qint64 raisedByProcess = -1;
    int id = -1;
    QVariantMap params;
};

[[nodiscard]] QByteArray writeEventDocument(const EventDocument& event);

enum class EventReadResult { Read, NotXml, NoEvent };
/// Reads a document that may be hostile: bounded in size, depth and number of elements. What cannot be read of an event keeps the
/// values of an empty one.
[[nodiscard]] EventReadResult readEventDocument(const QByteArray& text, EventDocument& event);

} // namespace Velquor::WebServices::Internal
