#pragma once

#include <QProcess>
#include <QProcessEnvironment>

namespace Velquor::TestKit {

/// A run of one of the helper programs, which are next to the test: another process of the user. With VQ_OTHER_HELPERS the first,
/// third and every other odd run is one from that folder, of another build. It ends with this object at the latest. Thread: the
/// test's. Owner: the test. A program that does not answer gives empty lines.
class HelperProcess : public QProcess {
public:
    HelperProcess(const QString& program, const QStringList& arguments,
                  const QProcessEnvironment& environment = QProcessEnvironment::systemEnvironment(),
                  ProcessChannelMode channels = SeparateChannels);
    /// Where the program of the next run is.
    [[nodiscard]] static QString nextFolder();
    ~HelperProcess() override { killNow(); }

    /// Sends a line.
    void tell(const QByteArray& line = {});
    /// The next line of its output.
    [[nodiscard]] QByteArray nextLine();
    /// Closes its input; true when it then ends by itself with success.
    [[nodiscard]] bool finish();
    /// Ends it in the middle of whatever it does.
    void killNow();
};

} // namespace Velquor::TestKit
