#include "Doctor/Checks.h"
#include "Platform/FilePrivacy.h"
#include "Platform/SharedBlockFile.h"
#include "Platform/ShellCommands.h"

#include <QDir>
#include <QDirIterator>
#include <QFileInfo>
#include <QStorageInfo>
#include <QTemporaryFile>

namespace Vqws {

namespace {

// The library needs about as much for a save.
constexpr qint64 leastSpace = 64LL * 1024;

const auto name = QStringLiteral("data folder");

QString nearestExisting(const QString& folder) {
    QFileInfo info(folder);
    while (!info.exists() && !info.isRoot())
        info.setFile(info.path());
    return info.filePath();
}

// Root may use the files of others, and would leave files that their owner cannot use. So root is to be the owner, or another
// user is to start the programs.
Cure cureForOwner(const QString& folder, const QString& ownerOfFolder) {
    if (isRoot() && !ownerOfFolder.isEmpty())
        return startAs(ownerOfFolder);
    return run(QStringLiteral("give it to the user who starts the programs"), ShellCommands::giveToUser(folder));
}

// The folder, or the first in it, that another user owns: such is not used. A folder of the system is no fault while the data
// folder is not there yet.
Findings checkOwners(const QString& existing, const QString& folder) {
    QStringList paths{existing};
    for (QDirIterator below(folder, QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot, QDirIterator::Subdirectories);
         below.hasNext();)
        paths += below.next();
    for (const QString& path : std::as_const(paths)) {
        const QString owner = otherOwner(path);
        if (!owner.isEmpty() && (existing == folder || owner != QStringLiteral("root")))
            return {fault(name, QStringLiteral("%1 belongs to %2, so it is not used").arg(path, owner),
                          cureForOwner(existing, otherOwner(existing)))};
    }
    return {};
}

// An empty file can be made on a full disk, too.
bool canWrite(const QString& folder) {
    QTemporaryFile probe(folder + QStringLiteral("/.vqws-XXXXXX"));
    return probe.open() && probe.write(QByteArray(leastSpace, '\0')) == leastSpace && probe.flush();
}

Finding cannotWrite(const QString& folder) {
    const QStorageInfo disk(folder);
    if (disk.isReadOnly())
        return fault(name, QStringLiteral("the disk %1 of %2 is read-only").arg(disk.rootPath(), folder),
                     act(QStringLiteral("whoever administers this machine must make it writable")));
    if (disk.bytesAvailable() < leastSpace)
        return fault(name, QStringLiteral("the disk %1 of %2 is full").arg(disk.rootPath(), folder),
                     act(QStringLiteral("delete files on it that nobody needs")));
    const QString text = QStringLiteral("%1 cannot be written to").arg(folder);
    if (!otherOwner(folder).isEmpty())
        return fault(name, text,
                     act(QStringLiteral("whoever administers this machine must give the user the right to write there")));
    return fault(name, text, run(ShellCommands::makeWritable(folder)));
}

Finding checkAccess(const QString& existing, const QString& folder) {
    if (existing != folder)
        return ok(name, QStringLiteral("%1 does not exist yet; the first program creates it").arg(folder));
    const QString others = othersWithAccess(folder);
    return others.isEmpty()
               ? ok(name, folder)
               : fault(name, QStringLiteral("%1 has access to %2").arg(others, folder), run(ShellCommands::makePrivate(folder)));
}

Finding checkVariable() {
    return warning(
        name, QStringLiteral("XDG_DATA_HOME is \"%1\", which is no full path and not used").arg(ignoredDataFolder()),
        run(QStringLiteral("remove it where it is set, and here"), ShellCommands::unset(QStringLiteral("XDG_DATA_HOME"))));
}

} // namespace

Findings checkFolder(const SetUp& setUp) {
    const QString& folder = setUp.dataFolder;
    const QString existing = nearestExisting(folder);
    const Findings found = ignoredDataFolder().isEmpty() ? Findings() : Findings{checkVariable()};
    if (!QFileInfo(existing).isDir())
        return found
               + Findings{
                   fault(name, QStringLiteral("%1 is not a folder").arg(existing), run(ShellCommands::moveAway(existing)))};
    const Findings owners = checkOwners(existing, folder);
    if (!owners.isEmpty())
        return found + owners;
    return found + Findings{canWrite(existing) ? checkAccess(existing, folder) : cannotWrite(existing)};
}

} // namespace Vqws
