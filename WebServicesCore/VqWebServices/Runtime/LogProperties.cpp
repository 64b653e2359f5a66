#include "Runtime/LogProperties.h"

#include <QStringList>

namespace Velquor::WebServices::Internal {

namespace {

QString knownLevel(const QString& text) {
    static const QStringList levels{QStringLiteral("TRACE"), QStringLiteral("DEBUG"), QStringLiteral("INFO"),
                                    QStringLiteral("WARN"),  QStringLiteral("ERROR"), QStringLiteral("FATAL"),
                                    QStringLiteral("OFF")};
    const QString level = text.trimmed().toUpper();
    return levels.contains(level) ? level : QString();
}

} // namespace

RootLogLevel chooseRootLogLevel(const QString& environment, const QString& registry) {
    if (!knownLevel(environment).isEmpty())
        return {RootLogLevel::Source::Environment, knownLevel(environment)};
    if (!knownLevel(registry).isEmpty())
        return {RootLogLevel::Source::Registry, knownLevel(registry)};
    return {RootLogLevel::Source::Configuration, QStringLiteral("INFO")};
}

QByteArray withProperties(QByteArray configuration, const QMap<QByteArray, QByteArray>& properties) {
    for (auto property = properties.cbegin(); property != properties.cend(); ++property)
        configuration.replace("${" + property.key() + '}', property.value());
    return configuration;
}

} // namespace Velquor::WebServices::Internal
