#pragma once

#include <QString>
#include <QStringView>

namespace Velquor::WebServices::Internal {

/// The sender of an event and the number of the event.
struct EventIdentity {
    QString source;     ///< The sender; the whole id when it has no number.
    quint64 number = 0; ///< Counts from 1; 0 when the id has none.

    [[nodiscard]] static EventIdentity of(const QString& eventId) {
        const int place = eventId.lastIndexOf(mark);
        const quint64 number = place < 0 ? 0 : QStringView(eventId).mid(place + 1).toULongLong();
        return number == 0 ? EventIdentity{eventId, 0} : EventIdentity{eventId.left(place), number};
    }
    [[nodiscard]] QString eventId() const { return source + mark + QString::number(number); }

private:
    static constexpr QLatin1Char mark{'#'};
};

} // namespace Velquor::WebServices::Internal
