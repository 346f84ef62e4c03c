#include "apps/cli/Commands.h"
#include "apps/cli/Console.h"
#include "apps/cli/ElapsedTime.h"
#include "apps/cli/Progress.h"
#include "apps/cli/formatNumber.h"
#include "apps/cli/numberChecks.h"
#include "apps/cli/parseValue.h"
#include "samples/SampleMesh.h"
#include "samples/SamplePanorama.h"
#include "samples/writeSampleDataset.h"

#include <cstdint>
#include <filesystem>
#include <limits>
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
    bool cloudOnly = false;
    std::uint32_t panoramaWidth = Samples::SamplePanoramaOptions().width;
};

/// @return what was written, for later commands
std::string writeTiles(const SampleOptions& options)
{
    Samples::SampleEptOptions sample;
    sample.points = options.points;
    sample.seed = options.seed;
    sample.dataType =
        options.format == "ept-binary" ? Samples::EptDataType::Binary : Samples::EptDataType::Zstandard;
    Samples::writeSampleEpt(toPath(options.folder), sample);
    return options.folder;
}

std::string writeOneFile(const SampleOptions& options)
{
    Samples::SampleCopcOptions sample;
    sample.points = options.points;
    sample.seed = options.seed;
    std::filesystem::create_directories(toPath(options.folder));
    std::string file = options.folder + "/sample.copc.laz";
    Samples::writeSampleCopc(toPath(file), sample);
    return file;
}

std::string writeThreeFiles(const SampleOptions& options)
{
    Samples::SampleDatasetOptions sample;
    sample.points = options.points;
    sample.seed = options.seed;
    sample.encoding =
        options.encoding == "brotli" ? Samples::OctreeEncoding::Brotli : Samples::OctreeEncoding::Default;
    Samples::writeSampleDataset(toPath(options.folder), sample);
    return options.folder;
}

/// What goes with the cloud, taken of the same scene. Each line ends in the options that `render` needs with
/// it.
void writeCompanions(const SampleOptions& options)
{
    const Samples::SampleScene scene(options.seed);

    const std::string panorama = options.folder + "/panorama";
    Samples::SamplePanoramaOptions sample;
    sample.width = options.panoramaWidth;
    sample.rowsDrawn = progressOf("drawing " + panorama, "rows");
    sample.tilesWritten = progressOf("writing " + panorama, "tiles");
    Samples::writeSamplePanorama(toPath(panorama), scene, sample);
    const Math::Point<double, 3> origin = Samples::SampleScene::kOrigin;
    const Samples::Vector center = Samples::panoramaCenter(scene, sample);
    writeOutput(
        panorama + " --eye " + formatNumber(origin.x + center.x) + "," + formatNumber(origin.y + center.y) +
        "," + formatNumber(origin.z + center.z) + "\n"
    );

    const std::string mesh = options.folder + "/windmill.obj";
    Samples::writeObj(toPath(mesh), Samples::makeSampleMesh(scene));
    writeOutput(
        mesh + " --transform " + formatNumber(origin.x) + "," + formatNumber(origin.y) + "," +
        formatNumber(origin.z) + ",0,1\n"
    );
}

void run(const SampleOptions& options)
{
    const auto write = options.format == "octree" ? writeThreeFiles
                       : options.format == "copc" ? writeOneFile
                                                  : writeTiles;
    std::string cloud;
    {
        const ElapsedTime elapsed("writing the cloud");
        cloud = write(options);
    }
    writeOutput(cloud + "\n");
    if (!options.cloudOnly)
    {
        writeCompanions(options);
    }
    flushOutput();
}

void checkPanoramaWidth(std::uint32_t width)
{
    if (width % 2 != 0)
    {
        throw CLI::ValidationError("--pano-width", std::to_string(width) + " is odd");
    }
}
}  // namespace

void addSampleCommand(CLI::App& app)
{
    CLI::App* const verb =
        app.add_subcommand("sample", "Writes a made-up scanned scene: a cloud, a panorama, a mesh");
    const auto options = std::make_shared<SampleOptions>();
    verb->add_option("FOLDER", options->folder, "Folder to write; made when it is not there")->required();
    verb->add_option("--points", options->points, "About how many points (default: 1000000)")
        ->transform(wholeNumber(1, kMostPoints));
    verb->add_option("--seed", options->seed, "The same seed gives the same bytes (default: 1)")
        ->transform(wholeNumber(0, std::numeric_limits<std::uint64_t>::max()));
    verb->add_option(
            "--format",
            options->format,
            "octree of three files, Entwine Point Tiles: ept-binary, ept-zstandard, or one file: copc "
            "(default: octree)"
    )
        ->check(CLI::IsMember({"octree", "ept-binary", "ept-zstandard", "copc"}));
    verb->add_option(
            "--encoding",
            options->encoding,
            "Of an octree: brotli or default, the uncompressed one (default: brotli)"
    )
        ->check(CLI::IsMember({"brotli", "default"}));
    verb->add_flag(
        "--cloud-only", options->cloudOnly, "Without the panorama and the mesh that go with the cloud"
    );
    verb->add_option(
            "--pano-width", options->panoramaWidth, "Width of the panorama in pixels, even (default: 2048)"
    )
        ->transform(wholeNumber(64, kLargestSide));
    verb->footer(
        "Examples:\n  tarnel sample out/sample\n"
        "  tarnel sample out/small --points 50000 --seed 7 --encoding default\n"
        "  tarnel sample out/tiles --format ept-zstandard --cloud-only\n"
        "  tarnel sample out/one --format copc --cloud-only"
    );
    verb->callback(
        [options]
        {
            checkPanoramaWidth(options->panoramaWidth);
            run(*options);
        }
    );
}
}  // namespace Cli
