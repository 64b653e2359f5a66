#include "Accessibility.h"

#include <QAccessibleWidget>
#include <QLabel>
#include <QVariant>

namespace {

const char* const roleProperty = "accessibleRole";

/// A part with a role of its own, whose name is its text unless it has a better one.
class PartWithRole : public QAccessibleWidget {
public:
    PartWithRole(QWidget& part, QAccessible::Role role)
        : QAccessibleWidget(&part, role) {}

    QString text(QAccessible::Text kind) const override {
        const auto* const label = qobject_cast<const QLabel*>(widget());
        if (kind == QAccessible::Name && label && label->accessibleName().isEmpty())
            return label->text();
        return QAccessibleWidget::text(kind);
    }
};

QAccessibleInterface* makePartWithRole(const QString&, QObject* object) {
    auto* const part = qobject_cast<QWidget*>(object);
    const QVariant role = part ? part->property(roleProperty) : QVariant();
    return role.isValid() ? new PartWithRole(*part, static_cast<QAccessible::Role>(role.toInt())) : nullptr;
}

} // namespace

void Accessibility::setRole(QWidget& part, QAccessible::Role role) {
    static const bool isInstalled = (QAccessible::installFactory(&makePartWithRole), true);
    Q_UNUSED(isInstalled)
    part.setProperty(roleProperty, static_cast<int>(role));
    // A text that was set earlier has made an interface without the role.
    QAccessible::deleteAccessibleInterface(QAccessible::uniqueId(QAccessible::queryAccessibleInterface(&part)));
}

void Accessibility::alert(QWidget& part) {
    QAccessibleEvent event(&part, QAccessible::Alert);
    QAccessible::updateAccessibility(&event);
}
