#include "apps/cli/CloudStatistics.h"
#include "apps/cli/Commands.h"
#include "apps/cli/Console.h"
#include "apps/cli/OutputFile.h"
#include "apps/cli/PointSearch.h"
#include "apps/cli/Progress.h"
#include "apps/cli/coordinateSystemName.h"
#include "apps/cli/fileExtension.h"
#include "apps/cli/formatNumber.h"
#include "apps/cli/numberChecks.h"
#include "apps/cli/oneLine.h"
#include "apps/cli/openDataset.h"
#include "apps/cli/parseValue.h"
#include <octree/Octree.h>
#include <render/pointcloud/pointClasses.h>

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>

namespace Cli
{
namespace
{
using nlohmann::ordered_json;

constexpr double kUsualBins = 32.0;   // of heights
constexpr double kUsualCells = 64.0;  // along the longer side
constexpr double kSmallestCell = 1e-6;
constexpr double kLargestCell = 1e9;
constexpr std::size_t kBarWidth = 40;

struct StatsOptions
{
    std::string dataset;
    SearchOptions search;
    std::optional<double> cell;
    std::string densityFile;
    bool asJson = false;
};

std::string percentOf(std::uint64_t count, std::uint64_t all)
{
    const auto tenths = static_cast<std::uint64_t>(std::llround(
        1000.0 * static_cast<double>(count) / static_cast<double>(std::max<std::uint64_t>(1, all))
    ));
    return std::to_string(tenths / 10) + "." + std::to_string(tenths % 10) + " %";
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

/// Where bin number `index` begins, without the digits that a product of binary fractions is off by.
std::string edgeOf(const Histogram& histogram, std::int64_t index)
{
    constexpr int kDigits = 12;
    std::array<char, 40> text{};
    const auto result = std::to_chars(
        text.data(),
        text.data() + text.size(),
        static_cast<double>(index) * histogram.width(),
        std::chars_format::general,
        kDigits
    );
    return {text.data(), result.ptr};
}

std::string textOf(const Histogram& histogram)
{
    std::string text;
    if (histogram.bins().empty())
    {
        return text;
    }
    std::uint64_t most = 1;
    for (const auto& [index, count] : histogram.bins())
    {
        most = std::max(most, count);
    }
    for (std::int64_t index = histogram.bins().begin()->first; index <= histogram.bins().rbegin()->first;
         ++index)
    {
        const auto found = histogram.bins().find(index);
        const std::uint64_t count = found != histogram.bins().end() ? found->second : 0;
        const auto bar = static_cast<std::size_t>(
            std::ceil(static_cast<double>(count) / static_cast<double>(most) * static_cast<double>(kBarWidth))
        );
        text += leftPadded(edgeOf(histogram, index), 14) + leftPadded(std::to_string(count), 14) + "  " +
                std::string(bar, '#') + "\n";
    }
    return text;
}

ordered_json toJson(const Histogram& histogram)
{
    ordered_json json;
    json["width"] = histogram.width();
    json["bins"] = ordered_json::array();
    for (const auto& [index, count] : histogram.bins())
    {
        json["bins"].push_back({{"from", static_cast<double>(index) * histogram.width()}, {"points", count}});
    }
    return json;
}

ordered_json toJson(const DensityGrid& grid)
{
    const DensityGrid::Summary summary = grid.summary();
    ordered_json json;
    json["cell"] = grid.cell();
    json["cells"] = summary.cells;
    json["area"] = summary.area;
    json["mean"] = summary.mean;
    json["median"] = summary.median;
    json["min"] = summary.min;
    json["max"] = summary.max;
    json["outside"] = grid.outside();
    json["origin"] = {grid.minX(), grid.minY()};
    json["counts"] = ordered_json::array();
    for (std::uint64_t row = 0; row < grid.rows(); ++row)
    {
        ordered_json counts = ordered_json::array();
        for (std::uint64_t column = 0; column < grid.columns(); ++column)
        {
            counts.push_back(grid.count(column, row));
        }
        json["counts"].push_back(std::move(counts));
    }
    return json;
}

ordered_json describe(const Octree::Octree& octree, const CloudStatistics& statistics)
{
    const Render::PointClasses classes = Render::asprsClasses();
    ordered_json json;
    json["name"] = octree.name();
    json["kind"] = Octree::kindName(octree.kind());
    json["coordinateSystem"] = octree.coordinateSystem();
    json["points"] = statistics.points();
    json["ranges"] = ordered_json::array();
    for (const ValueRange& range : statistics.ranges())
    {
        ordered_json row{{"name", range.name}, {"min", nullptr}, {"max", nullptr}};
        if (range.min <= range.max)
        {
            row["min"] = range.min;
            row["max"] = range.max;
        }
        json["ranges"].push_back(std::move(row));
    }
    json["classes"] = ordered_json::array();
    for (std::size_t number = 0; number < classes.size(); ++number)
    {
        if (statistics.classes()[number] > 0)
        {
            json["classes"].push_back(
                {{"class", number}, {"name", classes[number].name}, {"points", statistics.classes()[number]}}
            );
        }
    }
    json["intensities"] = toJson(statistics.intensities());
    json["heights"] = toJson(statistics.heights());
    json["density"] = toJson(statistics.grid());
    return json;
}

std::string textOf(const Octree::Octree& octree, const CloudStatistics& statistics)
{
    const Render::PointClasses classes = Render::asprsClasses();
    std::string out = "name       " + oneLine(octree.name()) + "\n";
    out += "system     " + coordinateSystemName(octree.coordinateSystem()) + "\n";
    out += "points     " + std::to_string(statistics.points()) + "\n";
    if (statistics.points() == 0)
    {
        return out;
    }
    out += "\nattribute        range\n";
    for (const ValueRange& range : statistics.ranges())
    {
        out += padded(range.name, 17) +
               (range.min <= range.max ? formatNumber(range.min) + " to " + formatNumber(range.max)
                                       : "no number") +
               "\n";
    }
    out += "\nclass        points          name\n";
    for (std::size_t number = 0; number < classes.size(); ++number)
    {
        const std::uint64_t count = statistics.classes()[number];
        if (count > 0)
        {
            out += leftPadded(std::to_string(number), 5) + leftPadded(std::to_string(count), 14) +
                   leftPadded(percentOf(count, statistics.points()), 9) + " " + classes[number].name + "\n";
        }
    }
    out += "\nheight from        points\n" + textOf(statistics.heights());
    if (!statistics.intensities().bins().empty())
    {
        out += "\nintensity from     points\n" + textOf(statistics.intensities());
    }
    const DensityGrid::Summary density = statistics.grid().summary();
    const std::string cell = formatNumber(statistics.grid().cell());
    out +=
        "\npoints per square unit of the ground, in cells of " + cell + " x " + cell + " that have points\n";
    out += "cells      " + std::to_string(density.cells) + "\n";
    out += "area       " + formatNumber(density.area) + "\n";
    out += "mean       " + formatNumber(static_cast<float>(density.mean)) + "\n";
    out += "median     " + formatNumber(static_cast<float>(density.median)) + "\n";
    out += "range      " + formatNumber(static_cast<float>(density.min)) + " to " +
           formatNumber(static_cast<float>(density.max)) + "\n";
    if (statistics.grid().outside() > 0)
    {
        out +=
            "outside    " + std::to_string(statistics.grid().outside()) + " points, of the stated bounds\n";
    }
    return out;
}

CloudStatistics count(const StatsOptions& options, const std::shared_ptr<Octree::Octree>& octree)
{
    const unsigned attributes = octree->attributeMask() | octree->recordMask();
    const Math::NBoundingBox<double, 3> box = octree->absoluteBoundingBox();
    const double side = std::max(box.max().x - box.min().x, box.max().y - box.min().y);
    const double cell = options.cell.value_or(niceNumber(side / kUsualCells));
    CloudStatistics statistics(
        attributes, niceNumber((box.max().z - box.min().z) / kUsualBins), DensityGrid(box, cell)
    );
    PointSearch search(
        options.search,
        octree,
        makeAttributeFilter(options.search.attributes),
        attributes,
        std::chrono::nanoseconds::max()
    );
    Progress progress("counting", 0, "points");
    Octree::NodePointColumns points;
    for (bool isMore = true; isMore;)
    {
        isMore = search.next(points);
        statistics.add(points, octree->position());
        progress.update(statistics.points());
    }
    return statistics;
}

void run(const StatsOptions& options)
{
    if (!options.densityFile.empty())
    {
        requirePng("--density", options.densityFile);
        requireWritable(toPath(options.densityFile));
    }
    const auto octree = std::make_shared<Octree::Octree>(datasetLocation(options.dataset), 1.0);
    checkAttributes(options.search.attributes, *octree);
    const CloudStatistics statistics = count(options, octree);
    if (!options.densityFile.empty())
    {
        statistics.grid().picture().writePng(toPath(options.densityFile));
    }
    writeOutput(
        options.asJson
            ? describe(*octree, statistics).dump(2, ' ', false, ordered_json::error_handler_t::replace) + "\n"
            : textOf(*octree, statistics)
    );
    flushOutput();
}
}  // namespace

void addStatsCommand(CLI::App& app)
{
    CLI::App* const verb = app.add_subcommand("stats", "Counts what the points of a data set are like");
    const auto options = std::make_shared<StatsOptions>();
    verb->add_option("DATASET", options->dataset, "Folder or web address of the data set, or a COPC file")
        ->required();
    addRegionOptions(*verb, options->search.region);
    addAttributeOptions(*verb, options->search.attributes);
    verb->add_option(
            "--max-level", options->search.maxLevel, "Deepest level to take points from (default: all)"
    )
        ->transform(wholeNumber(0, kLargestLevel));
    verb->add_option(
            "--cell", options->cell, "Edge of the cells for densities, data units (default: about 64 a side)"
    )
        ->check(numberFrom(kSmallestCell, kLargestCell));
    verb->add_option("--density", options->densityFile, "Also write the densities as a picture, PNG");
    verb->add_flag("--json", options->asJson, "Print JSON");
    verb->footer(
        "Reads all points.\n"
        "Examples:\n"
        "  tarnel stats out/sample\n"
        "  tarnel stats out/sample --classification 2 --cell 1 --density ground.png --json"
    );
    verb->callback([options] { run(*options); });
}
}  // namespace Cli
