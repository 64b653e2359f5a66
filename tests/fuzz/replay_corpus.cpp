// Runs each file of the corpus through its target: what once broke a rule stays mended.

#include "FuzzTargets.h"

#include <QDirIterator>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <cstdio>

using namespace Velquor::Tests;

namespace {

int replay(const FuzzTarget& target, const QString& folder) {
    int count = 0;
    for (QDirIterator files(folder, QDir::Files); files.hasNext(); ++count) {
        QFile file(files.next());
        requireRule(file.open(QIODevice::ReadOnly), "the corpus can be read");
        // The last name on the screen is that of the input that failed.
        std::printf("%s", qPrintable(file.fileName()));
        std::fflush(stdout);
        QElapsedTimer timer;
        timer.start();
        target.run(file.readAll());
        std::printf(" %lld ms\n", timer.elapsed());
    }
    return count;
}

} // namespace

int main(int argc, char** argv) {
    requireRule(argc == 2, "the folder of the corpora is given");
    for (const FuzzTarget& target : fuzzTargets())
        requireRule(replay(target, QStringLiteral("%1/%2").arg(QString::fromLocal8Bit(argv[1]), QLatin1String(target.name))) > 0,
                    "each target has a corpus");
    return 0;
}
