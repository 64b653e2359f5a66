#pragma once

#include <QString>
#include <QStringList>

namespace Vqws {

/// Where the library looks, known before it is started: starting it tidies up what the checks want to see.
struct SetUp {
    QString dataFolder;
    QString loginStateFile;
    QStringList supportFolders; ///< in the order of the search
};

[[nodiscard]] SetUp readSetUp(const QString& supportFolders);

/// A value of the library's settings; empty when it is not set.
[[nodiscard]] QString setting(const QString& name);

} // namespace Vqws
