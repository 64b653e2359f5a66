#pragma once

#include <QMap>
#include <QString>

namespace Velquor::WebServices {

/// The root level of the log and where it was picked up. The environment wins over the settings, which win over the default:
/// whoever starts a process to look into a problem must not be overruled by what is set for all of them. A plain value.
struct RootLogLevel {
    enum class Source { Configuration, Environment, Registry } source = Source::Configuration;
    QString level;
};

/// An unknown level counts as not set. Thread: any.
[[nodiscard]] RootLogLevel chooseRootLogLevel(const QString& environment, const QString& registry);

/// The text of the log configuration with "${name}" replaced for the given names. Thread: any.
[[nodiscard]] QString withProperties(QString configuration, const QMap<QString, QString>& properties);

} // namespace Velquor::WebServices
