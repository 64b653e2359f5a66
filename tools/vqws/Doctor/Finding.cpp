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

QString textWithCure(const Finding& finding) {
    return finding.cure.isEmpty() ? finding.text : QStringLiteral("%1. Cure: %2").arg(finding.text, finding.cure);
}

QJsonObject toObject(const Finding& finding) {
    return {{QStringLiteral("check"), finding.check},
            {QStringLiteral("state"), stateText(finding.state)},
            {QStringLiteral("text"), finding.text},
            {QStringLiteral("cure"), finding.cure}};
}

} // namespace Vqws
