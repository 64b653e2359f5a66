#pragma once

#include "Events/EventSubject.h"

#include <QJsonDocument>
#include <QJsonObject>

namespace Velquor::TestKit {

/// Any values, carried by an event as the key of its product. Thread: any.
[[nodiscard]] inline QVariantMap packed(const QVariantMap& values) {
    const QByteArray text = QJsonDocument(QJsonObject::fromVariantMap(values)).toJson(QJsonDocument::Compact);
    return toParams(WebServices::Internal::EventSubject(QString::fromUtf8(text)));
}

[[nodiscard]] inline QVariantMap unpacked(const WebServices::Internal::EventSubject& subject) {
    return QJsonDocument::fromJson(subject.consumerKey.toUtf8()).object().toVariantMap();
}

} // namespace Velquor::TestKit
