// Files that all processes of the user share, and the URL file of the installation.

#include "Caches/CacheFile.h"
#include "Events/EventDocument.h"
#include "FuzzTargets.h"
#include "Network/Urls/UrlFile.h"
#include "Session/State/LoginStateDocument.h"
#include "Session/Store/LoginStateMerge.h"
#include "TestKit/RecordingLogger.h"

#include <QFile>
#include <QTemporaryDir>

namespace Velquor::Tests {

using namespace WebServices::Internal;

namespace {

// Between the text in memory and the text of the file.
const QByteArray separator = "\n----\n";

// A file of this content, in memory where the system has such.
QString fileOf(const QByteArray& content) {
    static const QTemporaryDir folder(QFile::exists(QStringLiteral("/dev/shm")) ? QStringLiteral("/dev/shm/vq-fuzz-XXXXXX")
                                                                                : QStringLiteral("vq-fuzz-XXXXXX"));
    const QString path = folder.filePath(QStringLiteral("input"));
    QFile file(path);
    requireRule(file.open(QIODevice::WriteOnly | QIODevice::Truncate) && file.write(content) == content.size(),
                "the input can be written");
    return path;
}

QByteArray written(LoginStateDocument document, const LoginState& state) {
    document.setState(state);
    const Util::Result<QByteArray> text = document.toBytes();
    return text ? *text : QByteArray();
}

HeldLogin heldOf(const LoginState& state) {
    HeldLogin held;
    held.state = state;
    held.isLoggedIn = state.user.hasUser() && !state.products.isEmpty();
    return held;
}

// What is merged can be written and read, loses no sign-out, and merging it once more changes nothing.
void checkMerge(const LoginState& memory, const LoginStateDocument& file) {
    const HeldLogin held = heldOf(memory);
    const LoginState inFile = file.state();
    const MergedLogin merged = mergeLogin(held, inFile);
    requireRule(!inFile.logoutDate.isValid() || merged.file.logoutDate >= inFile.logoutDate, "a sign-out stays");
    const QByteArray text = written(file, merged.file);
    const Util::Result<LoginStateDocument> read = LoginStateDocument::parse(text);
    // Two texts within the bounds can exceed them together. Then nothing is written.
    if (text.isEmpty())
        return;
    requireRule(bool(read), "what was merged can be read");
    HeldLogin after = merged.isGone() ? HeldLogin() : held;
    after.state.user = merged.isGone() ? BasicLoginState() : merged.user;
    after.seen = seenAfterWriting(after, read->state());
    requireRule(written(*read, mergeLogin(after, read->state()).file) == text, "a second merge changes nothing");
}

} // namespace

void readLoginStates(const QByteArray& input) {
    const int end = input.indexOf(separator);
    const Util::Result<LoginStateDocument> memory = LoginStateDocument::parse(input.left(end < 0 ? 0 : end));
    const Util::Result<LoginStateDocument> file = LoginStateDocument::parse(end < 0 ? input : input.mid(end + separator.size()));
    if (!file)
        return;
    const Util::Result<QByteArray> text = file->toBytes();
    requireRule(bool(text), "what was read can be written");
    const Util::Result<LoginStateDocument> again = LoginStateDocument::parse(*text);
    requireRule(again && *again->toBytes() == *text, "what was written reads the same");
    checkMerge(memory ? memory->state() : LoginState(), *file);
    (void)file->proxy();
}

void readEvent(const QByteArray& input) {
    EventDocument event;
    if (readEventDocument(input, event) != EventReadResult::Read)
        return;
    const QByteArray text = writeEventDocument(event);
    EventDocument again;
    requireRule(readEventDocument(text, again) == EventReadResult::Read && writeEventDocument(again) == text,
                "an event that was read is written and read the same");
}

void readCacheFile(const QByteArray& input) {
    CacheRecord record;
    (void)CacheFile(fileOf(input), QStringLiteral("product")).read(QStringLiteral("WebServicesCache/UserInfo"), record);
}

void readUrlFile(const QByteArray& input) {
    TestKit::RecordingLogger logger;
    (void)WebServices::Internal::readUrlFile(fileOf(input), logger);
}

} // namespace Velquor::Tests
