#pragma once

#include <QString>
#include <QStringList>

namespace Vqws {

/// The folders and files of the library, found without starting it: its start would repair what the checks look for.
struct SetUp {
    QString dataFolder;
    QString loginStateFile;
    QStringList supportFolders; ///< In the order of the search.
};

[[nodiscard]] SetUp readSetUp(const QString& supportFolders);

/// A value of the library's settings; empty when it is not set.
[[nodiscard]] QString setting(const QString& name);

} // namespace Vqws
