#pragma once

#include "VqLog/ILogger.h"
#include "VqUtil/Crypto/IRsaCryptor.h"

#include <QString>
#include <memory>

/// In what the systems differ, as far as tests must know. Thread: the test's.
namespace Velquor::TestKit {

/// Only the user has any right to the file or folder.
[[nodiscard]] bool isOwnerOnly(const QString& path);

/// An open file can be replaced, and one that is being replaced can be opened.
[[nodiscard]] bool openFilesCanBeReplaced();

/// The guard of a process is a file in the data folder, so that it cannot be taken without the folder.
[[nodiscard]] bool guardsAreFiles();

/// The user's key is a file in the data folder, so that each folder has a key of its own.
[[nodiscard]] bool userKeysAreFiles();

/// Removes the user's key where the user has one only, as the loss of a profile does.
void forgetUserKey();

/// A key that is not the one opened before. Where the user has one key only, it takes that one's place.
[[nodiscard]] std::shared_ptr<Util::IRsaCryptor> openAnotherUserKey(const std::shared_ptr<Log::ILogger>& logger);

/// While it lives, the user has no right to the data folder of all users of the machine: he is another one, or a file is in its
/// place.
class WithoutFolderOfAllUsers final {
public:
    explicit WithoutFolderOfAllUsers(const QString& folder);
    ~WithoutFolderOfAllUsers();
    Q_DISABLE_COPY_MOVE(WithoutFolderOfAllUsers)

private:
    const QString m_folder;
};

/// Whether a time that several processes take together tells something. It does not where the system is emulated (Wine), and each
/// call that reaches beyond a process waits for one that serves them all.
[[nodiscard]] bool timesOfProcessesCount();

/// The most memory that this process has had at one time.
[[nodiscard]] qint64 peakMemoryBytes();

} // namespace Velquor::TestKit
