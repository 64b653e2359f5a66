#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <memory>

namespace Velquor::TestKit {

/// A program that was not built here, such as Python: without input, its output kept, ended with this object at the latest.
///
/// On Windows it may be one of the system below Wine, which has other paths and shares no pipes with the test.
/// Thread: the test's. Owner: the test.
class OutsideProgram {
public:
    OutsideProgram();
    ~OutsideProgram();

    [[nodiscard]] bool start(const QString& program, const QStringList& arguments);
    [[nodiscard]] bool waitForFinished(int timeoutMs);
    void stop();

    /// -1 while it runs and when it did not end by itself.
    [[nodiscard]] int exitCode() const;
    /// What it wrote on standard output and standard error, once it is finished.
    [[nodiscard]] QByteArray output() const;

    /// The path of a file in the form that such a program understands.
    [[nodiscard]] static QString pathFor(const QString& path);

private:
    struct Native;
    const std::unique_ptr<Native> m_native;
};

} // namespace Velquor::TestKit
