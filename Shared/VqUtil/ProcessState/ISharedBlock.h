#pragma once

#include <QByteArray>
#include <QString>

namespace Velquor::Util {

/// A block of bytes that the processes of one user share under a key.
///
/// It holds no lock of its own towards other processes of ours: whoever calls holds the lock that goes with the block.
/// Thread: one at a time. Owner: the holder; destroying the object detaches, and the last one to detach takes the block with it.
/// Errors: `Failed`, false or no bytes, with `errorText()` for the first.
class ISharedBlock {
public:
    enum class Result {
        Done,
        Missing,      ///< Attaching: nobody has the block.
        AlreadyThere, ///< Creating: another process has it; attach again.
        Failed,
    };

    virtual ~ISharedBlock() = default;

    /// Attaches for reading and writing, whatever size the block has.
    [[nodiscard]] virtual Result attach() = 0;
    /// Creates the block, all zeros, and attaches.
    [[nodiscard]] virtual Result create(int size) = 0;
    /// False from the moment when somebody removes the block from under its users, too.
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
