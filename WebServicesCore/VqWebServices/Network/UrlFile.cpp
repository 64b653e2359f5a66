#include "Network/UrlFile.h"

#include "VqUtil/General/AtomicFile.h"

#include <boost/format.hpp>
#include <boost/property_tree/json_parser.hpp>
#include <boost/property_tree/ptree.hpp>
#include <sstream>

namespace Velquor::WebServices {

namespace {

constexpr qint64 maximumFileSize = 1024 * 1024;
constexpr int maximumDepth = 32;

using Tree = boost::property_tree::ptree;

// The parser recurses for each level, so a hostile depth is refused before it runs. Brackets inside texts count too:
// no URL file comes near the limit.
bool isTooDeep(const QByteArray& json) {
    int depth = 0;
    for (const char character : json) {
        if (character == '{' || character == '[')
            ++depth;
        else if (character == '}' || character == ']')
            --depth;
        if (depth > maximumDepth)
            return true;
    }
    return false;
}

bool parse(const QString& path, const QByteArray& json, Tree& tree, Log::ILogger& logger) {
    const auto fail = [&](const std::string& reason) {
        const std::string text =
            boost::str(boost::format("Exception %1% while parsing configuration file %2%") % reason % path.toStdString());
        logger.error(QString::fromStdString(text));
        return false;
    };
    if (isTooDeep(json))
        return fail("nested too deep");
    try {
        std::istringstream stream(json.toStdString());
        boost::property_tree::read_json(stream, tree);
        return true;
    } catch (const std::exception& exception) {
        return fail(exception.what());
    }
}

} // namespace

bool readUrlFile(const QString& path, QMap<QString, QString>& urls, Log::ILogger& logger) {
    const Util::AtomicFile::ReadResult file = Util::AtomicFile::read(path, maximumFileSize);
    if (path.isEmpty() || file.status == Util::AtomicFile::ReadResult::Status::Missing) {
        logger.error(QStringLiteral("VqWebservicesURLs JSON file is not exist: %1").arg(path));
        return false;
    }
    Tree tree;
    if (file.status == Util::AtomicFile::ReadResult::Status::Failed || !parse(path, file.data, tree, logger)) {
        logger.error(QStringLiteral("Read the JSON file %1 failed").arg(path)
                     + (file.error.isEmpty() ? QString() : QStringLiteral(". %1").arg(file.error)));
        return false;
    }
    logger.information(QStringLiteral("Read the JSON file %1 successfully").arg(path));
    const auto members = tree.get_child_optional("Configurations.WebServices.Urls");
    for (const auto& member : members ? *members : Tree()) {
        if (member.second.empty())
            urls.insert(QString::fromStdString(member.first), QString::fromStdString(member.second.data()));
    }
    logger.information(QStringLiteral("Loaded web services urls from file %1").arg(path));
    return true;
}

} // namespace Velquor::WebServices
