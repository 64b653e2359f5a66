#pragma once

#include "Contract/Requirements.h"

#include <QJsonObject>
#include <functional>

namespace Vqws {

class Cancellation;

/// The result for one requirement.
struct ContractItem {
    enum class State { Ok, Warning, Fault, NotChecked };

    Requirement requirement;
    State state = State::NotChecked;
    QString text; ///< What came instead, or why it was not checked.
};

[[nodiscard]] QString stateText(ContractItem::State state);
[[nodiscard]] QJsonObject toObject(const ContractItem& item);

/// Collects the results of a check and shows each as it comes. A requirement has one result, the first.
///
/// Thread: the main thread. Owner: the command. Errors: a name that is no requirement is a fault of the program.
class ContractReport {
public:
    using State = ContractItem::State;
    using Show = std::function<void(const ContractItem&)>;

    /// After cancellation nothing has a result.
    ContractReport(Show show, const Cancellation& cancellation);

    void ok(const char* name, const QString& text = {});
    /// A fault, or a warning where the page only advises. Returns false.
    bool missing(const char* name, const QString& text);
    /// Ok where it is right, otherwise missing(), with the same text. Returns `isRight`.
    bool judge(const char* name, bool isRight, const QString& text);
    /// The same for a reply without some names; the text is empty where it is right.
    bool judgeNames(const char* name, const QString& absent);
    void leaveOut(const char* name, const QString& why);
    /// All that has no result yet was not checked.
    void finish();

    [[nodiscard]] const QVector<ContractItem>& items() const { return m_items; }
    [[nodiscard]] int count(State state) const;

private:
    void add(const char* name, State state, const QString& text);
    [[nodiscard]] bool has(const QString& name) const;

    const Show m_show;
    const Cancellation& m_cancellation;
    QVector<ContractItem> m_items;
};

} // namespace Vqws
