#pragma once

#include <QString>
#include <QVector>

namespace Vqws {

/// What the page "What an account server must speak" asks of a server, sentence by sentence.
struct Requirement {
    QString name;
    QString sentence; ///< As the page has it, to the letter.
    bool isAdvice = false;
};

/// In the order of the check. Thread: any.
[[nodiscard]] const QVector<Requirement>& requirements();

} // namespace Vqws
