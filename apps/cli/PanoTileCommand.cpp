#include "apps/cli/Commands.h"
#include "apps/cli/Console.h"
#include "apps/cli/Progress.h"
#include "apps/cli/numberChecks.h"
#include "apps/cli/parseValue.h"
#include <graphics/PictureLimits.h>
#include <graphics/readColorImage.h>
#include <graphics/writePanorama.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace Cli
{
namespace
{
constexpr double kSmallestDepthScale = 1e-9;  // metres
constexpr double kLargestDepthScale = 1000.0;

struct PanoTileOptions
{
    std::string color;
    std::string depth;
    std::string folder;
    std::uint32_t tileSize = 512;
    double depthScale = Graphics::PanoramaDescription().depthScale;
    std::vector<std::uint16_t> noDepth = Graphics::PanoramaDescription().noDepth;
    std::string pose;
};

Eigen::Matrix4d parsePose(const std::string& text)
{
    constexpr Eigen::Index kSide = 4;
    const std::vector<double> numbers = parseNumbers("--pose", text, kSide * kSide);
    Eigen::Matrix4d pose;
    for (Eigen::Index row = 0; row < kSide; ++row)
    {
        for (Eigen::Index column = 0; column < kSide; ++column)
        {
            pose(row, column) = numbers[static_cast<std::size_t>(kSide * row + column)];
        }
    }
    return pose;
}

void run(const PanoTileOptions& options)
{
    Graphics::PanoramaDescription description;
    description.depthScale = options.depthScale;
    description.noDepth = options.noDepth;
    if (!options.pose.empty())
    {
        description.pose = parsePose(options.pose);
    }
    Graphics::writePanorama(
        toPath(options.folder),
        Graphics::readColorImage(toPath(options.color)),
        Graphics::readGray16Png(toPath(options.depth)),
        description,
        options.tileSize,
        progressOf("writing", "tiles")
    );
    writeOutput(options.folder + "\n");
    flushOutput();
}
}  // namespace

void addPanoTileCommand(CLI::App& app)
{
    CLI::App* const verb =
        app.add_subcommand("pano-tile", "Cuts a panorama and its depth into a folder of tiles");
    const auto options = std::make_shared<PanoTileOptions>();
    verb->add_option("COLOR", options->color, "Whole panorama, PNG or JPEG")->required();
    verb->add_option("DEPTH", options->depth, "Distances along the rays: PNG of 16-bit grey")->required();
    verb->add_option("FOLDER", options->folder, "Folder to write; made when it is not there")->required();
    verb->add_option("--tile", options->tileSize, "Tile size in pixels (default: 512)")
        ->transform(wholeNumber(1, Graphics::PictureLimits::kLargestTileSide));
    verb->add_option("--depth-scale", options->depthScale, "Metres for each step of depth (default: 1/512)")
        ->check(numberFrom(kSmallestDepthScale, kLargestDepthScale));
    verb->add_option("--no-depth", options->noDepth, "Codes of pixels without depth (default: 0 and 65535)")
        ->delimiter(',')
        ->transform(wholeNumber(0, 65535));
    verb->add_option(
        "--pose", options->pose, "Where the panorama stands: a matrix of 16 numbers, row by row"
    );
    verb->footer("Examples:\n  tarnel pano-tile photo.jpg depth.png out/pano --tile 256 --depth-scale 0.001");
    verb->callback([options] { run(*options); });
}
}  // namespace Cli
