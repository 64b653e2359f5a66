#include "Doctor/Finding.h"

namespace Vqws {

QString stateText(Finding::State state) {
    switch (state) {
    case Finding::State::Ok: return QStringLiteral("ok");
    case Finding::State::Warning: return QStringLiteral("warning");
    case Finding::State::Fault: break;
    }
    return QStringLiteral("fault");
}

QString Cure::text() const {
    return sentence.isEmpty() || command.isEmpty() ? sentence + command : QStringLiteral("%1: %2").arg(sentence, command);
}

QString textWithCure(const Finding& finding) {
    const QString cure = finding.cure.text();
    return cure.isEmpty() ? finding.text : QStringLiteral("%1. Cure: %2").arg(finding.text, cure);
}

QJsonObject toObject(const Finding& finding) {
    return {{QStringLiteral("check"), finding.check},
            {QStringLiteral("state"), stateText(finding.state)},
            {QStringLiteral("text"), finding.text},
            {QStringLiteral("cure"), finding.cure.text()},
            {QStringLiteral("command"), finding.cure.command}};
}

} // namespace Vqws
