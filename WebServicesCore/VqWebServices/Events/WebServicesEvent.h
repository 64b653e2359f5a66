#pragma once

#include <QMetaType>
#include <QString>
#include <VqWebServices/WebServicesEvent.h>
#include <optional>

namespace WebServicesPrivateCore {

/// The name of an event in logs and files; empty for a number without an event.
[[nodiscard]] QString eventName(WebServicesEvent event);

/// Whether other processes of the user are told of an event; the rest concerns the process only in which it happens.
[[nodiscard]] bool isForOtherProcesses(WebServicesEvent event);

/// The event of a name; false for a name that is none.
[[nodiscard]] std::optional<WebServicesEvent> eventFromName(const QString& name);

} // namespace WebServicesPrivateCore

Q_DECLARE_METATYPE(WebServicesPrivateCore::WebServicesEvent)
