// Runs each file of the corpus through its target: what once broke a rule stays mended. Then each is damaged many times, with a
// fixed seed, so that a fault comes again.

#include "FuzzTargets.h"
#include "TestKit/Soak.h"

#include <QDirIterator>
#include <QElapsedTimer>
#include <QFile>
#include <QRandomGenerator>
#include <QtEndian>
#include <cstdio>

using namespace Velquor::Tests;

namespace {

constexpr quint32 seed = 20240711;

// One to eight changes, of the kind that find the holes: a bit, a byte, a length, a piece moved, the end cut off.
QByteArray damaged(QByteArray input, QRandomGenerator& random) {
    static const QVector<quint32> nasty{0, 1, 2, 3, 0x7fffffff, 0x80000000, 0xfffffffe, 0xffffffff, 0xffff, 10, 1024};
    for (int change = random.bounded(1, 9); change > 0 && input.size() > 4; --change) {
        const int place = random.bounded(input.size() - 3);
        switch (random.bounded(5)) {
        case 0: input[place] = static_cast<char>(input.at(place) ^ (1 << random.bounded(8))); break;
        case 1: input[place] = static_cast<char>(random.bounded(256)); break;
        case 2: qToBigEndian(nasty.at(random.bounded(nasty.size())), input.data() + place); break;
        case 3: input.insert(random.bounded(input.size()), input.mid(place, random.bounded(1, 40))); break;
        default: input.truncate(random.bounded(1, input.size())); break;
        }
    }
    return input;
}

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
        const QByteArray input = file.readAll();
        target.run(input);
        QRandomGenerator random(seed);
        for (int round = 0; round < Velquor::TestKit::rounds(10000, 500000); ++round)
            target.run(damaged(input, random));
        std::printf(" %lld ms\n", timer.elapsed());
    }
    return count;
}

} // namespace

int main(int argc, char** argv) {
    requireRule(argc == 2, "the folder of the corpora is given");
    std::printf("Seed of the damage: %u\n", seed);
    for (const FuzzTarget& target : fuzzTargets())
        requireRule(replay(target, QStringLiteral("%1/%2").arg(QString::fromLocal8Bit(argv[1]), QLatin1String(target.name))) > 0,
                    "each target has a corpus");
    return 0;
}
