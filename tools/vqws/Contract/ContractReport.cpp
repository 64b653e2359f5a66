#include "Contract/ContractReport.h"

#include "Cancellation.h"

#include <algorithm>
#include <utility>

namespace Vqws {

namespace {

const Requirement& requirementNamed(const QString& name) {
    const QVector<Requirement>& all = requirements();
    const auto found = std::find_if(all.begin(), all.end(), [&](const Requirement& one) { return one.name == name; });
    Q_ASSERT(found != all.end());
    return *found;
}

} // namespace

QString stateText(ContractItem::State state) {
    switch (state) {
    case ContractItem::State::Ok: return QStringLiteral("ok");
    case ContractItem::State::Warning: return QStringLiteral("warning");
    case ContractItem::State::Fault: return QStringLiteral("fault");
    case ContractItem::State::NotChecked: break;
    }
    return QStringLiteral("not checked");
}

QJsonObject toObject(const ContractItem& item) {
    return {{QStringLiteral("check"), item.requirement.name},
            {QStringLiteral("state"), stateText(item.state)},
            {QStringLiteral("text"), item.text},
            {QStringLiteral("requirement"), item.requirement.sentence}};
}

ContractReport::ContractReport(Show show, const Cancellation& cancellation)
    : m_show(std::move(show))
    , m_cancellation(cancellation) {}

void ContractReport::ok(const char* name, const QString& text) {
    add(name, State::Ok, text);
}

bool ContractReport::missing(const char* name, const QString& text) {
    add(name, requirementNamed(QLatin1String(name)).isAdvice ? State::Warning : State::Fault, text);
    return false;
}

bool ContractReport::judge(const char* name, bool isRight, const QString& text) {
    if (!isRight)
        return missing(name, text);
    ok(name, text);
    return true;
}

bool ContractReport::judgeNames(const char* name, const QString& absent) {
    return judge(name, absent.isEmpty(), absent.isEmpty() ? QString() : QStringLiteral("the reply has no %1").arg(absent));
}

void ContractReport::leaveOut(const char* name, const QString& why) {
    add(name, State::NotChecked, why);
}

void ContractReport::finish() {
    for (const Requirement& requirement : requirements())
        add(requirement.name.toLatin1().constData(), State::NotChecked, QStringLiteral("what it builds on did not work"));
}

int ContractReport::count(State state) const {
    return static_cast<int>(
        std::count_if(m_items.begin(), m_items.end(), [state](const ContractItem& item) { return item.state == state; }));
}

bool ContractReport::has(const QString& name) const {
    return std::any_of(m_items.begin(), m_items.end(), [&](const ContractItem& item) { return item.requirement.name == name; });
}

void ContractReport::add(const char* name, State state, const QString& text) {
    const QString wanted = QString::fromLatin1(name);
    if (has(wanted) || m_cancellation.isRequested())
        return;
    m_items.append({requirementNamed(wanted), state, text});
    m_show(m_items.last());
}

} // namespace Vqws
