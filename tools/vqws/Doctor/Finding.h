#pragma once

#include <QJsonObject>
#include <QString>
#include <QVector>

namespace Vqws {

/// What makes a fault go away: a sentence that says who must do what, a command to copy, or both.
struct Cure {
    QString sentence;
    QString command; ///< For the user's shell; empty when a person must act.

    /// In one line: "SENTENCE: COMMAND".
    [[nodiscard]] QString text() const;
};

inline Cure act(const QString& sentence) {
    return {sentence, {}};
}
inline Cure run(const QString& command) {
    return {{}, command};
}
inline Cure run(const QString& sentence, const QString& command) {
    return {sentence, command};
}

/// The result of a check. A warning or a fault comes with its cure.
struct Finding {
    enum class State { Ok, Warning, Fault };

    QString check;
    State state = State::Ok;
    QString text;
    Cure cure;
};

using Findings = QVector<Finding>;

/// "ok", "warning" or "fault".
[[nodiscard]] QString stateText(Finding::State state);
/// What was found and, when there is one, its cure: "TEXT. Cure: CURE".
[[nodiscard]] QString textWithCure(const Finding& finding);
[[nodiscard]] QJsonObject toObject(const Finding& finding);

inline Finding ok(const QString& check, const QString& text) {
    return {check, Finding::State::Ok, text, {}};
}
inline Finding warning(const QString& check, const QString& text, const Cure& cure) {
    return {check, Finding::State::Warning, text, cure};
}
inline Finding fault(const QString& check, const QString& text, const Cure& cure) {
    return {check, Finding::State::Fault, text, cure};
}

} // namespace Vqws
