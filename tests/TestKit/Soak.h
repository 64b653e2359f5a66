#pragma once

#include <QString>
#include <QtGlobal>
#include <cstdio>

namespace Velquor::TestKit {

/// Long runs and what they measure. Thread: any.

/// With VQ_SOAK in the environment the long form of a test runs.
[[nodiscard]] inline bool isSoak() {
    return qEnvironmentVariableIsSet("VQ_SOAK");
}

[[nodiscard]] inline int rounds(int usual, int soak) {
    return isSoak() ? soak : usual;
}

/// For what would take a minute or for ever with the fault: the long form holds the bar, the short one tells it from the fault.
[[nodiscard]] inline int limitMs(int bar) {
    return rounds(10000, bar);
}

/// ThreadSanitizer makes a program some ten times slower, and keeps notes of its own about each byte.
#ifdef __SANITIZE_THREAD__
inline constexpr int slowness = 10;
inline constexpr int notesPerByte = 4;
#else
inline constexpr int slowness = 1;
inline constexpr int notesPerByte = 1;
#endif

/// Prints a measurement with its bar; the lines of a long run become a table.
inline void figure(const QString& what, const QString& bar, const QString& measured) {
    const QByteArray line = QStringLiteral("%1 | %2 | %3 | %4\n")
                                .arg(isSoak() ? QStringLiteral("FIGURE") : QStringLiteral("figure"), what, bar, measured)
                                .toUtf8();
    std::fputs(line.constData(), stdout);
    std::fflush(stdout);
}

} // namespace Velquor::TestKit
