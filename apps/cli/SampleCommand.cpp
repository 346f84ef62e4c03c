#include "apps/cli/Commands.h"
#include "apps/cli/Console.h"
#include "apps/cli/parseValue.h"
#include "samples/SamplePanorama.h"
#include "samples/writeSampleDataset.h"

#include <cstdint>
#include <memory>
#include <string>

namespace Cli
{
namespace
{
constexpr std::uint64_t kMostPoints = 100'000'000;  // the scene is made in memory

struct SampleOptions
{
    std::string folder;
    std::uint64_t points = 1'000'000;
    std::uint64_t seed = 1;
    std::string format = "octree";
    std::string encoding = "brotli";
    bool withPanorama = false;
};

void writeTiles(const SampleOptions& options)
{
    Samples::SampleEptOptions sample;
    sample.points = options.points;
    sample.seed = options.seed;
    sample.dataType =
        options.format == "ept-binary" ? Samples::EptDataType::Binary : Samples::EptDataType::Zstandard;
    Samples::writeSampleEpt(toPath(options.folder), sample);
}

void writeThreeFiles(const SampleOptions& options)
{
    Samples::SampleDatasetOptions sample;
    sample.points = options.points;
    sample.seed = options.seed;
    sample.encoding =
        options.encoding == "brotli" ? Samples::OctreeEncoding::Brotli : Samples::OctreeEncoding::Default;
    Samples::writeSampleDataset(toPath(options.folder), sample);
}

void run(const SampleOptions& options)
{
    (options.format == "octree" ? writeThreeFiles : writeTiles)(options);
    writeOutput(options.folder + "\n");
    if (options.withPanorama)
    {
        const std::string folder = options.folder + "/panorama";
        Samples::writeSamplePanorama(toPath(folder), Samples::SampleScene(options.seed));
        writeOutput(folder + "\n");
    }
    flushOutput();
}
}  // namespace

void addSampleCommand(CLI::App& app)
{
    CLI::App* const verb = app.add_subcommand("sample", "Writes a made-up scanned scene as a data set");
    const auto options = std::make_shared<SampleOptions>();
    verb->add_option("FOLDER", options->folder, "Folder to write; made when it is not there")->required();
    verb->add_option("--points", options->points, "About how many points (default: 1000000)")
        ->check(CLI::Range(std::uint64_t{1}, kMostPoints));
    verb->add_option("--seed", options->seed, "The same seed gives the same bytes (default: 1)");
    verb->add_option(
            "--format",
            options->format,
            "octree of three files, or Entwine Point Tiles: ept-binary, ept-zstandard (default: octree)"
    )
        ->check(CLI::IsMember({"octree", "ept-binary", "ept-zstandard"}));
    verb->add_option(
            "--encoding",
            options->encoding,
            "Of an octree: brotli or default, the uncompressed one (default: brotli)"
    )
        ->check(CLI::IsMember({"brotli", "default"}));
    verb->add_flag(
        "--pano", options->withPanorama, "Also take a panorama in the scene, into FOLDER/panorama"
    );
    verb->footer(
        "Examples:\n  tarnel sample out/sample\n"
        "  tarnel sample out/small --points 50000 --seed 7 --encoding default\n"
        "  tarnel sample out/tiles --format ept-zstandard"
    );
    verb->callback([options] { run(*options); });
}
}  // namespace Cli
