#pragma once

#include <QMetaType>
#include <QString>
#include <VqWebServices/WebServicesEvent.h>
#include <optional>

namespace WebServicesPrivateCore {

/// The name of an event in logs and files; empty for a number without an event.
[[nodiscard]] QString eventName(WebServicesEvent event);

/// Whether an event is sent to other processes of the user; the others concern only the process in which they happen.
[[nodiscard]] bool isForOtherProcesses(WebServicesEvent event);

/// The event of a name; nothing for an unknown name.
[[nodiscard]] std::optional<WebServicesEvent> eventFromName(const QString& name);

} // namespace WebServicesPrivateCore

Q_DECLARE_METATYPE(WebServicesPrivateCore::WebServicesEvent)
