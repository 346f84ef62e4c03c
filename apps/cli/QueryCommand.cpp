#include "apps/cli/Commands.h"
#include "apps/cli/Console.h"
#include "apps/cli/OutputFile.h"
#include "apps/cli/PointSearch.h"
#include "apps/cli/PointWriter.h"
#include "apps/cli/Progress.h"
#include "apps/cli/numberChecks.h"
#include "apps/cli/openDataset.h"
#include "apps/cli/parseValue.h"
#include <octree/Octree.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Cli
{
namespace
{
constexpr int kExitTimeout = 4;
constexpr double kLargestSpacing = 1e9;                         // data units
constexpr std::uint64_t kLongestTimeoutMs = 1'000'000'000'000;  // fits into nanoseconds

struct QueryOptions
{
    std::vector<std::string> datasets;
    SearchOptions search;
    std::optional<std::uint64_t> timeoutMs;
    std::string output;
    bool isLocal = false;
};

using Octrees = std::vector<std::shared_ptr<Octree::Octree>>;
using Clock = std::chrono::steady_clock;

/// What all data sets together are like: steps and origin of the first, the finest steps of all.
PointFacts factsOf(const Octrees& octrees, bool isLocal)
{
    const Octree::Octree& first = *octrees.front();
    const Math::Point<double, 3> origin = isLocal ? first.position() : Math::Point<double, 3>{};
    PointFacts facts;
    facts.isSinglePrecision = isLocal;
    facts.step = first.positionStep();
    for (std::size_t axis = 0; axis < 3; ++axis)
    {
        facts.storedOrigin[axis] = first.storedOrigin()[axis] - origin[axis];
    }
    for (const std::shared_ptr<Octree::Octree>& octree : octrees)
    {
        facts.attributes |= octree->attributeMask() | octree->recordMask();
        const Math::NBoundingBox<double, 3> box = octree->absoluteBoundingBox();
        for (std::size_t axis = 0; axis < 3; ++axis)
        {
            const double start = first.storedOrigin()[axis];
            facts.step[axis] = std::min(facts.step[axis], octree->positionStep()[axis]);
            facts.extent =
                std::max({facts.extent, std::abs(box.min()[axis] - start), std::abs(box.max()[axis] - start)}
                );
        }
    }
    facts.coordinateSystem = isLocal ? "" : first.coordinateSystem();
    return facts;
}

void noteDifferences(const Octrees& octrees)
{
    for (const std::shared_ptr<Octree::Octree>& octree : octrees)
    {
        if (octree->coordinateSystem() != octrees.front()->coordinateSystem())
        {
            printNote(
                octree->location().name() + " has another coordinate system than " +
                octrees.front()->location().name() + "; coordinates are not converted"
            );
        }
    }
}

void report(std::uint64_t count, double seconds)
{
    std::fprintf(
        stderr,
        "%llu points in %.3f s, %.0f points per second\n",
        static_cast<unsigned long long>(count),
        seconds,
        static_cast<double>(count) / seconds
    );
}

void run(const QueryOptions& options)
{
    const PointFormat format =
        options.output.empty() ? PointFormat::Text : pointFormatOf("--output", options.output);
    const std::shared_ptr<Render::IAttributeFilter> filter = makeAttributeFilter(options.search.attributes);
    if (!filter && !hasRegion(options.search.region))
    {
        throw CLI::RequiredError(
            "A region (--box, --oriented-box, --sphere, --polygon with --z, or --clip) or a choice by "
            "attributes"
        );
    }
    std::optional<OutputFile> file;
    if (!options.output.empty())
    {
        file.emplace(toPath(options.output));
    }
    Octrees octrees;
    for (const std::string& dataset : options.datasets)
    {
        octrees.push_back(std::make_shared<Octree::Octree>(datasetLocation(dataset), 1.0));
        checkAttributes(options.search.attributes, *octrees.back());
    }
    noteDifferences(octrees);

    const PointFacts facts = factsOf(octrees, options.isLocal);
    const auto start = Clock::now();
    const std::chrono::nanoseconds timeout =
        options.timeoutMs ? std::chrono::milliseconds(*options.timeoutMs) : std::chrono::nanoseconds::max();
    // All are made before the first output, which no complaint about a region may follow.
    std::vector<PointSearch> searches;
    for (const std::shared_ptr<Octree::Octree>& octree : octrees)
    {
        searches.emplace_back(options.search, octree, filter, facts.attributes, timeout);
    }
    const std::unique_ptr<PointWriter> writer =
        file ? makePointWriter(format, *file, facts) : makeTextWriter(&writeOutput, facts, ' ');
    std::uint64_t count = 0;
    bool isComplete = true;
    {
        Progress progress("querying", 0, "points");
        const Math::Point<double, 3> base =
            options.isLocal ? octrees.front()->position() : Math::Point<double, 3>{};
        for (std::size_t i = 0; i < octrees.size() && isComplete; ++i)
        {
            const Math::Point<double, 3> position = octrees[i]->position();
            const Math::Point<double, 3> origin{
                position.x - base.x, position.y - base.y, position.z - base.z};
            Octree::NodePointColumns points;
            for (bool isMore = true; isMore;)
            {
                isMore = searches[i].next(points);
                writer->write(points, origin);
                count += points.pointCount;
                progress.update(count);
            }
            isComplete = searches[i].isFinished();
        }
        writer->finish();
    }
    const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
    if (file)
    {
        file->commit();
        writeOutput(options.output + "\n");
    }
    flushOutput();

    report(count, seconds);
    if (!isComplete)
    {
        std::fprintf(
            stderr,
            "the time of %llu ms was over before all points were found\n",
            static_cast<unsigned long long>(options.timeoutMs.value_or(0))
        );
        throw CLI::RuntimeError(kExitTimeout);
    }
}
}  // namespace

void addQueryCommand(CLI::App& app)
{
    CLI::App* const verb = app.add_subcommand("query", "Takes the points of a region out of a data set");
    const auto options = std::make_shared<QueryOptions>();
    verb->add_option(
            "DATASET",
            options->datasets,
            "Folders or web addresses of data sets, or COPC files, one after the other"
    )
        ->required();
    addRegionOptions(*verb, options->search.region);
    addAttributeOptions(*verb, options->search.attributes);
    verb->add_option(
            "--max-level", options->search.maxLevel, "Deepest level to take points from (default: all)"
    )
        ->transform(wholeNumber(0, kLargestLevel));
    verb->add_option(
            "--min-spacing",
            options->search.minSpacing,
            "Leave out levels with this point spacing or less, in data units (default: 0)"
    )
        ->check(numberFrom(0.0, kLargestSpacing));
    verb->add_option("--timeout", options->timeoutMs, "Stop after so many milliseconds, with exit code 4")
        ->transform(wholeNumber(0, kLongestTimeoutMs));
    verb->add_option(
        "--output",
        options->output,
        "File to write, .txt, .csv, .ply, .las or .laz (default: text to standard output)"
    );
    verb->add_flag("--local", options->isLocal, "Leave coordinates relative to the reference position");
    verb->footer(
        "Text has the line \"X Y Z Red Green Blue Alpha\", with the names of what else the points have, and "
        "then one\n"
        "per point; PLY is binary. LAS has format 7, without colours 6, steps and origin of the data set.\n"
        "Examples:\n"
        "  tarnel query out/sample --sphere 637100,5651100,210,15 --output ball.ply\n"
        "  tarnel query out/sample --box 637090,5651090,0,637110,5651110,900 --max-level 3\n"
        "  tarnel query out/sample --oriented-box 637100,5651100,210,20,8,12,30 --output house.ply\n"
        "  tarnel query out/sample --polygon parcel.txt --z 200,260 --output parcel.txt\n"
        "  tarnel query out/sample --classification 2 --output ground.laz"
    );
    verb->callback([options] { run(*options); });
}
}  // namespace Cli
