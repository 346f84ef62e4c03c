#include "apps/cli/Commands.h"
#include "apps/cli/Console.h"
#include "apps/cli/HierarchyStatistics.h"
#include "apps/cli/coordinateSystemName.h"
#include "apps/cli/formatNumber.h"
#include "apps/cli/oneLine.h"
#include "apps/cli/openDataset.h"
#include <octree/Octree.h>

#include <nlohmann/json.hpp>

#include <charconv>
#include <memory>
#include <string>

namespace Cli
{
namespace
{
struct InfoOptions
{
    std::string dataset;
    bool asJson = false;
};

nlohmann::ordered_json toJson(const Math::Point<double, 3>& point)
{
    return nlohmann::ordered_json::array({point.x, point.y, point.z});
}

nlohmann::ordered_json toJson(const Math::NBoundingBox<double, 3>& box)
{
    nlohmann::ordered_json json;
    json["min"] = toJson(box.min());
    json["max"] = toJson(box.max());
    return json;
}

/// One number where an attribute has one element, else a list.
nlohmann::ordered_json toJson(const std::vector<double>& values)
{
    return values.size() == 1 ? nlohmann::ordered_json(values.front()) : nlohmann::ordered_json(values);
}

/// The number that JSON writes with the digits that identify a float, as the text shows it: all digits of its
/// double would be noise.
double sameDigits(float value)
{
    const std::string digits = formatNumber(value);
    double result = 0.0;
    std::from_chars(digits.data(), digits.data() + digits.size(), result);
    return result;
}

nlohmann::ordered_json describe(const Octree::Octree& octree, const HierarchyStatistics& statistics)
{
    nlohmann::ordered_json json;
    json["name"] = octree.name();
    json["kind"] = Octree::kindName(octree.kind());
    json["encoding"] = octree.encoding();
    json["coordinateSystem"] = octree.coordinateSystem();
    json["points"] = statistics.points;
    json["nodes"] = statistics.nodes;
    json["spacing"] = sameDigits(octree.spacing(0));
    json["referencePosition"] = toJson(octree.position());
    json["cube"] = toJson(octree.absoluteBoundingCube());
    json["bounds"] = toJson(octree.absoluteBoundingBox());
    json["levels"] = nlohmann::ordered_json::array();
    for (std::size_t level = 0; level < statistics.levels.size(); ++level)
    {
        nlohmann::ordered_json row;
        row["level"] = level;
        row["nodes"] = statistics.levels[level].nodes;
        row["points"] = statistics.levels[level].points;
        row["spacing"] = sameDigits(octree.spacing(level));
        json["levels"].push_back(row);
    }
    json["attributes"] = nlohmann::ordered_json::array();
    for (const Octree::AttributeInfo& attribute : octree.attributes())
    {
        nlohmann::ordered_json row;
        row["name"] = attribute.name;
        row["type"] = attribute.type;
        row["size"] = attribute.sizeInBytes;
        row["min"] = toJson(attribute.min);
        row["max"] = toJson(attribute.max);
        json["attributes"].push_back(row);
    }
    return json;
}

std::string padded(std::string text, std::size_t width)
{
    text.resize(std::max(width, text.size()), ' ');
    return text;
}

std::string leftPadded(const std::string& text, std::size_t width)
{
    return std::string(text.size() < width ? width - text.size() : 0, ' ') + text;
}

std::string list(const std::vector<double>& values)
{
    std::string text;
    for (const double value : values)
    {
        text += (text.empty() ? "" : " ") + formatNumber(value);
    }
    return text;
}

std::string text(const Math::Point<double, 3>& point)
{
    return formatNumber(point.x) + " " + formatNumber(point.y) + " " + formatNumber(point.z);
}

void printText(const Octree::Octree& octree, const HierarchyStatistics& statistics)
{
    const Math::NBoundingBox<double, 3> bounds = octree.absoluteBoundingBox();
    const Math::NBoundingBox<double, 3> cube = octree.absoluteBoundingCube();
    std::string out;
    out += "name       " + oneLine(octree.name()) + "\n";
    out += std::string("kind       ") + Octree::kindName(octree.kind()) + ", " + octree.encoding() + "\n";
    out += "system     " + coordinateSystemName(octree.coordinateSystem()) + "\n";
    out += "points     " + std::to_string(statistics.points) + "\n";
    out += "nodes      " + std::to_string(statistics.nodes) + "\n";
    out += "spacing    " + formatNumber(octree.spacing(0)) + "\n";
    out += "reference  " + text(octree.position()) + "\n";
    out += "bounds     " + text(bounds.min()) + " to " + text(bounds.max()) + "\n";
    out += "cube       " + text(cube.min()) + " to " + text(cube.max()) + "\n\n";
    out += "level     nodes        points  spacing\n";
    for (std::size_t level = 0; level < statistics.levels.size(); ++level)
    {
        out += leftPadded(std::to_string(level), 5) +
               leftPadded(std::to_string(statistics.levels[level].nodes), 10) +
               leftPadded(std::to_string(statistics.levels[level].points), 14) + "  " +
               formatNumber(octree.spacing(level)) + "\n";
    }
    out += "\nattribute               type    bytes  range\n";
    for (const Octree::AttributeInfo& attribute : octree.attributes())
    {
        out += padded(oneLine(attribute.name), 24) + padded(attribute.type, 8) +
               leftPadded(std::to_string(attribute.sizeInBytes), 5) + "  ";
        out += attribute.min.empty() ? "not stated" : list(attribute.min) + " to " + list(attribute.max);
        out += "\n";
    }
    writeOutput(out);
}

void run(const InfoOptions& options)
{
    const Octree::Octree octree(datasetLocation(options.dataset), 1.0);
    const HierarchyStatistics statistics = countHierarchy(octree);
    if (options.asJson)
    {
        writeOutput(
            describe(octree, statistics)
                .dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace) +
            "\n"
        );
    }
    else
    {
        printText(octree, statistics);
    }
    flushOutput();
}
}  // namespace

void addInfoCommand(CLI::App& app)
{
    CLI::App* const verb =
        app.add_subcommand("info", "Prints what a data set holds; walks its whole hierarchy");
    const auto options = std::make_shared<InfoOptions>();
    verb->add_option("DATASET", options->dataset, "Folder or web address of the data set, or a COPC file")
        ->required();
    verb->add_flag("--json", options->asJson, "Print JSON");
    verb->footer("Examples:\n  tarnel info out/sample\n  tarnel info out/sample --json");
    verb->callback([options] { run(*options); });
}
}  // namespace Cli
