#include "apps/cli/Commands.h"
#include "apps/cli/Console.h"
#include "apps/cli/OutputFile.h"
#include "apps/cli/PointWriter.h"
#include "apps/cli/Progress.h"
#include "apps/cli/RegionOptions.h"
#include "apps/cli/fileExtension.h"
#include "apps/cli/numberChecks.h"
#include "apps/cli/openDataset.h"
#include "apps/cli/parseValue.h"
#include <octree/Octree.h>
#include <render/pointcloud/PointCloudQuery.h>

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace Cli
{
namespace
{
constexpr int kExitTimeout = 4;
constexpr std::size_t kChunkSize = std::size_t{1} << 16U;       // points
constexpr std::uint64_t kCacheCapacity = 2'000'000;             // points
constexpr std::uint64_t kExpectedCacheEntries = 4000;           // nodes
constexpr double kLargestSpacing = 1e9;                         // data units
constexpr std::uint64_t kLongestTimeoutMs = 1'000'000'000'000;  // fits into nanoseconds

struct QueryOptions
{
    std::string dataset;
    RegionOptions region;
    std::uint64_t maxLevel = Octree::OctreeNodeId::MAX_REPRESENTABLE_LEVEL;
    float minSpacing = 0.0F;
    std::optional<std::uint64_t> timeoutMs;
    std::string output;
    bool isLocal = false;
};

enum class Format
{
    Text,
    Ply,
};

Format formatOf(const std::string& path)
{
    const std::string extension = fileExtension(path);
    if (extension != ".txt" && extension != ".ply" && !path.empty())
    {
        throw CLI::ValidationError("--output", "'" + path + "' does not end in .txt or .ply");
    }
    return extension == ".ply" ? Format::Ply : Format::Text;
}

/// Copies all points of the query.
/// @return how many there were
std::uint64_t copyPoints(Render::PointCloudQuery& query, PointWriter& writer)
{
    Progress progress("querying", 0, "points");
    std::vector<Render::VertexPosColor> points(kChunkSize);
    std::uint64_t total = 0;
    bool isTimeOver = false;
    while (!query.isFinished() && !isTimeOver)
    {
        const std::size_t count = query.getNextPointChunk(points.data(), points.size());
        isTimeOver = count < points.size();  // what it also is at the end
        writer.write({points.data(), count});
        total += count;
        progress.update(total);
    }
    writer.finish();
    return total;
}

void run(const QueryOptions& options)
{
    const Format format = formatOf(options.output);
    const auto octree = std::make_shared<Octree::Octree>(datasetLocation(options.dataset), 1.0);
    std::unique_ptr<Render::IFilter> region = makeRegion(options.region, octree->position());

    std::optional<OutputFile> file;
    if (!options.output.empty())
    {
        file.emplace(toPath(options.output));
    }
    const Origin origin = options.isLocal ? std::nullopt : Origin(octree->position());
    std::unique_ptr<PointWriter> writer;
    if (format == Format::Ply)
    {
        writer = std::make_unique<PlyPointWriter>(*file, origin);
    }
    else
    {
        const auto write = [&file](std::string_view text) { file ? file->write(text) : writeOutput(text); };
        writer = std::make_unique<TextPointWriter>(write, origin);
    }

    const auto start = std::chrono::steady_clock::now();
    Render::PointCloudQuery query(
        octree,
        Render::PointCloudQuery::createOrGetSharedCache(
            octree->location(), octree->unitScale(), kCacheCapacity, kExpectedCacheEntries
        ),
        Eigen::Matrix4f::Identity(),
        region.release(),
        options.maxLevel,
        options.minSpacing,
        options.timeoutMs ? std::chrono::milliseconds(*options.timeoutMs) : std::chrono::nanoseconds::max()
    );
    const std::uint64_t count = copyPoints(query, *writer);
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    if (file)
    {
        file->commit();
        writeOutput(options.output + "\n");
    }
    flushOutput();

    std::fprintf(
        stderr,
        "%llu points in %.3f s, %.0f points per second\n",
        static_cast<unsigned long long>(count),
        seconds,
        static_cast<double>(count) / seconds
    );
    if (!query.isFinished())
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
    verb->add_option("DATASET", options->dataset, "Folder or web address of the data set, or a COPC file")
        ->required();
    addRegionOptions(*verb, options->region);
    verb->add_option("--max-level", options->maxLevel, "Deepest level to take points from (default: all)")
        ->transform(wholeNumber(0, kLargestLevel));
    verb->add_option(
            "--min-spacing",
            options->minSpacing,
            "Leave out levels with this point spacing or less, in data units (default: 0)"
    )
        ->check(numberFrom(0.0, kLargestSpacing));
    verb->add_option("--timeout", options->timeoutMs, "Stop after so many milliseconds, with exit code 4")
        ->transform(wholeNumber(0, kLongestTimeoutMs));
    verb->add_option(
        "--output", options->output, "File to write, .txt or .ply (default: text to standard output)"
    );
    verb->add_flag("--local", options->isLocal, "Leave coordinates relative to the reference position");
    verb->footer(
        "Text has the line \"X Y Z Red Green Blue Alpha\" and then one per point; PLY is binary.\n"
        "Examples:\n"
        "  tarnel query out/sample --sphere 637100,5651100,210,15 --output ball.ply\n"
        "  tarnel query out/sample --box 637090,5651090,0,637110,5651110,900 --max-level 3\n"
        "  tarnel query out/sample --oriented-box 637100,5651100,210,20,8,12,30 --output house.ply\n"
        "  tarnel query out/sample --polygon parcel.txt --z 200,260 --output parcel.txt"
    );
    verb->callback([options] { run(*options); });
}
}  // namespace Cli
