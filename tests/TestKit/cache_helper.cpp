// Another process of the user, for the tests of many processes that change one cache file.
//   cache_helper FILE NAME MS
// Saves values of three caches of five products for so many milliseconds, and says of each "SERIAL PLACE" before and "+SERIAL
// PLACE" after it. A value names the place that it was saved for, this process and the serial number of the save.

#include "Caches/CacheFile.h"
#include "TestKit/HelperProgram.h"
#include "TestKit/Stopwatch.h"

#include <QCoreApplication>
#include <QRandomGenerator>
#include <memory>

using namespace Velquor;
using namespace Velquor::WebServices;
using namespace Velquor::WebServices::Internal;

namespace {

const char* const nodePaths[] = {"/WebServicesCache/UserInfo/", "/WebServicesCache/ServiceEntitlementEx",
                                 "/WebServicesCache/StorageQuota/"};
constexpr int productCount = 5;
constexpr int cacheCount = 3;

} // namespace

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() != 4)
        return 2;
    std::unique_ptr<CacheFile> files[productCount];
    for (int product = 0; product < productCount; ++product)
        files[product] = std::make_unique<CacheFile>(arguments.at(1), QStringLiteral("product-%1").arg(product));
    const TestKit::Stopwatch timer;
    int failures = 0;
    for (int serial = 1; !timer.hasExpired(arguments.at(3).toInt()); ++serial) {
        const int place = QRandomGenerator::global()->bounded(productCount * cacheCount);
        const QString text = QStringLiteral("%1 %2 %3").arg(place).arg(arguments.at(2)).arg(serial);
        const QByteArray words = QByteArray::number(serial) + ' ' + QByteArray::number(place);
        TestKit::say(words);
        const CacheRecord record{"Production", QDateTime::currentDateTimeUtc(), text, text,
                                 text + QLatin1Char(' ') + QString(QRandomGenerator::global()->bounded(4000), QLatin1Char('x'))};
        const CacheFile::WriteResult result =
            files[place / cacheCount]->save(QLatin1String(nodePaths[place % cacheCount]), record, [] { return true; });
        failures += result == CacheFile::WriteResult::Done ? 0 : 1;
        if (result == CacheFile::WriteResult::Done)
            TestKit::say('+' + words);
    }
    return failures == 0 ? 0 : 1;
}
