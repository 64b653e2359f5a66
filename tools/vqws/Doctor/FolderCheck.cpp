#include "Doctor/Checks.h"
#include "Platform/FilePrivacy.h"

#include <QDir>
#include <QDirIterator>
#include <QFileInfo>
#include <QTemporaryFile>

namespace Vqws {

namespace {

const auto name = QStringLiteral("data folder");

QString nearestExisting(const QString& folder) {
    QFileInfo info(folder);
    while (!info.exists() && !info.isRoot())
        info.setFile(info.path());
    return info.filePath();
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
                          cureForOtherOwner(existing == folder ? folder : existing, owner))};
    }
    return {};
}

bool canWrite(const QString& folder) {
    QTemporaryFile probe(folder + QStringLiteral("/.vqws-XXXXXX"));
    return probe.open();
}

} // namespace

Findings checkFolder(const SetUp& setUp) {
    const QString& folder = setUp.dataFolder;
    const QString existing = nearestExisting(folder);
    if (!QFileInfo(existing).isDir())
        return {fault(name, QStringLiteral("%1 is not a folder").arg(existing),
                      QStringLiteral("move it away; the library creates the folder"))};
    const Findings owners = checkOwners(existing, folder);
    if (!owners.isEmpty())
        return owners;
    if (!canWrite(existing))
        return {fault(name, QStringLiteral("%1 cannot be written to").arg(existing),
                      QStringLiteral("give the user the right to write there, or free space on the disk"))};
    if (existing != folder)
        return {ok(name, QStringLiteral("%1 does not exist yet; the first program creates it").arg(folder))};
    const QString others = othersWithAccess(folder);
    if (!others.isEmpty())
        return {fault(name, QStringLiteral("%1 has access to %2").arg(others, folder), commandToMakePrivate(folder))};
    return {ok(name, folder)};
}

} // namespace Vqws
