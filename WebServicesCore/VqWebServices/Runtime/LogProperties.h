#pragma once

#include <QByteArray>
#include <QMap>
#include <QString>

namespace Velquor::WebServices::Internal {

/// The root level of the log and where it was picked up. The environment wins over the settings, which win over the default:
/// whoever starts a process to look into a problem must not be overruled by what is set for all of them. A plain value.
struct RootLogLevel {
    enum class Source { Configuration, Environment, Registry } source = Source::Configuration;
    QString level;
};

/// An unknown level counts as not set. Thread: any.
[[nodiscard]] RootLogLevel chooseRootLogLevel(const QString& environment, const QString& registry);

/// The log configuration with "${name}" replaced for the given names, in bytes: the name of a folder need not be UTF-8. Thread:
/// any.
[[nodiscard]] QByteArray withProperties(QByteArray configuration, const QMap<QByteArray, QByteArray>& properties);

} // namespace Velquor::WebServices::Internal
