#pragma once

#include <QByteArray>
#include <QString>

namespace Velquor::Util {

/// A block of bytes that the processes of one user share under a key.
///
/// It does not lock: the caller holds the lock that belongs to the block. Destroying the object detaches. The block is removed
/// when the last process detaches. Thread: one at a time. Owner: the holder. Errors: `Failed`, false or no bytes; `errorText()`
/// explains `Failed` and a failed write.
class ISharedBlock {
public:
    enum class Result {
        Done,
        Missing,      ///< Attaching: no process has the block.
        AlreadyThere, ///< Creating: another process has it; attach again.
        Failed,
    };

    virtual ~ISharedBlock() = default;

    /// Attaches for reading and writing, whatever size the block has.
    [[nodiscard]] virtual Result attach() = 0;
    /// Creates the block, all zeros, and attaches.
    [[nodiscard]] virtual Result create(int size) = 0;
    /// False also when another program has removed the block while it was in use.
    [[nodiscard]] virtual bool isAttached() = 0;
    [[nodiscard]] virtual int size() const = 0;

    [[nodiscard]] virtual bool startsWith(const QByteArray& bytes) = 0;
    /// A private copy of all bytes.
    [[nodiscard]] virtual QByteArray read() = 0;
    /// Writes from the first byte on; `bytes` are not longer than the block.
    [[nodiscard]] virtual bool write(const QByteArray& bytes) = 0;

    [[nodiscard]] virtual QString errorText() const = 0;
};

} // namespace Velquor::Util
