#pragma once

#include <QByteArray>
#include <QVector>

namespace Velquor::Tests {

/// One reader of something that comes from outside: a file, a message, a reply, a text of the host.
///
/// It may refuse any input. It ends the process when what it accepted breaks a rule, for instance when a document that it has
/// read cannot be written and read again. Thread: one.
struct FuzzTarget {
    const char* name;
    void (*run)(const QByteArray& input);
};

/// All targets. Their names are those of the folders in `corpus`.
[[nodiscard]] const QVector<FuzzTarget>& fuzzTargets();

/// Ends the process with the rule that was broken.
void requireRule(bool holds, const char* rule);

// The targets by what they read.
void readLoginStates(const QByteArray& input);
void readEvent(const QByteArray& input);
void readMessage(const QByteArray& input);
void readFrames(const QByteArray& input);
void readBlock(const QByteArray& input);
void readCacheFile(const QByteArray& input);
void readUrlFile(const QByteArray& input);
void readJsonValues(const QByteArray& input);
void readTokenReplies(const QByteArray& input);
void readBodyForLog(const QByteArray& input);
void signTexts(const QByteArray& input);

} // namespace Velquor::Tests
